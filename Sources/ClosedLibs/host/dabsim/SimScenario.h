#ifndef DAB_HOST_DABSIM_SIMSCENARIO_H
#define DAB_HOST_DABSIM_SIMSCENARIO_H

#include <string>

namespace media_lib_dab {

class SimWorld;

// Reads a scenario file: a JSON description of another world for the simulated tuner (the
// format is described in README.md next to this file). Everything is checked before the
// world is used: a malformed file, an unknown key, a value of the wrong type or range, a
// block id outside 13..76, a label longer than 16 bytes once encoded, or a preset naming a
// service that does not exist is refused with one message naming the file, the place and
// the problem.
class SimScenario {
public:
    // Any thread; reads the file, blocks only on it. On success fills *out and returns true;
    // otherwise leaves *out alone, sets *error to "<file>: <place>: <problem>" and returns false.
    static bool load(const std::string& path, SimWorld* out, std::string* error);

    // Any thread; non-blocking. The same for text already in memory; path only names it.
    static bool parse(const std::string& text, const std::string& path, SimWorld* out,
                      std::string* error);

private:
    SimScenario() = delete;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMSCENARIO_H
