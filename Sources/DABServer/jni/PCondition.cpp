#include "PCondition.h"

#include <errno.h>

#include <cstdio>
#include <cstring>

namespace {
constexpr uint32_t kUsPerSecond = 1000000u;
constexpr long kNsPerUs = 1000L;
constexpr long kNsPerSecond = 1000000000L;
}  // namespace

PCondition::PCondition(bool counting) : mCount(0), mCounting(counting) {
    // Timed waits measure against the monotonic clock so that wall-clock changes neither
    // shorten nor lengthen them.
    pthread_condattr_t attr;
    pthread_condattr_init(&attr);
    pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
    int err = pthread_cond_init(&mCond, &attr);
    pthread_condattr_destroy(&attr);
    if (err != 0) {
        // Reported on standard output only; the object is used all the same.
        printf("PCondition::PCondition %s\n", strerror(err));
    }
}

PCondition::~PCondition() {
    pthread_cond_destroy(&mCond);
}

void PCondition::signal() {
    mMutex.lock();
    if (mCounting) {
        mCount += 1;
    } else {
        mCount = 1;
    }
    pthread_cond_signal(&mCond);
    mMutex.unlock();
}

struct timespec PCondition::deadlineFrom(const struct timespec& now, uint32_t timeoutUs) {
    struct timespec deadline = now;
    deadline.tv_sec += static_cast<time_t>(timeoutUs / kUsPerSecond);
    deadline.tv_nsec += static_cast<long>(timeoutUs % kUsPerSecond) * kNsPerUs;
    if (deadline.tv_nsec > kNsPerSecond - 1) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= kNsPerSecond;
    }
    return deadline;
}

int PCondition::wait(uint32_t timeoutUs) {
    // Computed once: a wake-up that finds no signal waits again towards the same deadline.
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const struct timespec deadline = deadlineFrom(now, timeoutUs);

    mMutex.lock();
    int result = 0;
    while (mCount == 0) {
        if (pthread_cond_timedwait(&mCond, mMutex.native(), &deadline) == ETIMEDOUT) {
            // The time-out counts as the answer; it is consumed below like a signal.
            if (mCounting) {
                mCount += 1;
            } else {
                mCount = 1;
            }
            result = 1;
        } else {
            result = 0;
        }
    }
    if (mCounting) {
        mCount -= 1;
    } else {
        mCount = 0;
    }
    mMutex.unlock();
    return result;
}
