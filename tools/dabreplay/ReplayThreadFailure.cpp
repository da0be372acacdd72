#include "ReplayThreadFailure.h"

#include <cerrno>
#include <dlfcn.h>
#include <mutex>
#include <pthread.h>

namespace {

std::mutex gFailLock;
int gFailCount = 0;                  // guarded by gFailLock
std::function<void()> gOnFail;       // guarded by gFailLock

using CreateFn = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

}  // namespace

void ReplayThreadFailure::failNext(int count, std::function<void()> onFail) {
    std::lock_guard<std::mutex> lock(gFailLock);
    gFailCount = count;
    gOnFail = std::move(onFail);
}

// Every thread start of the process comes here first (libraries included): the executable's
// definition is the one the dynamic linker binds.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*start)(void*), void* arg) {
    static const CreateFn real = reinterpret_cast<CreateFn>(dlsym(RTLD_NEXT, "pthread_create"));
    std::function<void()> onFail;
    {
        std::lock_guard<std::mutex> lock(gFailLock);
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
