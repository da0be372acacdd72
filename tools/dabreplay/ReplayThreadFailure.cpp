#include "ReplayThreadFailure.h"

#include "HostMutex.h"

#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace {

HostMutex gFailLock;
int gFailCount GUARDED_BY(gFailLock) = 0;
std::function<void()> gOnFail GUARDED_BY(gFailLock);

using CreateFn = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

}  // namespace

void ReplayThreadFailure::failNext(int count, std::function<void()> onFail) {
    HostMutex::Autolock lock(gFailLock);
    gFailCount = count;
    gOnFail = std::move(onFail);
}

// Every thread start of the process comes here first (libraries included): the executable's
// definition is the one the dynamic linker binds.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*start)(void*), void* arg) {
    static const CreateFn real = reinterpret_cast<CreateFn>(dlsym(RTLD_NEXT, "pthread_create"));
    std::function<void()> onFail;
    {
        HostMutex::Autolock lock(gFailLock);
        if (gFailCount > 0) {
            --gFailCount;
            onFail = gOnFail;
        }
    }
    if (onFail) {
        onFail();
        return EAGAIN;
    }
    return real != nullptr ? real(thread, attr, start, arg) : EAGAIN;
}
