#ifndef DAB_PLATFORM_HOST_SYNC_HOSTMUTEX_H
#define DAB_PLATFORM_HOST_SYNC_HOSTMUTEX_H

// A std::mutex carrying the capability annotations that libstdc++ lacks, so that clang's
// thread-safety analysis checks the host code's locks as it checks android::Mutex. The macros
// are the platform library's (utils/Mutex.h).

#include <utils/Mutex.h>

#include <condition_variable>
#include <mutex>

class CAPABILITY("mutex") HostMutex {
public:
    // Any thread; lock blocks until the mutex is free.
    void lock() ACQUIRE() { mMutex.lock(); }
    void unlock() RELEASE() { mMutex.unlock(); }

    // Holds the mutex for its scope, like std::unique_lock: may be released and taken again
    // inside it, and a condition variable waits through native(). Not movable.
    class SCOPED_CAPABILITY Autolock {
    public:
        explicit Autolock(HostMutex& mutex) ACQUIRE(mutex) : mLock(mutex.mMutex) {}
        ~Autolock() RELEASE() {}
        void lock() ACQUIRE() { mLock.lock(); }
        void unlock() RELEASE() { mLock.unlock(); }
        // For std::condition_variable: the wait releases and retakes the same mutex.
        std::unique_lock<std::mutex>& native() { return mLock; }

        Autolock(const Autolock&) = delete;
        Autolock& operator=(const Autolock&) = delete;

    private:
        std::unique_lock<std::mutex> mLock;
    };

private:
    std::mutex mMutex;
};

#endif  // DAB_PLATFORM_HOST_SYNC_HOSTMUTEX_H
