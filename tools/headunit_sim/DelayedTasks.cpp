#include "DelayedTasks.h"
#include "HostMutex.h"

DelayedTasks::DelayedTasks() : mNextSeq(0), mStopping(false) {}

DelayedTasks::~DelayedTasks() { stop(); }

void DelayedTasks::post(int delayMs, std::function<void()> task) {
    HostMutex::Autolock lock(mTasksLock);
    if (mStopping) return;
    const Clock::time_point due = Clock::now() + std::chrono::milliseconds(delayMs);
    mTasks.emplace(std::make_pair(due, mNextSeq++), std::move(task));
    if (!mThread.joinable()) mThread = std::thread(&DelayedTasks::threadLoop, this);
    mTasksChanged.notify_one();
}

void DelayedTasks::stop() {
    std::thread thread;
    {
        HostMutex::Autolock lock(mTasksLock);
        mStopping = true;
        mTasks.clear();
        thread.swap(mThread);
        mTasksChanged.notify_all();
    }
    if (thread.joinable()) thread.join();
}

void DelayedTasks::threadLoop() {
    HostMutex::Autolock lock(mTasksLock);
    while (!mStopping) {
        if (mTasks.empty()) {
            mTasksChanged.wait(lock.native());
            continue;
        }
        const auto due = mTasks.begin()->first.first;
        if (Clock::now() < due) {
            mTasksChanged.wait_until(lock.native(), due);
            continue;
        }
        std::function<void()> task = std::move(mTasks.begin()->second);
        mTasks.erase(mTasks.begin());
        lock.unlock();
        task();
        task = nullptr;  // whatever the task held goes before the lock is taken again
        lock.lock();
    }
}
