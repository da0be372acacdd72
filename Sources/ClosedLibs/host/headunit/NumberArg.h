#ifndef DAB_HOST_HEADUNIT_NUMBERARG_H
#define DAB_HOST_HEADUNIT_NUMBERARG_H

#include <string>

namespace headunit {

// The one parser of whole numbers typed by a person: command-line arguments of the tools and
// the words of the control channels' commands.
class NumberArg {
public:
    // Any thread; non-blocking. A decimal number with an optional sign, nothing else (no
    // blanks, no hex), within min..max. On failure *out is untouched and *error says
    // "WHAT must be a number in MIN..MAX (got "TEXT")".
    static bool parse(const std::string& text, long min, long max, const std::string& what,
                      int* out, std::string* error);

private:
    NumberArg() = delete;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_NUMBERARG_H
