#ifndef DAB_PLATFORM_BINDER_ISERVICEMANAGER_H
#define DAB_PLATFORM_BINDER_ISERVICEMANAGER_H

#include <binder/IInterface.h>
#include <utils/Vector.h>

namespace android {

// Name service of binder objects.
class IServiceManager : public virtual RefBase {
public:
    // Any thread; blocks up to 2 s waiting for a service that is starting. A service of this
    // process is found first; another process's through its socket.
    virtual sp<IBinder> getService(const String16& name) const = 0;
    // Any thread; does not wait for a missing service (a lookup in another process is one
    // call there).
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Any thread; non-blocking. Registers the service in this process and makes other
    // processes reach it through a socket named after it; ALREADY_EXISTS when another live
    // process serves the name (it stays registered in this process).
    virtual status_t addService(const String16& name, const sp<IBinder>& service,
                                bool allowIsolated = false) = 0;
    virtual Vector<String16> listServices() = 0;
};

// Any thread; non-blocking. The process's service manager.
sp<IServiceManager> defaultServiceManager();

template <typename INTERFACE>
status_t getService(const String16& name, sp<INTERFACE>* outService) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm != nullptr) {
        *outService = interface_cast<INTERFACE>(sm->getService(name));
        if ((*outService) != nullptr) return NO_ERROR;
    }
    return NAME_NOT_FOUND;
}

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_ISERVICEMANAGER_H
