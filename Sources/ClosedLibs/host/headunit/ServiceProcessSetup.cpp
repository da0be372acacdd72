// The host set-up of the player service process, linked into the host dabplayer_service only:
// the media manager, media data service and system control manager are those of the head-unit
// simulator process, the tuner is the simulated one.
#include "HeadUnitBackends.h"
#include "HostProcessSetup.h"

#include <dabsim/SimTuner.h>

#include <cstdio>
#include <string>

bool hostProcessSetup() {
    headunit::installHostBackends();
    std::string error;
    // A named scenario that cannot be used ends the process: the user asked for that world.
    if (!media_lib_dab::SimTuner::installAsDefault(&error)) {
        fprintf(stderr, "%s\n", error.c_str());
        return false;
    }
    // The simulated tuner's faults, for tools in other processes.
    headunit::publishSimControl();
    return true;
}
