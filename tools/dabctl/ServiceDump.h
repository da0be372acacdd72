#ifndef DAB_TOOLS_DABCTL_SERVICEDUMP_H
#define DAB_TOOLS_DABCTL_SERVICEDUMP_H

#include <string>
#include <vector>

namespace dabclient {

// Asks the "DABPlayer" service for its state dump, as the platform's dump tool does: the
// service writes into a descriptor handed over with the call.
class ServiceDump {
public:
    enum {
        OK = 0,
        NO_SERVICE = 1,  // nobody serves "DABPlayer", or it went away during the call
        REFUSED = 2,     // the service refused the options (unknown section) or the caller
    };

    // Any thread; blocks until the service has written its dump. args are passed as they
    // are (section names, "--json"). *output is what the service wrote (on REFUSED, its
    // reason); on NO_SERVICE *output says what went wrong.
    static int take(const std::vector<std::string>& args, std::string* output);
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_SERVICEDUMP_H
