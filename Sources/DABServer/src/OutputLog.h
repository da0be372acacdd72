#ifndef DAB_SERVER_OUTPUTLOG_H
#define DAB_SERVER_OUTPUTLOG_H

#include <log/log_tag_id.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

// Error report codes: the only machine-readable part of an OutputLog line.
#define DAB_ERR_CREATE_FAILED 0x20300001
#define DAB_ERR_NO_SERVICE 0x20300003
#define DAB_ERR_OUT_OF_RANGE 0x20300006

#define DAB_OUTPUTLOG_TAG_ID static_cast<int>(0x80000001u)

// Error report with the caller's source location and a numeric code, written at error
// priority without a text tag: "[file:line][0xcode][message]\r\n". Inline so that every
// caller passes its own __FILE__ and __LINE__. Any thread; keeps its state on the stack.
inline void OutputLog(const char* file, int line, int code, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

inline void OutputLog(const char* file, int line, int code, const char* fmt, ...) {
    // 256 bytes for prefix and text (terminator included) and room for the fixed suffix.
    char buffer[259];
    memset(buffer, 0, sizeof(buffer));
    snprintf(buffer, 256, "[%s:%d][0x%x][", file, line, static_cast<unsigned>(code));
    size_t n = strlen(buffer);
    if (n < 256) {
        va_list ap;
        va_start(ap, fmt);
        vsnprintf(buffer + n, 256 - n, fmt, ap);
        va_end(ap);
    }
    n = strlen(buffer);
    if (n <= 256) memcpy(buffer + n, "]\r\n", 4);
    __android_log_print_tag_id(6, DAB_OUTPUTLOG_TAG_ID, nullptr, "%s", buffer);
}

#endif  // DAB_SERVER_OUTPUTLOG_H
