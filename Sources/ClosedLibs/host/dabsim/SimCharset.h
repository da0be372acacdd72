#ifndef DAB_HOST_DABSIM_SIMCHARSET_H
#define DAB_HOST_DABSIM_SIMCHARSET_H

#include <cstdint>
#include <string>
#include <vector>

namespace media_lib_dab {

// The three character sets in which the simulated tuner hands out labels and dynamic texts,
// with the tuner's own codes. World descriptions are written in UTF-8 and encoded once, when
// the world is built; these functions hold no state and may be called from any thread.
class SimCharset {
public:
    static constexpr int kEbuLatin = 1;  // EBU Latin based repertoire, one byte per character
    static constexpr int kUtf8 = 7;
    static constexpr int kUcs2 = 8;      // UCS-2, big-endian, two bytes per character

    // Any thread; non-blocking. True for the three codes above.
    static bool isSupported(int charset);

    // Any thread; non-blocking. Encodes UTF-8 text in the given character set. On failure
    // returns false and says why in *error (an unsupported code, bad UTF-8, or a character
    // the set cannot hold, named as U+XXXX).
    static bool encode(const std::string& utf8, int charset, std::string* out, std::string* error);

    // Any thread; non-blocking. Decodes bytes of the given set into code points (used to sort
    // and search labels as the listener reads them). Undecodable bytes become U+FFFD.
    static std::vector<uint32_t> decode(const std::string& bytes, int charset);

    // Any thread; non-blocking. Name of a code for messages: "EBU Latin", "UTF-8", "UCS-2".
    static const char* name(int charset);

private:
    SimCharset() = delete;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMCHARSET_H
