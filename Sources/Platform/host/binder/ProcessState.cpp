#include "HostMutex.h"
#include <binder/IBinder.h>
#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include "BinderHostHooks.h"
#include "BinderRuntime.h"

#include <mutex>
#include <unistd.h>

namespace android {

namespace {
HostMutex gProcessLock;
// Never destroyed: pool threads may still use it while the process exits.
sp<ProcessState>* gProcess = new sp<ProcessState>();  // guarded by gProcessLock
}  // namespace

sp<ProcessState> ProcessState::self() {
    HostMutex::Autolock lock(gProcessLock);
    if (*gProcess == nullptr) *gProcess = new ProcessState();
    return *gProcess;
}

ProcessState::ProcessState() : mThreadPoolStarted(false) {}
ProcessState::~ProcessState() {}

// Pool threads are spawned when incoming work finds none free, so a process that never talks
// to another one keeps no extra threads; starting the pool only records the intent.
void ProcessState::startThreadPool() {
    HostMutex::Autolock lock(gProcessLock);
    mThreadPoolStarted = true;
}

status_t ProcessState::setThreadPoolMaxThreadCount(size_t maxThreads) {
    BinderRuntime::instance().setMaxPoolThreads(maxThreads);
    return NO_ERROR;
}

sp<IBinder> ProcessState::getContextObject(const sp<IBinder>&) { return binderContextObject(); }

IPCThreadState::IPCThreadState() : mCallingUid(getuid()), mCallingPid(getpid()) {}

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

uid_t IPCThreadState::getCallingUid() const { return mCallingUid; }
pid_t IPCThreadState::getCallingPid() const { return mCallingPid; }

namespace {
// A saved caller as the platform encodes it: uid in the upper half, pid in the lower.
int64_t identityToken(uid_t uid, pid_t pid) {
    return (static_cast<int64_t>(uid) << 32) | static_cast<int64_t>(static_cast<uint32_t>(pid));
}
}  // namespace

void setCallingIdentity(uid_t uid, pid_t pid) {
    IPCThreadState::self()->restoreCallingIdentity(identityToken(uid, pid));
}

int64_t IPCThreadState::clearCallingIdentity() {
    const int64_t token = identityToken(mCallingUid, mCallingPid);
    mCallingUid = getuid();
    mCallingPid = getpid();
    return token;
}

void IPCThreadState::restoreCallingIdentity(int64_t token) {
    mCallingUid = static_cast<uid_t>(static_cast<uint64_t>(token) >> 32);
    mCallingPid = static_cast<pid_t>(static_cast<uint32_t>(token & 0xffffffff));
}

void IPCThreadState::flushCommands() {}

void IPCThreadState::joinThreadPool(bool) { BinderRuntime::instance().joinPool(); }

}  // namespace android
