// Fuzz target: the code converter. Byte 0 picks the character set (the three it reads and
// one it does not), byte 1 how many of the remaining bytes the caller says the text has.
#include <codeconver/CodeConver.h>

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const EN_CODE_CONVER kCodes[] = {EN_CODE_CONVER_UCS2, EN_CODE_CONVER_UTF8,
                                            EN_CODE_CONVER_EBU_LATIN, EN_CODE_CONVER_NONE};
    if (size < 2) return 0;
    const EN_CODE_CONVER code = kCodes[data[0] % 4];
    // A copy of exactly the text bytes: a read past them is caught.
    const std::vector<char> text(data + 2, data + size);
    const int length = static_cast<int>(data[1]) % (static_cast<int>(text.size()) + 1);
    bool failed = true;
    android::String8 out = CodeConver::convertToTargetString(
            text.empty() ? nullptr : text.data(), length, code, failed,
            EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    if (failed && out.length() != 0) __builtin_trap();  // a failure returns an empty string
    return 0;
}
