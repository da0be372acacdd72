#ifndef DAB_PLATFORM_HOST_BINDER_BINDERHOSTHOOKS_H
#define DAB_PLATFORM_HOST_BINDER_BINDERHOSTHOOKS_H

// What the host binder offers beyond the device's binder API: hooks for the transport, tests
// and tools. The service code never includes this header.

#include <binder/IServiceManager.h>

#include <sys/types.h>

namespace android {

// Any thread; non-blocking. Replaces the process's service manager (tests, the cross-process
// transport); null brings back a fresh default one.
void setDefaultServiceManager(const sp<IServiceManager>& sm);

// Calling thread only; non-blocking. Makes uid and pid the caller of the transaction this
// thread serves; the transport saves the previous caller with clearCallingIdentity and puts it
// back with restoreCallingIdentity.
void setCallingIdentity(uid_t uid, pid_t pid);

}  // namespace android

#endif  // DAB_PLATFORM_HOST_BINDER_BINDERHOSTHOOKS_H
