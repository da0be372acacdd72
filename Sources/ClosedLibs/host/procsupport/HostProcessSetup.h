#ifndef DAB_HOST_PROCSUPPORT_HOSTPROCESSSETUP_H
#define DAB_HOST_PROCSUPPORT_HOSTPROCESSSETUP_H

// The host build's start-up hook of a process. The process support library runs it once, at
// the first drop_privileges(), which is the player service's first call, so the choices are
// made before any library object exists while the process entry stays the device's own.
// The host libraries carry a default that chooses nothing (tests and tools install their own
// backends); the service executable links ServiceProcessSetup.cpp, which chooses the
// head-unit simulator's services and the simulated tuner.
//
// Main thread, once per process; may read files. False when the process cannot run as asked
// (the reason is already reported): the process then ends with status 1.
bool hostProcessSetup();

#endif  // DAB_HOST_PROCSUPPORT_HOSTPROCESSSETUP_H
