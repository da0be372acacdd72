#ifndef DAB_HOST_DABSIM_SIMCONTROL_H
#define DAB_HOST_DABSIM_SIMCONTROL_H

#include <string>

namespace media_lib_dab {

// Text front of the simulated tuner's run-time controls, for command-line tools. One line is
// one command, applied to the running simulator (SimTuner::active()):
//   antenna N        antenna status 1..5 (3 to 5 are faults)
//   error N          reception error 0..2
//   signal N         signal level 1..7; 0 returns to the world's levels
//   connect N        connect status 0..255
//   dls TEXT         dynamic text (UTF-8) replacing the stations' own; "dls" alone clears it
//   droplist         the next list request is never answered
//   unresponsive on|off
//   status           one line with band, preset, block, logic mode, antenna, error, signal
class SimControl {
public:
    // Any thread; non-blocking. 0 when applied; -1 for an unknown or malformed command or
    // when no simulator runs. *reply gets "ok", the status line or what went wrong.
    static int execute(const std::string& line, std::string* reply);

private:
    SimControl() = delete;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMCONTROL_H
