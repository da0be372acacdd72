#ifndef DAB_TOOLS_DABCTL_CONTROLCLIENT_H
#define DAB_TOOLS_DABCTL_CONTROLCLIENT_H

#include <string>

namespace dabclient {

// Sends one command line to a control service of a host tool process: "HeadUnitControl"
// (the head-unit simulator) or "DABSimControl" (the simulated tuner in the player service).
class ControlClient {
public:
    enum {
        NOT_RUNNING = -1000,  // nobody serves the name
        LOST = -1001,         // the call did not get through
    };

    // Any thread; blocks until the command has run (a lookup does not wait for a service
    // that is starting). The command's status (headunit::kCommand*), or one of the values
    // above; *output holds the answer.
    static int execute(const char* service, const std::string& line, bool json,
                       std::string* output);

private:
    ControlClient() = delete;
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_CONTROLCLIENT_H
