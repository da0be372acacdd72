#ifndef DAB_PLATFORM_BINDER_IPCTHREADSTATE_H
#define DAB_PLATFORM_BINDER_IPCTHREADSTATE_H

#include <sys/types.h>

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
    // Transport hook: sets the caller identity for the transaction being served.
    void setCallingIdentity(uid_t uid, pid_t pid);
    void clearCallingIdentity();

    // Sends pending reference releases at once.
    void flushCommands();
    // Blocks: the thread serves transactions for the life of the process.
    void joinThreadPool(bool isMain = true);

private:
    IPCThreadState();
    uid_t mCallingUid;
    pid_t mCallingPid;
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_IPCTHREADSTATE_H
