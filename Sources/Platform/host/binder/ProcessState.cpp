#include <binder/IBinder.h>
#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include <condition_variable>
#include <mutex>
#include <unistd.h>

namespace android {

namespace {
std::mutex gProcessLock;
sp<ProcessState> gProcess;  // guarded by gProcessLock

// joinThreadPool parks the thread here; an in-process host has no driver to read from.
std::mutex gPoolLock;
std::condition_variable gPoolCond;
}  // namespace

sp<ProcessState> ProcessState::self() {
    std::lock_guard<std::mutex> lock(gProcessLock);
    if (gProcess == nullptr) gProcess = new ProcessState();
    return gProcess;
}

ProcessState::ProcessState() : mThreadPoolStarted(false) {}
ProcessState::~ProcessState() {}

void ProcessState::startThreadPool() {
    std::lock_guard<std::mutex> lock(gProcessLock);
    mThreadPoolStarted = true;
}

void ProcessState::setThreadPoolMaxThreadCount(size_t) {}

sp<IBinder> ProcessState::getContextObject(const sp<IBinder>&) { return nullptr; }

IPCThreadState::IPCThreadState() : mCallingUid(getuid()), mCallingPid(getpid()) {}

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

uid_t IPCThreadState::getCallingUid() const { return mCallingUid; }
pid_t IPCThreadState::getCallingPid() const { return mCallingPid; }

void IPCThreadState::setCallingIdentity(uid_t uid, pid_t pid) {
    mCallingUid = uid;
    mCallingPid = pid;
}

void IPCThreadState::clearCallingIdentity() {
    mCallingUid = getuid();
    mCallingPid = getpid();
}

void IPCThreadState::flushCommands() {}

void IPCThreadState::joinThreadPool(bool) {
    std::unique_lock<std::mutex> lock(gPoolLock);
    gPoolCond.wait(lock, [] { return false; });
}

}  // namespace android
