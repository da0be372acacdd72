#include "RemoteSysCtrlBackend.h"

#include "HostMutex.h"

#include "HeadUnitNames.h"

#include <binder/IServiceManager.h>
#include <log/log_tag_id.h>

using namespace android;

namespace headunit {

namespace {
constexpr int kLogWarn = 5;
}  // namespace

RemoteSysCtrlBackend::RemoteSysCtrlBackend() {}
RemoteSysCtrlBackend::~RemoteSysCtrlBackend() {}

sp<IHeadUnitSysCtrl> RemoteSysCtrlBackend::manager() {
    sp<IHeadUnitSysCtrl> dead;  // dropped after the lock is released
    {
        HostMutex::Autolock lock(mStateLock);
        if (mManager != nullptr && IInterface::asBinder(mManager)->isBinderAlive()) return mManager;
        dead = mManager;
    }
    sp<IHeadUnitSysCtrl> found = interface_cast<IHeadUnitSysCtrl>(
            defaultServiceManager()->checkService(String16(kSysCtrlService)));
    HostMutex::Autolock lock(mStateLock);
    mManager = found;
    return found;
}

sp<SysCtrlListenerBinder> RemoteSysCtrlBackend::binderOf(SysCtrlManagerIF* client) {
    HostMutex::Autolock lock(mStateLock);
    auto it = mClients.find(client);
    return it == mClients.end() ? nullptr : it->second;
}

int RemoteSysCtrlBackend::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    if (client == nullptr || client->listener() == nullptr) return -1;
    sp<IHeadUnitSysCtrl> sc = manager();
    if (sc == nullptr) {
        __android_log_print_tag_id(kLogWarn, kLogTagId, kLogTag,
                                   "system control manager not running: module %d not attached",
                                   moduleId);
        return -1;
    }
    sp<SysCtrlListenerBinder> binder = new SysCtrlListenerBinder(client->listener());
    sp<SysCtrlListenerBinder> previous;  // a second attach replaces the first
    {
        HostMutex::Autolock lock(mStateLock);
        previous = mClients[client];
        mClients[client] = binder;
    }
    if (previous != nullptr) previous->stop();
    return sc->attach(binder, moduleId, flags);
}

void RemoteSysCtrlBackend::detach(SysCtrlManagerIF* client) {
    sp<SysCtrlListenerBinder> binder;
    {
        HostMutex::Autolock lock(mStateLock);
        auto it = mClients.find(client);
        if (it == mClients.end()) return;
        binder = it->second;
        mClients.erase(it);
    }
    binder->stop();
    sp<IHeadUnitSysCtrl> sc = manager();
    if (sc != nullptr) sc->detach(binder);
}

int RemoteSysCtrlBackend::finishSuspend(SysCtrlManagerIF* client) {
    sp<SysCtrlListenerBinder> binder = binderOf(client);
    sp<IHeadUnitSysCtrl> sc = binder != nullptr ? manager() : nullptr;
    return sc != nullptr ? sc->finishSuspend(binder) : -1;
}

int RemoteSysCtrlBackend::finishResume(SysCtrlManagerIF* client) {
    sp<SysCtrlListenerBinder> binder = binderOf(client);
    sp<IHeadUnitSysCtrl> sc = binder != nullptr ? manager() : nullptr;
    return sc != nullptr ? sc->finishResume(binder) : -1;
}

}  // namespace headunit
