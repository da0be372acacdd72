#ifndef DAB_TOOLS_DABCTL_TEXTCONVERSION_H
#define DAB_TOOLS_DABCTL_TEXTCONVERSION_H

#include <cstddef>
#include <string>

namespace dabclient {

// A label or text as the player returns it, and as UTF-8 for people.
struct ConvertedText {
    bool converted = false;  // false: the code names no known character set, or the bytes are bad
    std::string utf8;  // the text when converted
    std::string hex;   // the raw bytes up to the first NUL, as hex digits
};

// Any thread; non-blocking. Converts at most len bytes (up to the first NUL code unit) from
// the player's conversion code to UTF-8 with the code converter.
ConvertedText convertText(const char* bytes, size_t len, int code);

// Any thread; non-blocking. An ASCII field of len bytes up to its first NUL.
std::string fieldText(const char* bytes, size_t len);

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_TEXTCONVERSION_H
