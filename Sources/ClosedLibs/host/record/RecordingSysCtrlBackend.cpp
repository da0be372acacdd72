#include "RecordingSysCtrlBackend.h"

#include "HostMutex.h"
#include "RecordingSysCtrlListener.h"
#include "SessionRecorder.h"

namespace android {

namespace {
HostMutex gWrapLock;
sp<RecordingSysCtrlBackend> gWrapper GUARDED_BY(gWrapLock);
sp<SysCtrlBackend> gWrapped GUARDED_BY(gWrapLock);
}  // namespace

sp<SysCtrlBackend> RecordingSysCtrlBackend::wrapIfRecording(const sp<SysCtrlBackend>& backend) {
    if (SessionRecorder::get() == nullptr || backend == nullptr) return backend;
    HostMutex::Autolock lock(gWrapLock);
    if (gWrapped != backend) {
        gWrapped = backend;
        gWrapper = new RecordingSysCtrlBackend(backend);
    }
    return gWrapper;
}

RecordingSysCtrlBackend::RecordingSysCtrlBackend(const sp<SysCtrlBackend>& inner) : mInner(inner) {}

SysCtrlManagerIF* RecordingSysCtrlBackend::standIn(SysCtrlManagerIF* client) {
    HostMutex::Autolock lock(mStandInsLock);
    for (const auto& entry : mStandIns) {
        if (entry.second == client) return client;
    }
    auto it = mStandIns.find(client);
    if (it != mStandIns.end()) return it->second;
    SysCtrlManagerListenerBase* listener =
            client->listener() != nullptr ? new RecordingSysCtrlListener(client->listener()) : nullptr;
    SysCtrlManagerIF* created = new SysCtrlManagerIF(listener);
    mStandIns[client] = created;
    return created;
}

int RecordingSysCtrlBackend::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    if (client == nullptr) return mInner->attach(client, moduleId, flags);
    return mInner->attach(standIn(client), moduleId, flags);
}

void RecordingSysCtrlBackend::detach(SysCtrlManagerIF* client) {
    if (client == nullptr) return mInner->detach(client);
    mInner->detach(standIn(client));
}

int RecordingSysCtrlBackend::finishSuspend(SysCtrlManagerIF* client) {
    return mInner->finishSuspend(client == nullptr ? client : standIn(client));
}

int RecordingSysCtrlBackend::finishResume(SysCtrlManagerIF* client) {
    return mInner->finishResume(client == nullptr ? client : standIn(client));
}

}  // namespace android
