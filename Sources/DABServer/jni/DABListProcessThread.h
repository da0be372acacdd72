#ifndef DAB_SERVER_DABLISTPROCESSTHREAD_H
#define DAB_SERVER_DABLISTPROCESSTHREAD_H

#include "DABServerDefs.h"
#include "MsgQueue.h"
#include "PCondition.h"

#include <dablib/DABLibIF.h>
#include <utils/Thread.h>

#include <atomic>

class DABPlayerService;

// The list worker: serialises list requests to the tuner and times out the wait events of
// the tuning operations. Newest message first; one held at a time.
class DABListProcessThread : public android::Thread {
public:
    // Binder thread (activation); non-blocking.
    explicit DABListProcessThread(media_lib_dab::DABLibIF* libIF);

    // Binder thread (activation), right after construction; non-blocking.
    void setPlayerService(DABPlayerService* service);
    // Binder thread (activation, deactivation); non-blocking. Puts the exit message in front.
    void pushExitMsg();

    // Any thread; non-blocking (short queue lock).
    void requestPresetListItemUpdate(LIST_QUEUE_MSG msg);
    void requestServiceListItem(LIST_QUEUE_MSG msg);
    int requestWaitEvent(LIST_QUEUE_MSG msg);
    void removeWaitEvent(LIST_QUEUE_MSG msg);
    // Any thread; non-blocking. Ends the wait when msg is the message being held.
    void listItemCachedFinished(LIST_QUEUE_MSG msg);

    // Any thread: the message being held (type and index 0 when none).
    LIST_QUEUE_MSG currentMsg() const;
    // Any thread: the number of queued messages.
    size_t queueSize() const;

protected:
    ~DABListProcessThread() override;

private:
    bool threadLoop() override;
    void setCurMsg(int32_t type, int32_t index, uint32_t param);

    media_lib_dab::DABLibIF* const mLibIF;        // immutable, not owned
    std::atomic<DABPlayerService*> mpPlayerService;  // set once after construction, not owned
    // The held message: written by the worker thread only, read by any thread; each field
    // atomic so that no reader needs a second lock.
    std::atomic<int32_t> mCurMsgType;
    std::atomic<int32_t> mCurMsgIndex;
    std::atomic<uint32_t> mCurMsgParam;
    MsgQueue mMsgQueue;  // guarded by its own locks
    PCondition mReqCond; // guarded by its own lock
};

#endif  // DAB_SERVER_DABLISTPROCESSTHREAD_H
