// Process entry of the DAB player service, started by init.
#include "DABServiceStartup.h"

#if __has_include(<dabsim/SimTuner.h>)
#include <dabsim/SimTuner.h>
#define DAB_HAVE_SIM_TUNER 1
#endif

#include <string>

// Chooses the libraries' default backends for this process before anything uses them.
static void installDefaultBackends() {
#ifdef DAB_HAVE_SIM_TUNER
    // An unusable scenario is logged by the simulator; the service still starts, with a
    // tuner that receives nothing.
    std::string error;
    media_lib_dab::SimTuner::installAsDefault(&error);
#endif
}

int main() {
    installDefaultBackends();
    return dabplayer_service_start(true);
}
