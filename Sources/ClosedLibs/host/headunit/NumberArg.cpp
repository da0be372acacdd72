#include "NumberArg.h"

#include <climits>

namespace headunit {

bool NumberArg::parse(const std::string& text, long min, long max, const std::string& what,
                      int* out, std::string* error) {
    size_t i = (!text.empty() && (text[0] == '-' || text[0] == '+')) ? 1 : 0;
    bool ok = i < text.size() && text.size() - i <= 10;
    long long value = 0;
    for (; ok && i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') ok = false;
        value = value * 10 + (text[i] - '0');
    }
    if (!text.empty() && text[0] == '-') value = -value;
    if (min < INT_MIN) min = INT_MIN;
    if (max > INT_MAX) max = INT_MAX;
    if (!ok || value < min || value > max) {
        // The text is quoted as typed, but only so much of it.
        const std::string shown = text.size() > 40 ? text.substr(0, 40) + "..." : text;
        if (error != nullptr) {
            *error = what + " must be a number in " + std::to_string(min) + ".." +
                     std::to_string(max) + " (got \"" + shown + "\")";
        }
        return false;
    }
    *out = static_cast<int>(value);
    return true;
}

}  // namespace headunit
