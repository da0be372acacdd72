#ifndef DAB_SERVER_MSGQUEUE_H
#define DAB_SERVER_MSGQUEUE_H

#include "DABServerDefs.h"
#include "PthreadMutex.h"

#include <utils/Vector.h>

#include <pthread.h>

#include <atomic>
#include <cstddef>

// The list worker's blocking message queue. New messages go in front (the newest is taken
// first); only a retried message goes to the back. One consumer sleeps in pop() until woken.
// The queue mutex and the wake-up mutex are never held together.
class MsgQueue {
public:
    // Any thread; non-blocking.
    MsgQueue();
    // Owner, with no consumer left; non-blocking.
    ~MsgQueue();

    // Any thread; non-blocking. Inserts at the front and counts one wake-up.
    void push(const LIST_QUEUE_MSG& msg);
    // Any thread; non-blocking. Appends at the back without counting a wake-up (callers
    // follow with wake()).
    void pushBack(const LIST_QUEUE_MSG& msg);
    // Any thread; non-blocking. Removes every item and counts one wake-up.
    void clear();
    // Any thread; non-blocking. Sets the wake-up count to the number of queued items (1 when
    // the queue is empty).
    void wake();
    // Consumer thread; blocks without limit until a wake-up is counted. Returns 0 with the
    // front item moved to *msg, or 2 when the wake-up found the queue empty.
    int pop(LIST_QUEUE_MSG* msg);
    // Any thread; non-blocking. Removes every queued item of this type, back to front.
    void removeType(int32_t msgType);
    // Any thread; non-blocking. The number of queued items.
    size_t size() const;
    // Any thread; non-blocking. Copies the queued items, front first.
    void snapshot(android::Vector<LIST_QUEUE_MSG>* out) const;

private:
    MsgQueue(const MsgQueue&) = delete;
    MsgQueue& operator=(const MsgQueue&) = delete;

    mutable PthreadMutex mQueueMutex;  // guards mItems and the writes of mQueued
    android::Vector<LIST_QUEUE_MSG> mItems GUARDED_BY(mQueueMutex);  // index 0 is the front
    PthreadMutex mWakeMutex;           // guards mWakeCount; mWakeCond waits with it
    pthread_cond_t mWakeCond;          // waited on and signalled under mWakeMutex
    int32_t mWakeCount GUARDED_BY(mWakeMutex);  // wake-ups not yet taken
    // Mirror of mItems.size(): written under mQueueMutex, read lock-free (wake() reads it
    // under mWakeMutex without taking the queue mutex as well).
    std::atomic<size_t> mQueued;
};

#endif  // DAB_SERVER_MSGQUEUE_H
