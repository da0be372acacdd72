#ifndef DAB_CLOSEDLIBS_CODECONVER_H
#define DAB_CLOSEDLIBS_CODECONVER_H

#include <utils/String8.h>

// Character sets the converter reads. The values are fixed by the library's callers (the
// tuner's texts arrive tagged with them); values not named here are not converted. The fixed
// underlying type keeps any int a caller passes a valid value of the type.
enum EN_CODE_CONVER : int {
    EN_CODE_CONVER_UCS2 = 4,       // UCS-2, big-endian code units
    EN_CODE_CONVER_UTF8 = 5,       // UTF-8
    EN_CODE_CONVER_EBU_LATIN = 10, // complete EBU Latin based repertoire of DAB
    EN_CODE_CONVER_NONE = 21,      // no conversion available
};

// Language hint of the conversion; the host implementation has no language-specific rules.
enum EN_CODE_CONVERT_LANGUAGE {
    EN_CODE_CONVERT_LANGUAGE_DEFAULT = 0,
};

class CodeConver {
public:
    // Any thread; non-blocking, no shared state. Converts at most length bytes of text,
    // stopping at the first NUL code unit, to UTF-8. Clears failed on success; on failure
    // leaves failed as the caller preset it and returns an empty string.
    static android::String8 convertToTargetString(const char* text, int length, EN_CODE_CONVER code,
                                                  bool& failed, EN_CODE_CONVERT_LANGUAGE language);

private:
    CodeConver() = delete;
};

#endif  // DAB_CLOSEDLIBS_CODECONVER_H
