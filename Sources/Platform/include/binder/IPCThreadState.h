#ifndef DAB_PLATFORM_BINDER_IPCTHREADSTATE_H
#define DAB_PLATFORM_BINDER_IPCTHREADSTATE_H

#include <sys/types.h>

#include <cstdint>

namespace android {

// Per-thread binder state: who is calling, and joining the pool.
class IPCThreadState {
public:
    // Any thread; non-blocking. The calling thread's own state.
    static IPCThreadState* self();

    // Uid and pid of the process whose transaction this thread is serving; the process's own
    // when it serves none.
    uid_t getCallingUid() const;
    pid_t getCallingPid() const;
    // Makes the process itself the caller; returns a token that restores the previous caller.
    int64_t clearCallingIdentity();
    void restoreCallingIdentity(int64_t token);

    // Non-blocking. Releases go out as proxies are dropped, so nothing is ever pending.
    void flushCommands();
    // Blocks for ever: the thread serves incoming calls with the pool.
    void joinThreadPool(bool isMain = true);

private:
    IPCThreadState();
    uid_t mCallingUid;  // owner thread only
    pid_t mCallingPid;  // owner thread only
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_IPCTHREADSTATE_H
