#include <codeconver/CodeConver.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

struct Conversion {
    bool failed;
    std::string text;
};

// Converts the bytes as the service does: failed preset to true, language 0.
Conversion convert(const std::string& bytes, int code) {
    Conversion c{true, ""};
    android::String8 s = CodeConver::convertToTargetString(
        bytes.data(), static_cast<int>(bytes.size()), static_cast<EN_CODE_CONVER>(code), c.failed,
        EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    c.text.assign(s.string(), s.length());
    return c;
}

const int kEbu = EN_CODE_CONVER_EBU_LATIN;
const int kUtf8 = EN_CODE_CONVER_UTF8;
const int kUcs2 = EN_CODE_CONVER_UCS2;

TEST(CodeConverTest, EachCodeConvertsToUtf8AndStopsAtItsNul) {
    const struct {
        int code;
        std::string bytes;
        std::string utf8;
    } cases[] = {
        {kEbu, "Radio 1 (FM) #@?", "Radio 1 (FM) #@?"},  // ASCII positions pass through
        {kEbu, "Gr\x99\x8D" "e", "Gr\u00fc\u00dfe"},
        {kEbu, "\x5E\x24\xD1", "\u0141\u0142\u00c4"},  // Ł ł Ä
        {kEbu, "\xA9\xAB\xAA", "\u20ac$\u00a3"},      // € $ £
        {kEbu, "\xCC\xDC\x07", "\u0160\u0161\u0218"},  // Š š Ș
        {kEbu, "\x7B\xEE\xFF", "\u00ab\u0164\u0127"},  // « Ť ħ
        {kEbu, "A\x0A" "B\x1F" "C", "A\nB\u00adC"},   // line break and soft hyphen
        {kEbu, std::string("AB\0\x82\x82", 5), "AB"},
        {kEbu, std::string("\0AB", 3), ""},
        {kUtf8, "Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5", "Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5"},
        {kUtf8, "\xEF\xBF\xBF\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF\xF4\x8F\xBF\xBF"},
        {kUtf8, std::string("ab\0\xFF", 4), "ab"},
        {kUcs2, std::string("\x00" "A\x00\xE9\x20\xAC\x01\x41", 8), "A\u00e9\u20ac\u0141"},  // big-endian
        {kUcs2, std::string("\xFF\xFD", 2), "\uFFFD"},
        {kUcs2, std::string("\x00" "A" "A\x00", 4), "A\u4100"},  // a NUL byte is not a NUL unit
        {kUcs2, std::string("\x00" "A\x00\x00\x00" "B", 6), "A"},
        {kUcs2, std::string("\x00" "A\x00\x00\x42", 5), "A"},  // odd length after a NUL unit
        {kEbu, "", ""},
        {kUtf8, "", ""},
        {kUcs2, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.bytes) + " code " + std::to_string(c.code));
        Conversion out = convert(c.bytes, c.code);
        EXPECT_FALSE(out.failed);
        EXPECT_EQ(c.utf8, out.text);
    }
}

TEST(CodeConverTest, MalformedTextAndUnknownCodesFailWithoutTextAndALabelIsReadNoFurther) {
    const struct {
        int code;
        std::string bytes;
    } cases[] = {
        {kUtf8, "\x80"},              // stray continuation byte
        {kUtf8, "a\xBF" "b"},         // stray continuation byte inside ASCII
        {kUtf8, "\xC0\xAF"},          // overlong '/'
        {kUtf8, "\xC1\xBF"},          // overlong
        {kUtf8, "\xE0\x80\xAF"},      // overlong three-byte form
        {kUtf8, "\xF0\x80\x80\xAF"},  // overlong four-byte form
        {kUtf8, "\xED\xA0\x80"},      // surrogate U+D800
        {kUtf8, "\xED\xBF\xBF"},      // surrogate U+DFFF
        {kUtf8, "\xF4\x90\x80\x80"},  // U+110000
        {kUtf8, "\xF5\x80\x80\x80"},  // lead byte beyond the range
        {kUtf8, "\xFF"},
        {kUtf8, "x\xC3"},             // truncated at the end of the text
        {kUtf8, "\xE2\x82"},          // truncated three-byte form
        {kUtf8, "\xC3\x28"},          // continuation byte missing
        {kUtf8, std::string("\xC3\0\xA9", 3)},  // a NUL truncates the sequence
        {kUtf8, "ABCDEFGHIJKLMNO\xC3"},         // a label cut inside a character is refused
        {kUcs2, std::string("\x00" "A\x00", 3)},  // odd length
        {kUcs2, std::string("\x00", 1)},
        {kUcs2, std::string("\xD8\x3D\xDE\x00", 4)},  // surrogate units
        {kUcs2, std::string("\x00" "A\xDC\x00", 4)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.bytes) + " code " + std::to_string(c.code));
        Conversion out = convert(c.bytes, c.code);
        EXPECT_TRUE(out.failed);
        EXPECT_EQ("", out.text);
    }
    for (int code : {static_cast<int>(EN_CODE_CONVER_NONE), 0, 1, 6, 9, 11, 22, -1, 1000}) {
        EXPECT_TRUE(convert("Radio", code).failed) << code;
    }
    bool failed = true;  // as the service presets it
    EXPECT_EQ(0u, CodeConver::convertToTargetString(nullptr, 4, EN_CODE_CONVER_UTF8, failed,
                                                    EN_CODE_CONVERT_LANGUAGE_DEFAULT).length());
    EXPECT_TRUE(failed);
    failed = true;
    EXPECT_EQ(0u, CodeConver::convertToTargetString("abc", -1, EN_CODE_CONVER_UTF8, failed,
                                                    EN_CODE_CONVERT_LANGUAGE_DEFAULT).length());
    EXPECT_TRUE(failed);

    // A label field is 16 bytes with no terminator; the byte after it must not be read.
    const char field[17] = {'D', 'e', 'u', 't', 's', 'c', 'h', 'l', 'a', 'n', 'd', 'f',
                            'u', 'n', 'k', '\x82', 'X'};
    failed = true;
    android::String8 s = CodeConver::convertToTargetString(field, 16, EN_CODE_CONVER_EBU_LATIN, failed,
                                                          EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    EXPECT_FALSE(failed);
    EXPECT_STREQ("Deutschlandfunk\u00e9", s.string());
    EXPECT_TRUE(convert(std::string(field, 16), kUtf8).failed);  // 0x82 is stray in UTF-8
}

TEST(CodeConverTest, EbuLatinEveryNonNulByteIsADistinctValidCharacter) {
    std::set<std::string> seen;
    for (int b = 1; b <= 0xFF; ++b) {
        Conversion c = convert(std::string(1, static_cast<char>(b)), kEbu);
        ASSERT_FALSE(c.failed || c.text.empty()) << "byte " << b;
        EXPECT_FALSE(convert(c.text, kUtf8).failed) << "byte " << b;
        EXPECT_TRUE(seen.insert(c.text).second) << "byte " << b << " repeats a character";
    }
}

}  // namespace
