// Process entry of the DAB player service, started by init.
#include "DABServiceStartup.h"

#include <headunit/HeadUnitBackends.h>

#if __has_include(<dabsim/SimTuner.h>)
#include <dabsim/SimTuner.h>
#define DAB_HAVE_SIM_TUNER 1
#endif

#include <cstdio>
#include <string>

// Chooses the libraries' default backends for this process before anything uses them.
// False when a named tuner scenario cannot be used: the user asked for that world.
static bool installDefaultBackends() {
    // The media manager, media data service and system control manager are those of the
    // head-unit simulator process.
    headunit::installHostBackends();
#ifdef DAB_HAVE_SIM_TUNER
    std::string error;
    if (!media_lib_dab::SimTuner::installAsDefault(&error)) {
        fprintf(stderr, "%s\n", error.c_str());
        return false;
    }
    // The simulated tuner's faults, for tools in other processes.
    headunit::publishSimControl();
#endif
    return true;
}

int main() {
    if (!installDefaultBackends()) return 1;
    return dabplayer_service_start(true);
}
