#ifndef DAB_HOST_HEADUNIT_SIMCONTROLSERVICE_H
#define DAB_HOST_HEADUNIT_SIMCONTROLSERVICE_H

#include "ICommandChannel.h"

namespace headunit {

// The "DABSimControl" service of the player service process: the simulated tuner's run-time
// controls (antenna, error, signal, connect status, dynamic text, dropped list request,
// unresponsive tuner) for tools in other processes. Host builds with the simulated tuner only.
class SimControlService : public BnCommandChannel {
public:
    // Any thread; non-blocking.
    SimControlService();

    // Binder threads; non-blocking (the tuner applies the control on its own thread). With
    // kCommandJson the output is {"status":N,"reply":"..."}.
    int execute(const android::String8& line, int flags, android::String8* output) override;

protected:
    ~SimControlService() override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_SIMCONTROLSERVICE_H
