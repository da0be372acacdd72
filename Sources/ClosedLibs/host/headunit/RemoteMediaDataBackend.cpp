#include "RemoteMediaDataBackend.h"

#include "HostMutex.h"

#include "HeadUnitNames.h"

#include <binder/IServiceManager.h>

using namespace android;

namespace headunit {

RemoteMediaDataBackend::RemoteMediaDataBackend() {}
RemoteMediaDataBackend::~RemoteMediaDataBackend() {}

sp<IHeadUnitMediaData> RemoteMediaDataBackend::service() {
    sp<IHeadUnitMediaData> dead;  // dropped after the lock is released
    {
        HostMutex::Autolock lock(mServiceLock);
        if (mService != nullptr && IInterface::asBinder(mService)->isBinderAlive()) return mService;
        dead = mService;
    }
    sp<IHeadUnitMediaData> found = interface_cast<IHeadUnitMediaData>(
            defaultServiceManager()->checkService(String16(kMediaDataService)));
    HostMutex::Autolock lock(mServiceLock);
    mService = found;
    return found;
}

int RemoteMediaDataBackend::attach() {
    sp<IHeadUnitMediaData> md = service();
    return md != nullptr ? md->attach() : -1;
}

int RemoteMediaDataBackend::publish(const String8& key, int value) {
    sp<IHeadUnitMediaData> md = service();
    return md != nullptr ? md->publish(key, value) : -1;
}

}  // namespace headunit
