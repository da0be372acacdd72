#include "PCondition.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct timespec at(time_t sec, long nsec) {
    struct timespec t;
    t.tv_sec = sec;
    t.tv_nsec = nsec;
    return t;
}

TEST(PConditionDeadline, MicrosecondsCarryIntoSecondsAtOneBillionNanoseconds) {
    const struct {
        long startNs;
        long us;
        time_t sec;
        long ns;
    } cases[] = {
        {999500000, 600, 101, 100000},      // the microsecond part carries
        {999500000, 1000000, 101, 999500000},  // whole seconds add without carry
        {999000000, 1000, 101, 0},          // exactly one billion carries
        {998999999, 1000, 100, 999999999},
    };
    for (const auto& c : cases) {
        struct timespec d = PCondition::deadlineFrom(at(100, c.startNs), c.us);
        EXPECT_EQ(c.sec, d.tv_sec) << c.startNs << "+" << c.us;
        EXPECT_EQ(c.ns, d.tv_nsec) << c.startNs << "+" << c.us;
    }
}

// Signals before the wait are remembered once or counted each; a time-out consumes nothing
// that a later signal needs.
TEST(PConditionWait, EarlySignalsAndTimeOutsInBothModes) {
    for (bool counting : {false, true}) {
        PCondition cond(counting);
        cond.signal();
        cond.signal();
        Clock::time_point start = Clock::now();
        EXPECT_EQ(0, cond.wait(2000000)) << counting;
        EXPECT_EQ(counting ? 0 : 1, cond.wait(counting ? 2000000 : 50000)) << counting;
        EXPECT_LT(secondsSince(start), 1.0);
        start = Clock::now();
        EXPECT_EQ(1, cond.wait(100000)) << counting;
        EXPECT_GE(secondsSince(start), 0.1) << counting;
        EXPECT_EQ(1, cond.wait(10000)) << counting;
        cond.signal();
        EXPECT_EQ(0, cond.wait(10000)) << counting;
        EXPECT_EQ(1, cond.wait(10000)) << counting;
    }
}

// The list worker's tests cover a non-counting wait woken by another thread.
TEST(PConditionWait, SignalsOfAnotherThreadEndWaitsEarlyEachExactlyOnceWhenCounting) {
    PCondition cond(true);
    constexpr int kSignals = 200;
    std::thread signaller([&] {
        for (int i = 0; i < kSignals; ++i) cond.signal();
    });
    int received = 0;
    for (int i = 0; i < kSignals; ++i) {
        if (cond.wait(5000000) == 0) ++received;
    }
    signaller.join();
    EXPECT_EQ(kSignals, received);
    EXPECT_EQ(1, cond.wait(10000));
}

}  // namespace
