#include <codeconver/CodeConver.h>

#include "EbuLatin.h"

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace codeconver {

// The complete EBU Latin based repertoire of DAB, byte value to Unicode code point.
// 0x00 ends the text and never reaches the table. Three positions are controls of the
// broadcast text: 0x0A preferred line break (LF), 0x0B end of headline (kept as VT so that
// a reader can still split the headline off), 0x1F preferred word break (soft hyphen).
const uint16_t kEbuLatinToUnicode[256] = {
    // 0x00: end, Ę Į Ų Ă Ė Ď Ș Ț Ċ, line break, end of headline, Ġ Ĺ Ż Ń
    kEbuLatinUndefined, 0x0118, 0x012E, 0x0172, 0x0102, 0x0116, 0x010E, 0x0218,
    0x021A, 0x010A, 0x000A, 0x000B, 0x0120, 0x0139, 0x017B, 0x0143,
    // 0x10: ą ę į ų ă ė ď ș ț ċ Ň Ě ġ ĺ ż, word break
    0x0105, 0x0119, 0x012F, 0x0173, 0x0103, 0x0117, 0x010F, 0x0219,
    0x021B, 0x010B, 0x0147, 0x011A, 0x0121, 0x013A, 0x017C, 0x00AD,
    // 0x20: ASCII, except ł in place of the currency sign
    0x0020, 0x0021, 0x0022, 0x0023, 0x0142, 0x0025, 0x0026, 0x0027,
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,
    // 0x30: ASCII
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,
    // 0x40: ASCII
    0x0040, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,
    // 0x50: ASCII, except Ů for the backslash and Ł for the circumflex
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,
    0x0058, 0x0059, 0x005A, 0x005B, 0x016E, 0x005D, 0x0141, 0x005F,
    // 0x60: Ą for the grave accent, then ASCII
    0x0104, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,
    // 0x70: ASCII to z, then « ů » Ľ Ħ
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,
    0x0078, 0x0079, 0x007A, 0x00AB, 0x016F, 0x00BB, 0x013D, 0x0126,
    // 0x80: á à é è í ì ó ò ú ù Ñ Ç Ş ß ¡ Ÿ
    0x00E1, 0x00E0, 0x00E9, 0x00E8, 0x00ED, 0x00EC, 0x00F3, 0x00F2,
    0x00FA, 0x00F9, 0x00D1, 0x00C7, 0x015E, 0x00DF, 0x00A1, 0x0178,
    // 0x90: â ä ê ë î ï ô ö û ü ñ ç ş ğ ı ÿ
    0x00E2, 0x00E4, 0x00EA, 0x00EB, 0x00EE, 0x00EF, 0x00F4, 0x00F6,
    0x00FB, 0x00FC, 0x00F1, 0x00E7, 0x015F, 0x011F, 0x0131, 0x00FF,
    // 0xA0: Ķ Ņ © Ģ Ğ ě ň ő Ő € £ $ Ā Ē Ī Ū
    0x0136, 0x0145, 0x00A9, 0x0122, 0x011E, 0x011B, 0x0148, 0x0151,
    0x0150, 0x20AC, 0x00A3, 0x0024, 0x0100, 0x0112, 0x012A, 0x016A,
    // 0xB0: ķ ņ Ļ ģ ļ İ ń ű Ű ¿ ľ ° ā ē ī ū
    0x0137, 0x0146, 0x013B, 0x0123, 0x013C, 0x0130, 0x0144, 0x0171,
    0x0170, 0x00BF, 0x013E, 0x00B0, 0x0101, 0x0113, 0x012B, 0x016B,
    // 0xC0: Á À É È Í Ì Ó Ò Ú Ù Ř Č Š Ž Ð Ŀ
    0x00C1, 0x00C0, 0x00C9, 0x00C8, 0x00CD, 0x00CC, 0x00D3, 0x00D2,
    0x00DA, 0x00D9, 0x0158, 0x010C, 0x0160, 0x017D, 0x00D0, 0x013F,
    // 0xD0: Â Ä Ê Ë Î Ï Ô Ö Û Ü ř č š ž đ ŀ
    0x00C2, 0x00C4, 0x00CA, 0x00CB, 0x00CE, 0x00CF, 0x00D4, 0x00D6,
    0x00DB, 0x00DC, 0x0159, 0x010D, 0x0161, 0x017E, 0x0111, 0x0140,
    // 0xE0: Ã Å Æ Œ ŷ Ý Õ Ø Þ Ŋ Ŕ Ć Ś Ź Ť ð
    0x00C3, 0x00C5, 0x00C6, 0x0152, 0x0177, 0x00DD, 0x00D5, 0x00D8,
    0x00DE, 0x014A, 0x0154, 0x0106, 0x015A, 0x0179, 0x0164, 0x00F0,
    // 0xF0: ã å æ œ ŵ ý õ ø þ ŋ ŕ ć ś ź ť ħ
    0x00E3, 0x00E5, 0x00E6, 0x0153, 0x0175, 0x00FD, 0x00F5, 0x00F8,
    0x00FE, 0x014B, 0x0155, 0x0107, 0x015B, 0x017A, 0x0165, 0x0127,
};

}  // namespace codeconver

namespace {

constexpr uint16_t kUndefined = codeconver::kEbuLatinUndefined;



// Appends one code point of the Basic Multilingual Plane (never a surrogate) as UTF-8.
void appendUtf8(std::string& out, uint16_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

// Number of bytes before the first NUL byte, at most length.
size_t byteLengthToNul(const uint8_t* p, size_t length) {
    size_t n = 0;
    while (n < length && p[n] != 0) ++n;
    return n;
}

bool convertEbuLatin(const uint8_t* p, size_t length, std::string& out) {
    size_t n = byteLengthToNul(p, length);
    out.reserve(n * 2);
    for (size_t i = 0; i < n; ++i) {
        uint16_t cp = codeconver::kEbuLatinToUnicode[p[i]];
        if (cp == kUndefined) return false;
        appendUtf8(out, cp);
    }
    return true;
}

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF, no sequence cut
// short by the end of the text.
bool isValidUtf8(const uint8_t* p, size_t n) {
    size_t i = 0;
    while (i < n) {
        uint8_t b = p[i];
        if (b < 0x80) {
            ++i;
            continue;
        }
        size_t more;
        uint8_t lo = 0x80;  // allowed range of the first continuation byte
        uint8_t hi = 0xBF;
        if (b >= 0xC2 && b <= 0xDF) {
            more = 1;
        } else if (b >= 0xE0 && b <= 0xEF) {
            more = 2;
            if (b == 0xE0) lo = 0xA0;       // overlong below U+0800
            else if (b == 0xED) hi = 0x9F;  // surrogates U+D800 to U+DFFF
        } else if (b >= 0xF0 && b <= 0xF4) {
            more = 3;
            if (b == 0xF0) lo = 0x90;       // overlong below U+10000
            else if (b == 0xF4) hi = 0x8F;  // above U+10FFFF
        } else {
            return false;  // stray continuation byte, overlong lead 0xC0/0xC1, or 0xF5 and up
        }
        if (n - i - 1 < more) return false;
        if (p[i + 1] < lo || p[i + 1] > hi) return false;
        for (size_t k = 2; k <= more; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return false;
        }
        i += more + 1;
    }
    return true;
}

bool convertUtf8(const uint8_t* p, size_t length, std::string& out) {
    size_t n = byteLengthToNul(p, length);
    if (!isValidUtf8(p, n)) return false;
    out.assign(reinterpret_cast<const char*>(p), n);
    return true;
}

// Big-endian UCS-2. The text ends at the first 0x0000 unit; without one, the byte count must
// be even, since a trailing half unit cannot be read.
bool convertUcs2(const uint8_t* p, size_t length, std::string& out) {
    out.reserve(length * 3 / 2);
    size_t i = 0;
    for (; i + 1 < length; i += 2) {
        uint16_t unit = static_cast<uint16_t>((p[i] << 8) | p[i + 1]);
        if (unit == 0) return true;
        if (unit >= 0xD800 && unit <= 0xDFFF) return false;  // UCS-2 has no surrogate pairs
        appendUtf8(out, unit);
    }
    return i == length;
}

}  // namespace

android::String8 CodeConver::convertToTargetString(const char* text, int length, EN_CODE_CONVER code,
                                                   bool& failed, EN_CODE_CONVERT_LANGUAGE /*language*/) {
    if (text == nullptr || length < 0) return android::String8();

    const uint8_t* p = reinterpret_cast<const uint8_t*>(text);
    size_t n = static_cast<size_t>(length);
    std::string out;
    bool ok;
    switch (code) {
        case EN_CODE_CONVER_EBU_LATIN: ok = convertEbuLatin(p, n, out); break;
        case EN_CODE_CONVER_UTF8: ok = convertUtf8(p, n, out); break;
        case EN_CODE_CONVER_UCS2: ok = convertUcs2(p, n, out); break;
        default: ok = false; break;  // no conversion available, or a code this library lacks
    }
    if (!ok) return android::String8();

    failed = false;
    return android::String8(out.data(), out.size());
}
