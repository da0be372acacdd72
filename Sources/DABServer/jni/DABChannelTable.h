#ifndef DAB_SERVER_DABCHANNELTABLE_H
#define DAB_SERVER_DABCHANNELTABLE_H

#include <stdint.h>

#include <type_traits>

// The DAB channel table: Band III 5A to 13F (with 10N, 11N, 12N) and L-band LA to LW,
// indexed by the tuner's block id. Built at compile time, so it is immutable and may be
// read from any thread without a lock.

#define DAB_CHANNEL_BLOCK_MIN 13
#define DAB_CHANNEL_BLOCK_MAX 76
#define DAB_CHANNEL_COUNT 77

// One channel. The texts are NUL padded 16-byte fields that callers copy whole.
struct DAB_CHANNEL_INFO {
    uint32_t kHz;            // centre frequency in kHz; 0 for an unused block id
    char freqText[16];       // "174.928"
    char freqTextUnit[16];   // "174.928MHz"
    char label[16];          // "5A", "10N", "LA"
};

static_assert(sizeof(DAB_CHANNEL_INFO) == 52, "DAB_CHANNEL_INFO layout changed");
static_assert(std::is_standard_layout<DAB_CHANNEL_INFO>::value &&
                  std::is_trivially_copyable<DAB_CHANNEL_INFO>::value,
              "DAB_CHANNEL_INFO must stay a plain record");

class DABChannelTable {
public:
    // Any thread; non-blocking. True for the block ids 13 to 76.
    static bool isValidBlockId(int id) {
        // Unsigned arithmetic: one compare, and no overflow for the most negative id.
        return static_cast<unsigned>(id) - static_cast<unsigned>(DAB_CHANNEL_BLOCK_MIN) <
               static_cast<unsigned>(DAB_CHANNEL_BLOCK_MAX - DAB_CHANNEL_BLOCK_MIN + 1);
    }

    // Any thread; non-blocking. The channel of a valid block id, else null.
    static const DAB_CHANNEL_INFO* lookup(int id);

    // Any thread; non-blocking. For readers without a range test: the record of ids 0 to 76
    // (0 to 12 are all zero); any other id yields an all-zero record as well.
    static const DAB_CHANNEL_INFO& record(int id);

private:
    DABChannelTable() = delete;
};

#endif  // DAB_SERVER_DABCHANNELTABLE_H
