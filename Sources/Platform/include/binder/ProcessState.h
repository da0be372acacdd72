#ifndef DAB_PLATFORM_BINDER_PROCESSSTATE_H
#define DAB_PLATFORM_BINDER_PROCESSSTATE_H

#include <utils/RefBase.h>

namespace android {

class IBinder;

// The process's binder state: one per process.
class ProcessState : public virtual RefBase {
public:
    // Any thread; non-blocking.
    static sp<ProcessState> self();

    // Any thread; non-blocking. Starts the pool threads that serve incoming transactions.
    void startThreadPool();
    void setThreadPoolMaxThreadCount(size_t maxThreads);
    sp<IBinder> getContextObject(const sp<IBinder>& caller);

private:
    ProcessState();
    ~ProcessState() override;
    bool mThreadPoolStarted;  // guarded by the process lock in the implementation
    friend class sp<ProcessState>;
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_PROCESSSTATE_H
