#ifndef DAB_HOST_RECORDQUOTE_H
#define DAB_HOST_RECORDQUOTE_H

#include <cstdio>
#include <string>

// Bytes as the inside of a replay script's quoted string: printable ASCII as is, '"' and '\\'
// escaped, every other byte as \xNN.
inline std::string recordEscape(const char* data, size_t len) {
    std::string out;
    for (size_t i = 0; i < len; ++i) {
        const unsigned char c = static_cast<unsigned char>(data[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else {
            char buf[8];
            snprintf(buf, sizeof(buf), "\\x%02x", c);
            out += buf;
        }
    }
    return out;
}

// The same bytes with their quotes.
inline std::string recordQuote(const char* data, size_t len) {
    return "\"" + recordEscape(data, len) + "\"";
}

#endif  // DAB_HOST_RECORDQUOTE_H
