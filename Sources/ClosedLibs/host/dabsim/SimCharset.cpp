#include "SimCharset.h"

#include "EbuLatin.h"

#include <cstdio>
#include <map>

namespace media_lib_dab {

namespace {

// Code point -> EBU Latin byte, built once from the converter's table.
const std::map<uint32_t, uint8_t>& ebuLatinReverse() {
    static const std::map<uint32_t, uint8_t> reverse = [] {
        std::map<uint32_t, uint8_t> m;
        for (int b = 1; b < 256; ++b) {
            const uint16_t cp = codeconver::kEbuLatinToUnicode[b];
            if (cp != codeconver::kEbuLatinUndefined) m.emplace(cp, static_cast<uint8_t>(b));
        }
        return m;
    }();
    return reverse;
}

std::string codePointName(uint32_t cp) {
    char buf[16];
    snprintf(buf, sizeof(buf), "U+%04X", static_cast<unsigned>(cp));
    return buf;
}

// Strict UTF-8 decoding; false on any malformed or overlong sequence.
bool decodeUtf8(const std::string& s, std::vector<uint32_t>* out) {
    size_t i = 0;
    while (i < s.size()) {
        uint8_t c = static_cast<uint8_t>(s[i]);
        uint32_t cp;
        int extra;
        if (c < 0x80) {
            cp = c;
            extra = 0;
        } else if ((c & 0xE0) == 0xC0) {
            cp = c & 0x1F;
            extra = 1;
        } else if ((c & 0xF0) == 0xE0) {
            cp = c & 0x0F;
            extra = 2;
        } else if ((c & 0xF8) == 0xF0) {
            cp = c & 0x07;
            extra = 3;
        } else {
            return false;
        }
        if (i + extra >= s.size()) return false;
        for (int k = 1; k <= extra; ++k) {
            uint8_t cc = static_cast<uint8_t>(s[i + k]);
            if ((cc & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        static const uint32_t kMin[4] = {0, 0x80, 0x800, 0x10000};
        if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        out->push_back(cp);
        i += extra + 1;
    }
    return true;
}

}  // namespace

bool SimCharset::isSupported(int charset) {
    return charset == kEbuLatin || charset == kUtf8 || charset == kUcs2;
}

const char* SimCharset::name(int charset) {
    switch (charset) {
        case kEbuLatin: return "EBU Latin";
        case kUtf8: return "UTF-8";
        case kUcs2: return "UCS-2";
        default: return "unknown";
    }
}

bool SimCharset::encode(const std::string& utf8, int charset, std::string* out, std::string* error) {
    std::vector<uint32_t> cps;
    if (!decodeUtf8(utf8, &cps)) {
        if (error) *error = "text is not valid UTF-8";
        return false;
    }
    std::string result;
    switch (charset) {
        case kUtf8:
            result = utf8;
            break;
        case kEbuLatin: {
            const auto& reverse = ebuLatinReverse();
            for (uint32_t cp : cps) {
                auto it = reverse.find(cp);
                if (it == reverse.end()) {
                    if (error) *error = "character " + codePointName(cp) + " has no EBU Latin code";
                    return false;
                }
                result.push_back(static_cast<char>(it->second));
            }
            break;
        }
        case kUcs2:
            for (uint32_t cp : cps) {
                if (cp > 0xFFFF) {
                    if (error) *error = "character " + codePointName(cp) + " is outside UCS-2";
                    return false;
                }
                result.push_back(static_cast<char>(cp >> 8));
                result.push_back(static_cast<char>(cp & 0xFF));
            }
            break;
        default:
            if (error) *error = "charset " + std::to_string(charset) + " is not 1 (EBU Latin), 7 (UTF-8) or 8 (UCS-2)";
            return false;
    }
    if (out) *out = result;
    return true;
}

std::vector<uint32_t> SimCharset::decode(const std::string& bytes, int charset) {
    std::vector<uint32_t> cps;
    switch (charset) {
        case kEbuLatin:
            for (char c : bytes) cps.push_back(codeconver::kEbuLatinToUnicode[static_cast<uint8_t>(c)]);
            break;
        case kUcs2:
            for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
                cps.push_back((static_cast<uint8_t>(bytes[i]) << 8) | static_cast<uint8_t>(bytes[i + 1]));
            }
            break;
        default:
            if (!decodeUtf8(bytes, &cps)) cps.assign(1, 0xFFFD);
            break;
    }
    return cps;
}

}  // namespace media_lib_dab
