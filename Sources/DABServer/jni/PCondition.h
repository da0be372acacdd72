#ifndef DAB_SERVER_PCONDITION_H
#define DAB_SERVER_PCONDITION_H

#include "PthreadMutex.h"

#include <pthread.h>
#include <time.h>

#include <cstdint>

// An event with a pending-signal count and a time-out on the monotonic clock. A signal given
// while nobody waits is kept and ends the next wait at once. In flag mode any number of
// pending signals collapse into one; in counting mode each signal ends one wait.
class PCondition {
public:
    // Owner thread; non-blocking.
    explicit PCondition(bool counting);
    // Owner thread, with no waiter left; non-blocking.
    ~PCondition();
    // Any thread; non-blocking (short internal lock). Gives one signal.
    void signal();
    // Owner thread; blocks until signalled or timeoutUs have passed on the monotonic clock.
    // Returns 0 when a signal was consumed, 1 on time-out.
    int wait(uint32_t timeoutUs);

    // Any thread; pure. The absolute deadline timeoutUs after now, nanoseconds carried into
    // seconds so that the result is a valid timespec.
    static struct timespec deadlineFrom(const struct timespec& now, uint32_t timeoutUs);

private:
    PCondition(const PCondition&) = delete;
    PCondition& operator=(const PCondition&) = delete;

    PthreadMutex mMutex;  // guards mCount; mCond waits with it
    pthread_cond_t mCond;  // bound to CLOCK_MONOTONIC; waited on and signalled under mMutex
    int32_t mCount GUARDED_BY(mMutex);  // signals given and not yet consumed
    const bool mCounting;    // immutable
};

#endif  // DAB_SERVER_PCONDITION_H
