#include "TextConversion.h"

#include <codeconver/CodeConver.h>

#include <cstdio>

namespace dabclient {

ConvertedText convertText(const char* bytes, size_t len, int code) {
    ConvertedText out{false, std::string(), std::string()};
    // UCS-2 holds NUL bytes inside characters: the raw view stops at a NUL code unit.
    size_t used = 0;
    if (code == EN_CODE_CONVER_UCS2) {
        while (used + 1 < len && (bytes[used] != 0 || bytes[used + 1] != 0)) used += 2;
    } else {
        while (used < len && bytes[used] != 0) ++used;
    }
    for (size_t i = 0; i < used; ++i) {
        char buf[3];
        snprintf(buf, sizeof(buf), "%02x", static_cast<unsigned char>(bytes[i]));
        out.hex += buf;
    }
    bool failed = true;
    android::String8 text = CodeConver::convertToTargetString(
            bytes, static_cast<int>(len), static_cast<EN_CODE_CONVER>(code), failed,
            EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    if (!failed) {
        out.converted = true;
        out.utf8.assign(text.string(), text.length());
    }
    return out;
}

std::string fieldText(const char* bytes, size_t len) {
    size_t used = 0;
    while (used < len && bytes[used] != 0) ++used;
    return std::string(bytes, used);
}

}  // namespace dabclient
