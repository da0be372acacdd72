#ifndef DAB_TOOLS_HEADUNIT_SIM_DELAYEDTASKS_H
#define DAB_TOOLS_HEADUNIT_SIM_DELAYEDTASKS_H

#include "HostMutex.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>
#include <utility>

// Runs tasks after a delay, one at a time and in order of their due time, on one thread of
// its own, started with the first task.
class DelayedTasks {
public:
    // Any thread; non-blocking.
    DelayedTasks();
    // Any thread but the task thread; stops the thread, dropping tasks not yet due.
    ~DelayedTasks();
    DelayedTasks(const DelayedTasks&) = delete;
    DelayedTasks& operator=(const DelayedTasks&) = delete;

    // Any thread; non-blocking.
    void post(int delayMs, std::function<void()> task);
    // Any thread but the task thread; blocks until a running task has ended.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    void threadLoop();

    HostMutex mTasksLock;                    // guards the fields below
    std::condition_variable mTasksChanged;   // signalled under mTasksLock
    std::map<std::pair<Clock::time_point, uint64_t>, std::function<void()>> mTasks GUARDED_BY(mTasksLock);
    uint64_t mNextSeq GUARDED_BY(mTasksLock);
    bool mStopping GUARDED_BY(mTasksLock);
    std::thread mThread GUARDED_BY(mTasksLock);
};

#endif  // DAB_TOOLS_HEADUNIT_SIM_DELAYEDTASKS_H
