#include "MsgQueue.h"

MsgQueue::MsgQueue() : mWakeCount(0), mQueued(0) { pthread_cond_init(&mWakeCond, nullptr); }

MsgQueue::~MsgQueue() { pthread_cond_destroy(&mWakeCond); }

void MsgQueue::push(const LIST_QUEUE_MSG& msg) {
    mQueueMutex.lock();
    mItems.insertAt(msg, 0);
    mQueued = mItems.size();
    mQueueMutex.unlock();

    mWakeMutex.lock();
    mWakeCount += 1;
    pthread_cond_signal(&mWakeCond);
    mWakeMutex.unlock();
}

void MsgQueue::pushBack(const LIST_QUEUE_MSG& msg) {
    mQueueMutex.lock();
    mItems.add(msg);
    mQueued = mItems.size();
    mQueueMutex.unlock();
}

void MsgQueue::clear() {
    mQueueMutex.lock();
    mItems.clear();
    mQueued = 0;
    mQueueMutex.unlock();

    mWakeMutex.lock();
    mWakeCount += 1;
    pthread_cond_signal(&mWakeCond);
    mWakeMutex.unlock();
}

void MsgQueue::wake() {
    // The size is read inside the wake-up section: push inserts before it counts its wake-up,
    // so an item is either in the size read here or counted after it, never lost. At worst
    // one wake-up too many, which pop() answers with 2.
    mWakeMutex.lock();
    const size_t queued = mQueued;
    mWakeCount = queued == 0 ? 1 : static_cast<int32_t>(queued);
    pthread_cond_signal(&mWakeCond);
    mWakeMutex.unlock();
}

int MsgQueue::pop(LIST_QUEUE_MSG* msg) {
    mWakeMutex.lock();
    while (mWakeCount == 0) pthread_cond_wait(&mWakeCond, mWakeMutex.native());
    mWakeCount -= 1;
    mWakeMutex.unlock();

    int result = 2;
    mQueueMutex.lock();
    if (!mItems.isEmpty()) {
        *msg = mItems.itemAt(0);
        mItems.removeAt(0);
        mQueued = mItems.size();
        result = 0;
    }
    mQueueMutex.unlock();
    return result;
}

void MsgQueue::removeType(int32_t msgType) {
    mQueueMutex.lock();
    for (size_t i = mItems.size(); i > 0; --i) {
        if (mItems.itemAt(i - 1).msgType == msgType) mItems.removeAt(i - 1);
    }
    mQueued = mItems.size();
    mQueueMutex.unlock();
}

size_t MsgQueue::size() const { return mQueued; }

void MsgQueue::snapshot(android::Vector<LIST_QUEUE_MSG>* out) const {
    out->clear();
    mQueueMutex.lock();
    // Item by item: an assigned Vector would share its buffer with the queue, and the worker's
    // next pop would then free it on the worker thread while the caller still formats it.
    out->setCapacity(mItems.size());
    for (size_t i = 0; i < mItems.size(); ++i) out->add(mItems[i]);
    mQueueMutex.unlock();
}
