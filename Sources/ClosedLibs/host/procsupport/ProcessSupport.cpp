#include "ProcessSupportBackend.h"

#include <mutex>

namespace {
std::mutex gBackendLock;
android::sp<ProcessSupportBackend> gCurrent;  // guarded by gBackendLock
}  // namespace

ProcessSupportBackend::~ProcessSupportBackend() {}
int ProcessSupportBackend::dropPrivileges() { return 0; }
int ProcessSupportBackend::setOomAdj(int, int) { return 0; }

void ProcessSupportBackend::setCurrent(const android::sp<ProcessSupportBackend>& backend) {
    std::lock_guard<std::mutex> lock(gBackendLock);
    gCurrent = backend;
}

android::sp<ProcessSupportBackend> ProcessSupportBackend::current() {
    std::lock_guard<std::mutex> lock(gBackendLock);
    if (gCurrent == nullptr) gCurrent = new ProcessSupportBackend();
    return gCurrent;
}

int drop_privileges() { return ProcessSupportBackend::current()->dropPrivileges(); }

int setOomAdj(KESTRAN_SERVICE_ID id, KESTRAN_SERVICES_STS status) {
    return ProcessSupportBackend::current()->setOomAdj(id, status);
}
