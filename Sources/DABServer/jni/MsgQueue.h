#ifndef DAB_SERVER_MSGQUEUE_H
#define DAB_SERVER_MSGQUEUE_H

#include "DABServerDefs.h"

#include <utils/Vector.h>

#include <pthread.h>

// The list worker's blocking message queue: newest message in front.
class MsgQueue {
public:
    MsgQueue();
    ~MsgQueue();
    void push(const LIST_QUEUE_MSG& msg);
    void clear();
    void wake();
    int pop(LIST_QUEUE_MSG* msg);

private:
    android::Vector<LIST_QUEUE_MSG> mItems;  // guarded by mQueueMutex
    pthread_mutex_t mQueueMutex;
    pthread_cond_t mWakeCond;
    pthread_mutex_t mWakeMutex;
    int32_t mWakeCount;  // guarded by mWakeMutex
};

#endif  // DAB_SERVER_MSGQUEUE_H
