#ifndef DAB_HOST_HEADUNIT_HEADUNITBACKENDS_H
#define DAB_HOST_HEADUNIT_HEADUNITBACKENDS_H

#include <utils/Errors.h>

// The player service process on a host: its media manager, media data service and system
// control manager are those of the head-unit simulator process, reached over binder.
namespace headunit {

// Main thread at start-up, before any library object exists; non-blocking. Makes the
// cross-process backends the defaults of the media manager, media data and system control
// libraries.
void installHostBackends();

// Main thread at start-up; non-blocking. Publishes "DABSimControl", the simulated tuner's
// run-time controls, for tools in other processes.
android::status_t publishSimControl();

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_HEADUNITBACKENDS_H
