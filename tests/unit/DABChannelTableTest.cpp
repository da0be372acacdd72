#include "DABChannelTable.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <string>

namespace {

// The published channel allocation, kept here independently of the production table.
struct ExpectedChannel {
    int id;
    const char* label;
    uint32_t kHz;
};

const ExpectedChannel kExpected[] = {
    {13, "5A", 174928},    {14, "5B", 176640},    {15, "5C", 178352},    {16, "5D", 180064},
    {17, "6A", 181936},    {18, "6B", 183648},    {19, "6C", 185360},    {20, "6D", 187072},
    {21, "7A", 188928},    {22, "7B", 190640},    {23, "7C", 192352},    {24, "7D", 194064},
    {25, "8A", 195936},    {26, "8B", 197648},    {27, "8C", 199360},    {28, "8D", 201072},
    {29, "9A", 202928},    {30, "9B", 204640},    {31, "9C", 206352},    {32, "9D", 208064},
    {33, "10A", 209936},   {34, "10N", 210096},   {35, "10B", 211648},   {36, "10C", 213360},
    {37, "10D", 215072},   {38, "11A", 216928},   {39, "11N", 217088},   {40, "11B", 218640},
    {41, "11C", 220352},   {42, "11D", 222064},   {43, "12A", 223936},   {44, "12N", 224096},
    {45, "12B", 225648},   {46, "12C", 227360},   {47, "12D", 229072},   {48, "13A", 230784},
    {49, "13B", 232496},   {50, "13C", 234208},   {51, "13D", 235776},   {52, "13E", 237488},
    {53, "13F", 239200},   {54, "LA", 1452960},   {55, "LB", 1454672},   {56, "LC", 1456384},
    {57, "LD", 1458096},   {58, "LE", 1459808},   {59, "LF", 1461520},   {60, "LG", 1463232},
    {61, "LH", 1464944},   {62, "LI", 1466656},   {63, "LJ", 1468368},   {64, "LK", 1470080},
    {65, "LL", 1471792},   {66, "LM", 1473504},   {67, "LN", 1475216},   {68, "LO", 1476928},
    {69, "LP", 1478640},   {70, "LQ", 1480352},   {71, "LR", 1482064},   {72, "LS", 1483776},
    {73, "LT", 1485488},   {74, "LU", 1487200},   {75, "LV", 1488912},   {76, "LW", 1490624},
};

// A 16-byte field must hold the text followed only by NUL bytes.
::testing::AssertionResult fieldIs(const char (&field)[16], const char* text) {
    size_t n = strlen(text);
    if (n >= sizeof(field)) return ::testing::AssertionFailure() << "text too long: " << text;
    if (memcmp(field, text, n) != 0) {
        return ::testing::AssertionFailure()
               << "field \"" << std::string(field, strnlen(field, sizeof(field)))
               << "\" expected \"" << text << "\"";
    }
    for (size_t i = n; i < sizeof(field); ++i) {
        if (field[i] != '\0') return ::testing::AssertionFailure() << "padding byte " << i << " not NUL";
    }
    return ::testing::AssertionSuccess();
}

bool isAllZero(const DAB_CHANNEL_INFO& r) {
    static const DAB_CHANNEL_INFO zero{};
    return memcmp(&r, &zero, sizeof(r)) == 0;
}

TEST(DABChannelTableTest, IdsOutsideTheValidRangeAreRejectedAndUnusedRecordsAreZero) {
    for (int id : {-1, 0, 12, 77, 255, -2147483647 - 1, 2147483647}) {
        EXPECT_FALSE(DABChannelTable::isValidBlockId(id)) << id;
        EXPECT_EQ(nullptr, DABChannelTable::lookup(id)) << id;
        EXPECT_TRUE(isAllZero(DABChannelTable::record(id))) << id;
    }
    for (int id = 0; id < DAB_CHANNEL_BLOCK_MIN; ++id) {
        EXPECT_TRUE(isAllZero(DABChannelTable::record(id))) << id;
    }
}

TEST(DABChannelTableTest, EveryValidIdMatchesTheAllocation) {
    ASSERT_EQ(static_cast<size_t>(DAB_CHANNEL_BLOCK_MAX - DAB_CHANNEL_BLOCK_MIN + 1),
              sizeof(kExpected) / sizeof(kExpected[0]));
    for (const ExpectedChannel& e : kExpected) {
        SCOPED_TRACE(e.id);
        const DAB_CHANNEL_INFO* r = DABChannelTable::lookup(e.id);
        ASSERT_NE(nullptr, r);
        EXPECT_EQ(r, &DABChannelTable::record(e.id));
        EXPECT_EQ(e.kHz, r->kHz);
        EXPECT_TRUE(fieldIs(r->label, e.label));

        char text[32];
        snprintf(text, sizeof(text), "%u.%03u", e.kHz / 1000, e.kHz % 1000);
        EXPECT_TRUE(fieldIs(r->freqText, text));
        snprintf(text, sizeof(text), "%u.%03uMHz", e.kHz / 1000, e.kHz % 1000);
        EXPECT_TRUE(fieldIs(r->freqTextUnit, text));
    }
}

}  // namespace
