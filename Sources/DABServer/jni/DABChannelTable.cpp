#include "DABChannelTable.h"

#include <stddef.h>

namespace {

// Centre frequencies and names of the DAB channel allocation, in block id order from 13.
struct ChannelSeed {
    uint32_t kHz;
    const char* label;
};

constexpr ChannelSeed kSeeds[] = {
    {174928, "5A"},   {176640, "5B"},   {178352, "5C"},   {180064, "5D"},
    {181936, "6A"},   {183648, "6B"},   {185360, "6C"},   {187072, "6D"},
    {188928, "7A"},   {190640, "7B"},   {192352, "7C"},   {194064, "7D"},
    {195936, "8A"},   {197648, "8B"},   {199360, "8C"},   {201072, "8D"},
    {202928, "9A"},   {204640, "9B"},   {206352, "9C"},   {208064, "9D"},
    {209936, "10A"},  {210096, "10N"},  {211648, "10B"},  {213360, "10C"},
    {215072, "10D"},  {216928, "11A"},  {217088, "11N"},  {218640, "11B"},
    {220352, "11C"},  {222064, "11D"},  {223936, "12A"},  {224096, "12N"},
    {225648, "12B"},  {227360, "12C"},  {229072, "12D"},  {230784, "13A"},
    {232496, "13B"},  {234208, "13C"},  {235776, "13D"},  {237488, "13E"},
    {239200, "13F"},  {1452960, "LA"},  {1454672, "LB"},  {1456384, "LC"},
    {1458096, "LD"},  {1459808, "LE"},  {1461520, "LF"},  {1463232, "LG"},
    {1464944, "LH"},  {1466656, "LI"},  {1468368, "LJ"},  {1470080, "LK"},
    {1471792, "LL"},  {1473504, "LM"},  {1475216, "LN"},  {1476928, "LO"},
    {1478640, "LP"},  {1480352, "LQ"},  {1482064, "LR"},  {1483776, "LS"},
    {1485488, "LT"},  {1487200, "LU"},  {1488912, "LV"},  {1490624, "LW"},
};

static_assert(sizeof(kSeeds) / sizeof(kSeeds[0]) == DAB_CHANNEL_BLOCK_MAX - DAB_CHANNEL_BLOCK_MIN + 1,
              "one seed per valid block id");

struct ChannelTable {
    DAB_CHANNEL_INFO records[DAB_CHANNEL_COUNT];
};

// Writes the decimal digits of v at out[pos...]; returns the position after them.
constexpr size_t putDecimal(char* out, size_t pos, uint32_t v, size_t minDigits) {
    char digits[10] = {};
    size_t n = 0;
    do {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v != 0 || n < minDigits);
    while (n > 0) out[pos++] = digits[--n];
    return pos;
}

// Both texts follow from the kHz value: integer MHz, a point, the remaining kHz in three digits.
constexpr DAB_CHANNEL_INFO makeRecord(const ChannelSeed& seed) {
    DAB_CHANNEL_INFO r{};
    r.kHz = seed.kHz;
    size_t n = putDecimal(r.freqText, 0, seed.kHz / 1000, 1);
    r.freqText[n++] = '.';
    n = putDecimal(r.freqText, n, seed.kHz % 1000, 3);
    for (size_t i = 0; i < n; ++i) r.freqTextUnit[i] = r.freqText[i];
    r.freqTextUnit[n] = 'M';
    r.freqTextUnit[n + 1] = 'H';
    r.freqTextUnit[n + 2] = 'z';
    for (size_t i = 0; seed.label[i] != '\0'; ++i) r.label[i] = seed.label[i];
    return r;
}

constexpr ChannelTable makeTable() {
    ChannelTable t{};
    for (int id = DAB_CHANNEL_BLOCK_MIN; id <= DAB_CHANNEL_BLOCK_MAX; ++id) {
        t.records[id] = makeRecord(kSeeds[id - DAB_CHANNEL_BLOCK_MIN]);
    }
    return t;
}

// Constant-initialised: no start-up order or first-use race.
constexpr ChannelTable kTable = makeTable();
constexpr DAB_CHANNEL_INFO kEmpty{};

}  // namespace

const DAB_CHANNEL_INFO* DABChannelTable::lookup(int id) {
    return isValidBlockId(id) ? &kTable.records[id] : nullptr;
}

const DAB_CHANNEL_INFO& DABChannelTable::record(int id) {
    if (id < 0 || id >= DAB_CHANNEL_COUNT) return kEmpty;
    return kTable.records[id];
}
