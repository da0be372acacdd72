#ifndef DAB_CLOSEDLIBS_PROCESSSUPPORT_H
#define DAB_CLOSEDLIBS_PROCESSSUPPORT_H

// Process support of the head unit: privileges and the memory-pressure priority class.
enum KESTRAN_SERVICE_ID {
    KESTRAN_SERVICE_ID_DAB = 5,
};

enum KESTRAN_SERVICES_STS {
    KESTRAN_SERVICES_STS_ACTIVE = 0,
    KESTRAN_SERVICES_STS_BACKGROUND = 1,
    KESTRAN_SERVICES_STS_IDLE = 2,
};

// Main thread at start-up, before any other work.
int drop_privileges();
// Any thread; non-blocking.
int setOomAdj(KESTRAN_SERVICE_ID id, KESTRAN_SERVICES_STS status);

#endif  // DAB_CLOSEDLIBS_PROCESSSUPPORT_H
