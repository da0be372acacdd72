#ifndef DAB_SERVER_DABSERVICESTARTUP_H
#define DAB_SERVER_DABSERVICESTARTUP_H

// Brings up the DAB player service: drops privileges, creates and registers the media-manager
// sources "dab" and "tadab" with their controllers, constructs the service, publishes it as
// "DABPlayer", sets the idle priority class and starts the binder thread pool. With joinPool
// the calling thread then serves binder calls and, in normal operation, never returns.
// Returns 1 when a start-up step fails, else 0. Main thread, once per process.
int dabplayer_service_start(bool joinPool);

#endif  // DAB_SERVER_DABSERVICESTARTUP_H
