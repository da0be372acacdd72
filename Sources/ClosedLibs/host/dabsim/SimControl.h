#ifndef DAB_HOST_DABSIM_SIMCONTROL_H
#define DAB_HOST_DABSIM_SIMCONTROL_H

#include <string>

namespace media_lib_dab {

// Text front of the simulated tuner's run-time controls, for command-line tools. One line is
// one command (helpText() lists them), applied to the running simulator (SimTuner::active()).
class SimControl {
public:
    // Any thread; non-blocking. headunit::kCommandDone when applied, kCommandUsage for an
    // unknown or malformed command (numbers out of range included), kCommandRefused when no
    // simulator runs or it refused. *reply gets "ok", the answer or what went wrong.
    static int execute(const std::string& line, std::string* reply);

    // Any thread; non-blocking. One line per command.
    static const char* helpText();

private:
    SimControl() = delete;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMCONTROL_H
