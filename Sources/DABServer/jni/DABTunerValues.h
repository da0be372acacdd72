#ifndef DAB_SERVER_DABTUNERVALUES_H
#define DAB_SERVER_DABTUNERVALUES_H

// Reading the tuner library's values: time-shift times, character-set codes and preset
// positions.

#include <cstdint>

// The library reports time-shift times as 16-bit values with their two bytes swapped.
inline int decodeTsTime(int v) { return (v >> 8) + (v & 0xFF) * 256; }

// Values the service passes on without a range test are computed in 64 bits and cut to the
// 32-bit int they travel as: a value at the end of the int range wraps instead of overflowing.
inline int wrapToInt(int64_t v) { return static_cast<int>(static_cast<uint32_t>(v)); }

// Position of preset pch of band over all bands, six per band: band 1 preset 1 is 0.
inline int presetPosition(int band, int pch) {
    return wrapToInt((int64_t{band} - 1) * 6 + (int64_t{pch} - 1));
}

// Conversion code that means the text cannot be converted.
#define DAB_SERVER_CODE_CONVER_NONE 21
// Conversion code of the channel-table texts that stand in for a missing label.
#define DAB_SERVER_CODE_CONVER_CHANNEL_TEXT 5

// Maps the library's character-set code to the code converter's code.
inline int toCodeConverType(int code) {
    switch (code) {
        case 1: return 10;
        case 7: return 5;
        case 8: return 4;
        default: return DAB_SERVER_CODE_CONVER_NONE;
    }
}

#endif  // DAB_SERVER_DABTUNERVALUES_H
