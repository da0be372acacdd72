#include "MsgQueue.h"

MsgQueue::MsgQueue() : mWakeCount(0), mQueued(0) {
    pthread_mutex_init(&mQueueMutex, nullptr);
    pthread_mutex_init(&mWakeMutex, nullptr);
    pthread_cond_init(&mWakeCond, nullptr);
}

MsgQueue::~MsgQueue() {
    pthread_cond_destroy(&mWakeCond);
    pthread_mutex_destroy(&mWakeMutex);
    pthread_mutex_destroy(&mQueueMutex);
}

void MsgQueue::push(const LIST_QUEUE_MSG& msg) {
    pthread_mutex_lock(&mQueueMutex);
    mItems.insertAt(msg, 0);
    mQueued = mItems.size();
    pthread_mutex_unlock(&mQueueMutex);

    pthread_mutex_lock(&mWakeMutex);
    mWakeCount += 1;
    pthread_cond_signal(&mWakeCond);
    pthread_mutex_unlock(&mWakeMutex);
}

void MsgQueue::pushBack(const LIST_QUEUE_MSG& msg) {
    pthread_mutex_lock(&mQueueMutex);
    mItems.add(msg);
    mQueued = mItems.size();
    pthread_mutex_unlock(&mQueueMutex);
}

void MsgQueue::clear() {
    pthread_mutex_lock(&mQueueMutex);
    mItems.clear();
    mQueued = 0;
    pthread_mutex_unlock(&mQueueMutex);

    pthread_mutex_lock(&mWakeMutex);
    mWakeCount += 1;
    pthread_cond_signal(&mWakeCond);
    pthread_mutex_unlock(&mWakeMutex);
}

void MsgQueue::wake() {
    // The size is read inside the wake-up section: push inserts before it counts its wake-up,
    // so an item is either in the size read here or counted after it, never lost. At worst
    // one wake-up too many, which pop() answers with 2.
    pthread_mutex_lock(&mWakeMutex);
    const size_t queued = mQueued;
    mWakeCount = queued == 0 ? 1 : static_cast<int32_t>(queued);
    pthread_cond_signal(&mWakeCond);
    pthread_mutex_unlock(&mWakeMutex);
}

int MsgQueue::pop(LIST_QUEUE_MSG* msg) {
    pthread_mutex_lock(&mWakeMutex);
    while (mWakeCount == 0) pthread_cond_wait(&mWakeCond, &mWakeMutex);
    mWakeCount -= 1;
    pthread_mutex_unlock(&mWakeMutex);

    int result = 2;
    pthread_mutex_lock(&mQueueMutex);
    if (!mItems.isEmpty()) {
        *msg = mItems.itemAt(0);
        mItems.removeAt(0);
        mQueued = mItems.size();
        result = 0;
    }
    pthread_mutex_unlock(&mQueueMutex);
    return result;
}

void MsgQueue::removeType(int32_t msgType) {
    pthread_mutex_lock(&mQueueMutex);
    for (size_t i = mItems.size(); i > 0; --i) {
        if (mItems.itemAt(i - 1).msgType == msgType) mItems.removeAt(i - 1);
    }
    mQueued = mItems.size();
    pthread_mutex_unlock(&mQueueMutex);
}

size_t MsgQueue::size() const { return mQueued; }

void MsgQueue::snapshot(android::Vector<LIST_QUEUE_MSG>* out) const {
    out->clear();
    pthread_mutex_lock(&mQueueMutex);
    // Item by item: an assigned Vector would share its buffer with the queue, and the worker's
    // next pop would then free it on the worker thread while the caller still formats it.
    out->setCapacity(mItems.size());
    for (size_t i = 0; i < mItems.size(); ++i) out->add(mItems[i]);
    pthread_mutex_unlock(&mQueueMutex);
}
