#include "SimCharset.h"

#include <cstdio>
#include <map>

namespace media_lib_dab {

namespace {

// EBU Latin based repertoire: the Unicode code point of every byte. Bytes 0x20 to 0x7F are
// ASCII except where DAB put national letters instead (0x24, 0x5C, 0x5E, 0x60, 0x7B to 0x7F).
const uint16_t kEbuLatinTable[256] = {
    // 0x00
    0x0000, 0x0118, 0x012E, 0x0172, 0x0102, 0x0116, 0x010E, 0x0218,
    0x021A, 0x010A, 0x000A, 0x000B, 0x0120, 0x0139, 0x017B, 0x0143,
    // 0x10
    0x0105, 0x0119, 0x012F, 0x0173, 0x0103, 0x0117, 0x010F, 0x0219,
    0x021B, 0x010B, 0x0147, 0x011A, 0x0121, 0x013A, 0x017C, 0xFFFD,
    // 0x20
    0x0020, 0x0021, 0x0022, 0x0023, 0x0142, 0x0025, 0x0026, 0x0027,
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,
    // 0x30
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,
    // 0x40
    0x0040, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,
    // 0x50
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,
    0x0058, 0x0059, 0x005A, 0x005B, 0x016E, 0x005D, 0x0141, 0x005F,
    // 0x60
    0x0104, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,
    // 0x70
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,
    0x0078, 0x0079, 0x007A, 0x00AB, 0x016F, 0x00BB, 0x013D, 0x0126,
    // 0x80
    0x00E1, 0x00E0, 0x00E9, 0x00E8, 0x00ED, 0x00EC, 0x00F3, 0x00F2,
    0x00FA, 0x00F9, 0x00D1, 0x00C7, 0x015E, 0x00DF, 0x00A1, 0x0178,
    // 0x90
    0x00E2, 0x00E4, 0x00EA, 0x00EB, 0x00EE, 0x00EF, 0x00F4, 0x00F6,
    0x00FB, 0x00FC, 0x00F1, 0x00E7, 0x015F, 0x011F, 0x0131, 0x00FF,
    // 0xA0
    0x0136, 0x0145, 0x00A9, 0x0122, 0x011E, 0x011B, 0x0148, 0x0151,
    0x0150, 0x20AC, 0x00A3, 0x0024, 0x0100, 0x0112, 0x012A, 0x016A,
    // 0xB0
    0x0137, 0x0146, 0x013B, 0x0123, 0x013C, 0x0130, 0x0144, 0x0171,
    0x0170, 0x00BF, 0x013E, 0x00B0, 0x0101, 0x0113, 0x012B, 0x016B,
    // 0xC0
    0x00C1, 0x00C0, 0x00C9, 0x00C8, 0x00CD, 0x00CC, 0x00D3, 0x00D2,
    0x00DA, 0x00D9, 0x0158, 0x010C, 0x0160, 0x017D, 0x00D0, 0x013F,
    // 0xD0
    0x00C2, 0x00C4, 0x00CA, 0x00CB, 0x00CE, 0x00CF, 0x00D4, 0x00D6,
    0x00DB, 0x00DC, 0x0159, 0x010D, 0x0161, 0x017E, 0x0111, 0x0140,
    // 0xE0
    0x00C3, 0x00C5, 0x00C6, 0x0152, 0x0177, 0x00DD, 0x00D5, 0x00D8,
    0x00DE, 0x014A, 0x0154, 0x0106, 0x015A, 0x0179, 0x0164, 0x00F0,
    // 0xF0
    0x00E3, 0x00E5, 0x00E6, 0x0153, 0x0175, 0x00FD, 0x00F5, 0x00F8,
    0x00FE, 0x014B, 0x0155, 0x0107, 0x015B, 0x017A, 0x0165, 0x0127,
};

// Code point -> EBU Latin byte, built once from the table above.
const std::map<uint32_t, uint8_t>& ebuLatinReverse() {
    static const std::map<uint32_t, uint8_t> reverse = [] {
        std::map<uint32_t, uint8_t> m;
        for (int b = 1; b < 256; ++b) {
            if (kEbuLatinTable[b] != 0xFFFD) m.emplace(kEbuLatinTable[b], static_cast<uint8_t>(b));
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
            for (char c : bytes) cps.push_back(kEbuLatinTable[static_cast<uint8_t>(c)]);
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
