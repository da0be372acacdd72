#ifndef DAB_HOST_EBULATIN_H
#define DAB_HOST_EBULATIN_H

#include <stdint.h>

namespace codeconver {

// Marks a position of a character set that has no character; a text holding it is refused.
constexpr uint16_t kEbuLatinUndefined = 0xFFFF;

// The complete EBU Latin based repertoire of DAB, byte value to Unicode code point; shared by
// the converter and by the simulated tuner, which encodes its labels with it.
extern const uint16_t kEbuLatinToUnicode[256];

}  // namespace codeconver

#endif  // DAB_HOST_EBULATIN_H
