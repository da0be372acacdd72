#include "RemoteMediaManagerBackend.h"

#include "HostMutex.h"

#include "HeadUnitNames.h"
#include "SourceListenerBinder.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <log/log_tag_id.h>

using namespace android;

namespace headunit {

namespace {
constexpr int kLogWarn = 5;
}  // namespace

RemoteMediaManagerBackend::RemoteMediaManagerBackend() {}
RemoteMediaManagerBackend::~RemoteMediaManagerBackend() {}

sp<IHeadUnitMediaManager> RemoteMediaManagerBackend::manager(bool lookUp) {
    sp<IBinder> dead;
    {
        HostMutex::Autolock lock(mManagerLock);
        if (mManager != nullptr) {
            if (IInterface::asBinder(mManager)->isBinderAlive()) return mManager;
            dead = IInterface::asBinder(mManager);
        }
    }
    // Seen dead before its obituary arrived: its sources learn it before a new manager is used.
    if (dead != nullptr) forgetManager(dead.get());
    if (!lookUp) return nullptr;
    sp<IBinder> binder = defaultServiceManager()->checkService(String16(kMediaManagerService));
    if (binder == nullptr) return nullptr;
    sp<IHeadUnitMediaManager> found = interface_cast<IHeadUnitMediaManager>(binder);
    sp<IHeadUnitMediaManager> replaced;
    bool isNew = false;
    {
        HostMutex::Autolock lock(mManagerLock);
        // Another thread may have looked it up meanwhile: the same remote object gives the
        // same proxy, which is linked once.
        isNew = (mManager == nullptr || IInterface::asBinder(mManager) != binder);
        replaced = mManager;
        mManager = found;
    }
    if (isNew) binder->linkToDeath(sp<IBinder::DeathRecipient>(this));
    return found;
}

bool RemoteMediaManagerBackend::createSource(const String8& name,
                                             const sp<ISourceListener>& listener) {
    if (listener == nullptr) return false;
    sp<IHeadUnitMediaManager> mm = manager(true);
    if (mm == nullptr) return false;
    sp<SourceListenerBinder> binder = new SourceListenerBinder(listener);
    if (mm->createSource(name, binder) != 0) return false;
    sp<ISourceListener> previous;  // dropped after the lock is released
    HostMutex::Autolock lock(mManagerLock);
    previous = mSources[name.string()];
    mSources[name.string()] = listener;
    return true;
}

int RemoteMediaManagerBackend::registerSource(const String8& name, int code, Parcel* reply) {
    sp<IHeadUnitMediaManager> mm = manager(true);
    if (mm == nullptr) return -1;
    // The caller reads the manager's reply data from where it starts, whichever way it came.
    const size_t start = reply != nullptr ? reply->dataPosition() : 0;
    const int result = mm->registerSource(name, code, reply);
    if (reply != nullptr) reply->setDataPosition(start);
    return result;
}

int RemoteMediaManagerBackend::publishMediaInfo(const String8& name, const MediaInfoParcel& info) {
    sp<IHeadUnitMediaManager> mm = manager(true);
    return mm != nullptr ? mm->publishMediaInfo(name, info) : -1;
}

int RemoteMediaManagerBackend::setMediaStatus(const String8& name, MediaStatus status) {
    sp<IHeadUnitMediaManager> mm = manager(true);
    return mm != nullptr ? mm->setMediaStatus(name, static_cast<int>(status)) : -1;
}

void RemoteMediaManagerBackend::binderDied(const wp<IBinder>& who) { forgetManager(who.unsafe_get()); }

void RemoteMediaManagerBackend::forgetManager(const IBinder* dead) {
    std::map<std::string, sp<ISourceListener>> sources;
    sp<IHeadUnitMediaManager> forgotten;  // dropped after the lock is released
    {
        HostMutex::Autolock lock(mManagerLock);
        // A manager found after this one died already has its own sources.
        if (mManager == nullptr || IInterface::asBinder(mManager).get() != dead) return;
        forgotten = mManager;
        mManager.clear();
        sources.swap(mSources);
    }
    __android_log_print_tag_id(kLogWarn, kLogTagId, kLogTag,
                               "media manager died: asking %d sources to reconnect",
                               static_cast<int>(sources.size()));
    for (const auto& entry : sources) {
        entry.second->onNotify(kNotifyReconnect, kReconnectExt, 0, nullptr);
    }
}

}  // namespace headunit
