#include "ProcessSupportBackend.h"

#include "HostMutex.h"
#include "HostProcessSetup.h"

#include <cstdlib>
#include <mutex>

namespace {
HostMutex gBackendLock;
android::sp<ProcessSupportBackend> gCurrent;  // guarded by gBackendLock
}  // namespace

ProcessSupportBackend::~ProcessSupportBackend() {}
int ProcessSupportBackend::dropPrivileges() { return 0; }
int ProcessSupportBackend::setOomAdj(int, int) { return 0; }

void ProcessSupportBackend::setCurrent(const android::sp<ProcessSupportBackend>& backend) {
    HostMutex::Autolock lock(gBackendLock);
    gCurrent = backend;
}

android::sp<ProcessSupportBackend> ProcessSupportBackend::current() {
    HostMutex::Autolock lock(gBackendLock);
    if (gCurrent == nullptr) gCurrent = new ProcessSupportBackend();
    return gCurrent;
}

// Replaced by the strong definition of an executable that links its own set-up.
__attribute__((weak)) bool hostProcessSetup() { return true; }

int drop_privileges() {
    static const bool setUp = hostProcessSetup();
    if (!setUp) exit(1);
    return ProcessSupportBackend::current()->dropPrivileges();
}

int setOomAdj(KESTRAN_SERVICE_ID id, KESTRAN_SERVICES_STS status) {
    return ProcessSupportBackend::current()->setOomAdj(id, status);
}
