#ifndef DAB_SERVER_DABLISTPROCESSTHREAD_H
#define DAB_SERVER_DABLISTPROCESSTHREAD_H

#include "DABServerDefs.h"
#include "MsgQueue.h"
#include "PCondition.h"

#include <dablib/DABLibIF.h>
#include <utils/Mutex.h>
#include <utils/Thread.h>

#include <cstddef>

class DABPlayerService;

// The list worker: serialises list requests to the tuner and times out the wait events of
// the tuning operations. Newest message first; one held at a time, a list request for up to
// 5 s (then it goes to the back of the queue), a wait event for up to 2 s (then the service's
// onWaitEventTimeOut runs on this thread).
class DABListProcessThread : public android::Thread {
public:
    // Binder thread (activation); non-blocking.
    explicit DABListProcessThread(media_lib_dab::DABLibIF* libIF);

    // Binder thread (activation), right after construction and before run(); non-blocking.
    void setPlayerService(DABPlayerService* service);
    // Binder thread (activation, deactivation); non-blocking. Puts the exit message in front.
    void pushExitMsg();

    // Any thread; non-blocking (short queue locks). Drop queued messages of the same type
    // (requestServiceListItem only for item 1) and queue msg in front.
    void requestPresetListItemUpdate(LIST_QUEUE_MSG msg);
    void requestServiceListItem(LIST_QUEUE_MSG msg);
    // Any thread; non-blocking. 0, or -1 for a message of type 0.
    int requestWaitEvent(LIST_QUEUE_MSG msg);
    // Any thread; non-blocking. Drops queued messages of this type; the held one is kept.
    void removeWaitEvent(LIST_QUEUE_MSG msg);
    // Any thread; non-blocking. Ends the wait when msg is the message being held.
    void listItemCachedFinished(LIST_QUEUE_MSG msg);

    // Any thread; non-blocking: the message being held (type and index 0 when none).
    LIST_QUEUE_MSG currentMsg() const;
    // Any thread; non-blocking: the number of queued messages.
    size_t queueSize() const;
    // Any thread; non-blocking (copies under the message lock): the held message and since
    // when it is held (monotonic ns, 0 when none).
    LIST_QUEUE_MSG currentMsg(int64_t* sinceNs) const;
    // Any thread; non-blocking (copies under the queue lock): the queue, front first.
    void queuedMsgs(android::Vector<LIST_QUEUE_MSG>* out) const;

protected:
    // Whichever thread drops the last reference (often the worker itself); non-blocking.
    ~DABListProcessThread() override;

private:
    bool threadLoop() override;
    void setCurMsg(int32_t type, int32_t index, uint32_t param);
    // Worker thread: sends the list request of msg to the tuner; false for the exit message.
    bool dispatch(const LIST_QUEUE_MSG& msg);

    media_lib_dab::DABLibIF* const mLibIF;  // immutable, not owned
    // Written once before run() (the thread start orders it for the worker); not owned.
    DABPlayerService* mpPlayerService;
    // mCurMsg is written by the worker and read by listItemCachedFinished on other threads.
    // It has a tiny lock of its own that is only ever taken alone: readers copy the message
    // under it and release it before signalling mReqCond, so no two of the worker's locks
    // are held at once, and type and index are always read as one pair.
    mutable android::Mutex mCurMsgLock;  // guards mCurMsg
    LIST_QUEUE_MSG mCurMsg GUARDED_BY(mCurMsgLock);
    int64_t mCurMsgSinceNs GUARDED_BY(mCurMsgLock);  // when mCurMsg was set
    MsgQueue mMsgQueue;                  // guarded by its own locks
    PCondition mReqCond;                 // guarded by its own lock; flag mode
};

#endif  // DAB_SERVER_DABLISTPROCESSTHREAD_H
