#ifndef DAB_SERVER_PCONDITION_H
#define DAB_SERVER_PCONDITION_H

#include <pthread.h>
#include <cstdint>

// An event with a pending-signal count and a time-out on the monotonic clock.
class PCondition {
public:
    explicit PCondition(bool counting);
    ~PCondition();
    // Any thread; non-blocking.
    void signal();
    // Owner thread; blocks until signalled or timeoutUs passed. 0 signalled, 1 timed out.
    int wait(uint32_t timeoutUs);

private:
    pthread_cond_t mCond;
    pthread_mutex_t mMutex;
    int32_t mCount;       // guarded by mMutex
    const bool mCounting; // immutable
};

#endif  // DAB_SERVER_PCONDITION_H
