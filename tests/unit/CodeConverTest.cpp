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

::testing::AssertionResult converts(const std::string& bytes, int code, const std::string& utf8) {
    Conversion c = convert(bytes, code);
    if (c.failed) return ::testing::AssertionFailure() << "conversion failed";
    if (c.text != utf8) {
        return ::testing::AssertionFailure() << "got " << ::testing::PrintToString(c.text)
                                             << ", expected " << ::testing::PrintToString(utf8);
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult refuses(const std::string& bytes, int code) {
    Conversion c = convert(bytes, code);
    if (!c.failed) return ::testing::AssertionFailure() << "converted to " << ::testing::PrintToString(c.text);
    if (!c.text.empty()) return ::testing::AssertionFailure() << "failed but returned text";
    return ::testing::AssertionSuccess();
}

// ---- EBU Latin ----

TEST(CodeConverTest, EbuLatinAsciiPositionsPassThrough) {
    EXPECT_TRUE(converts("Radio 1 (FM) #@?", EN_CODE_CONVER_EBU_LATIN, "Radio 1 (FM) #@?"));
}

TEST(CodeConverTest, EbuLatinAccentedLettersBecomeUnicode) {
    EXPECT_TRUE(converts("Caf\x82", EN_CODE_CONVER_EBU_LATIN, "Caf\u00e9"));
    EXPECT_TRUE(converts("Gr\x99\x8D" "e", EN_CODE_CONVER_EBU_LATIN, "Gr\u00fc\u00dfe"));
    EXPECT_TRUE(converts("\x5E\x24\xD1", EN_CODE_CONVER_EBU_LATIN, "\u0141\u0142\u00c4"));  // Ł ł Ä
    EXPECT_TRUE(converts("\xA9\xAB\xAA", EN_CODE_CONVER_EBU_LATIN, "\u20ac$\u00a3"));      // € $ £
    EXPECT_TRUE(converts("\xCC\xDC\x07", EN_CODE_CONVER_EBU_LATIN, "\u0160\u0161\u0218"));  // Š š Ș
    EXPECT_TRUE(converts("\x7B\xEE\xFF", EN_CODE_CONVER_EBU_LATIN, "\u00ab\u0164\u0127"));  // « Ť ħ
}

TEST(CodeConverTest, EbuLatinBreakControlsMapToLineBreakAndSoftHyphen) {
    EXPECT_TRUE(converts("A\x0A" "B\x1F" "C", EN_CODE_CONVER_EBU_LATIN, "A\nB\u00adC"));
}

TEST(CodeConverTest, EbuLatinEveryNonNulByteIsADistinctCharacter) {
    std::set<std::string> seen;
    for (int b = 1; b <= 0xFF; ++b) {
        Conversion c = convert(std::string(1, static_cast<char>(b)), EN_CODE_CONVER_EBU_LATIN);
        ASSERT_FALSE(c.failed) << "byte " << b;
        ASSERT_FALSE(c.text.empty()) << "byte " << b;
        // Each output must itself be valid UTF-8.
        EXPECT_FALSE(convert(c.text, EN_CODE_CONVER_UTF8).failed) << "byte " << b;
        EXPECT_TRUE(seen.insert(c.text).second) << "byte " << b << " repeats a character";
    }
}

TEST(CodeConverTest, EbuLatinStopsAtNul) {
    EXPECT_TRUE(converts(std::string("AB\0\x82\x82", 5), EN_CODE_CONVER_EBU_LATIN, "AB"));
    EXPECT_TRUE(converts(std::string("\0AB", 3), EN_CODE_CONVER_EBU_LATIN, ""));
}

TEST(CodeConverTest, SixteenByteLabelWithoutNulReadsNoFurther) {
    // A label field is 16 bytes with no terminator; the byte after it must not be read.
    const char field[17] = {'D', 'e', 'u', 't', 's', 'c', 'h', 'l', 'a', 'n', 'd', 'f',
                            'u', 'n', 'k', '\x82', 'X'};
    bool failed = true;
    android::String8 s = CodeConver::convertToTargetString(field, 16, EN_CODE_CONVER_EBU_LATIN, failed,
                                                          EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    EXPECT_FALSE(failed);
    EXPECT_STREQ("Deutschlandfunk\u00e9", s.string());

    failed = true;
    s = CodeConver::convertToTargetString(field, 16, EN_CODE_CONVER_UTF8, failed,
                                          EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    EXPECT_TRUE(failed);  // 0x82 is a stray continuation byte in UTF-8
}

// ---- UTF-8 ----

TEST(CodeConverTest, Utf8ValidTextIsReturnedUnchanged) {
    EXPECT_TRUE(converts("Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5", EN_CODE_CONVER_UTF8,
                         "Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5"));
    EXPECT_TRUE(converts("\xEF\xBF\xBF\xF4\x8F\xBF\xBF", EN_CODE_CONVER_UTF8,
                         "\xEF\xBF\xBF\xF4\x8F\xBF\xBF"));
    EXPECT_TRUE(converts(std::string("ab\0\xFF", 4), EN_CODE_CONVER_UTF8, "ab"));
}

TEST(CodeConverTest, Utf8MalformedSequencesAreRefused) {
    const char* bad[] = {
        "\x80",              // stray continuation byte
        "a\xBF" "b",         // stray continuation byte inside ASCII
        "\xC0\xAF",          // overlong '/'
        "\xC1\xBF",          // overlong
        "\xE0\x80\xAF",      // overlong three-byte form
        "\xF0\x80\x80\xAF",  // overlong four-byte form
        "\xED\xA0\x80",      // surrogate U+D800
        "\xED\xBF\xBF",      // surrogate U+DFFF
        "\xF4\x90\x80\x80",  // U+110000
        "\xF5\x80\x80\x80",  // lead byte beyond the range
        "\xFF",
        "x\xC3",             // truncated at the end of the text
        "\xE2\x82",          // truncated three-byte form
        "\xC3\x28",          // continuation byte missing
    };
    for (const char* b : bad) {
        SCOPED_TRACE(testing::PrintToString(std::string(b)));
        EXPECT_TRUE(refuses(b, EN_CODE_CONVER_UTF8));
    }
    // A NUL inside a sequence ends the text there, which truncates the sequence.
    EXPECT_TRUE(refuses(std::string("\xC3\0\xA9", 3), EN_CODE_CONVER_UTF8));
    // A label cut at 16 bytes in the middle of a character is refused, not shortened.
    EXPECT_TRUE(refuses("ABCDEFGHIJKLMNO\xC3", EN_CODE_CONVER_UTF8));
}

// ---- UCS-2 ----

TEST(CodeConverTest, Ucs2BigEndianBecomesUtf8) {
    EXPECT_TRUE(converts(std::string("\x00" "A\x00\xE9\x20\xAC\x01\x41", 8), EN_CODE_CONVER_UCS2,
                    "A\u00e9\u20ac\u0141"));
    EXPECT_TRUE(converts(std::string("\xFF\xFD", 2), EN_CODE_CONVER_UCS2, "\uFFFD"));
}

TEST(CodeConverTest, Ucs2StopsAtNulUnitNotNulByte) {
    // 0x0041 0x4100: the zero bytes belong to non-zero units.
    EXPECT_TRUE(converts(std::string("\x00" "A" "A\x00", 4), EN_CODE_CONVER_UCS2, "A\u4100"));
    EXPECT_TRUE(converts(std::string("\x00" "A\x00\x00\x00" "B", 6), EN_CODE_CONVER_UCS2, "A"));
}

TEST(CodeConverTest, Ucs2OddLengthIsRefusedUnlessANulUnitComesFirst) {
    EXPECT_TRUE(refuses(std::string("\x00" "A\x00", 3), EN_CODE_CONVER_UCS2));
    EXPECT_TRUE(refuses(std::string("\x00", 1), EN_CODE_CONVER_UCS2));
    EXPECT_TRUE(converts(std::string("\x00" "A\x00\x00\x42", 5), EN_CODE_CONVER_UCS2, "A"));
}

TEST(CodeConverTest, Ucs2SurrogateUnitsAreRefused) {
    EXPECT_TRUE(refuses(std::string("\xD8\x3D\xDE\x00", 4), EN_CODE_CONVER_UCS2));
    EXPECT_TRUE(refuses(std::string("\x00" "A\xDC\x00", 4), EN_CODE_CONVER_UCS2));
}

// ---- codes and arguments ----

TEST(CodeConverTest, NoConversionAndUnknownCodesFail) {
    for (int code : {static_cast<int>(EN_CODE_CONVER_NONE), 0, 1, 6, 9, 11, 22, -1, 1000}) {
        SCOPED_TRACE(code);
        EXPECT_TRUE(refuses("Radio", code));
    }
}

TEST(CodeConverTest, ZeroLengthConvertsToEmptyText) {
    for (EN_CODE_CONVER code : {EN_CODE_CONVER_EBU_LATIN, EN_CODE_CONVER_UTF8, EN_CODE_CONVER_UCS2}) {
        SCOPED_TRACE(code);
        EXPECT_TRUE(converts("", code, ""));
    }
    EXPECT_TRUE(refuses("", EN_CODE_CONVER_NONE));
}

TEST(CodeConverTest, NullTextOrNegativeLengthFails) {
    bool failed = true;
    android::String8 s = CodeConver::convertToTargetString(nullptr, 4, EN_CODE_CONVER_UTF8, failed,
                                                          EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    EXPECT_TRUE(failed);
    EXPECT_EQ(0u, s.length());
    s = CodeConver::convertToTargetString("abc", -1, EN_CODE_CONVER_UTF8, failed,
                                          EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    EXPECT_TRUE(failed);
    EXPECT_EQ(0u, s.length());
}

}  // namespace
