#include "SysCtrlBackend.h"
#include "RecordingSysCtrlBackend.h"

#include "HostMutex.h"

#include <mutex>

namespace android {

namespace {
HostMutex gBackendLock;
sp<SysCtrlBackend> gCurrent;  // guarded by gBackendLock
}  // namespace

SysCtrlBackend::~SysCtrlBackend() {}
int SysCtrlBackend::attach(SysCtrlManagerIF*, int, int) { return 0; }
void SysCtrlBackend::detach(SysCtrlManagerIF*) {}
int SysCtrlBackend::finishSuspend(SysCtrlManagerIF*) { return 0; }
int SysCtrlBackend::finishResume(SysCtrlManagerIF*) { return 0; }

void SysCtrlBackend::setCurrent(const sp<SysCtrlBackend>& backend) {
    HostMutex::Autolock lock(gBackendLock);
    gCurrent = backend;
}

sp<SysCtrlBackend> SysCtrlBackend::current() {
    sp<SysCtrlBackend> backend;
    {
        HostMutex::Autolock lock(gBackendLock);
        if (gCurrent == nullptr) gCurrent = new SysCtrlBackend();
        backend = gCurrent;
    }
    // DAB_RECORD: the session recorder stands in front of whichever backend is installed.
    return RecordingSysCtrlBackend::wrapIfRecording(backend);
}

SysCtrlManagerIF::SysCtrlManagerIF(SysCtrlManagerListenerBase* listener) : mListener(listener) {}
SysCtrlManagerIF::~SysCtrlManagerIF() { SysCtrlBackend::current()->detach(this); }

int SysCtrlManagerIF::attachSysCtrlMng(int moduleId, int flags) {
    return SysCtrlBackend::current()->attach(this, moduleId, flags);
}
int SysCtrlManagerIF::finishSuspend() { return SysCtrlBackend::current()->finishSuspend(this); }
int SysCtrlManagerIF::finishResume() { return SysCtrlBackend::current()->finishResume(this); }
SysCtrlManagerListenerBase* SysCtrlManagerIF::listener() const { return mListener; }

}  // namespace android
