#ifndef DAB_SERVER_PTHREADMUTEX_H
#define DAB_SERVER_PTHREADMUTEX_H

#include <utils/Mutex.h>

#include <pthread.h>

// A pthread mutex carrying the platform's lock annotations, for the places that wait on a
// pthread condition variable with it (which android::Mutex does not hand out). Not copyable.
class CAPABILITY("mutex") PthreadMutex {
public:
    // Owner thread; non-blocking.
    PthreadMutex() { pthread_mutex_init(&mMutex, nullptr); }
    // Owner thread, with nobody holding or waiting for it; non-blocking.
    ~PthreadMutex() { pthread_mutex_destroy(&mMutex); }

    // Any thread; lock blocks until the mutex is free.
    void lock() ACQUIRE() { pthread_mutex_lock(&mMutex); }
    void unlock() RELEASE() { pthread_mutex_unlock(&mMutex); }
    // Holder only: for pthread_cond_wait and pthread_cond_timedwait, which release and retake
    // the same mutex before they return.
    pthread_mutex_t* native() REQUIRES(this) { return &mMutex; }

    // Holds the mutex for its scope.
    class SCOPED_CAPABILITY Autolock {
    public:
        explicit Autolock(PthreadMutex& mutex) ACQUIRE(mutex) : mMutex(mutex) { mMutex.lock(); }
        ~Autolock() RELEASE() { mMutex.unlock(); }

        Autolock(const Autolock&) = delete;
        Autolock& operator=(const Autolock&) = delete;

    private:
        PthreadMutex& mMutex;
    };

    PthreadMutex(const PthreadMutex&) = delete;
    PthreadMutex& operator=(const PthreadMutex&) = delete;

private:
    pthread_mutex_t mMutex;
};

#endif  // DAB_SERVER_PTHREADMUTEX_H
