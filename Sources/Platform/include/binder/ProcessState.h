#ifndef DAB_PLATFORM_BINDER_PROCESSSTATE_H
#define DAB_PLATFORM_BINDER_PROCESSSTATE_H

#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <cstddef>

namespace android {

class IBinder;

// The process's binder state: one per process.
class ProcessState : public virtual RefBase {
public:
    // Any thread; non-blocking.
    static sp<ProcessState> self();

    // Any thread; non-blocking. Pool threads serve incoming transactions: the first starts
    // with the process's first socket (addService or getService of another process), more as
    // calls find no free thread; so this only records the intent.
    void startThreadPool();
    // Any thread; non-blocking. Upper bound of spawned pool threads (default 15); NO_ERROR.
    status_t setThreadPoolMaxThreadCount(size_t maxThreads);
    // Any thread; non-blocking. The process's own context object (service lookup by name).
    sp<IBinder> getContextObject(const sp<IBinder>& caller);

private:
    ProcessState();
    ~ProcessState() override;
    bool mThreadPoolStarted;  // guarded by the process lock in the implementation
    friend class sp<ProcessState>;
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_PROCESSSTATE_H
