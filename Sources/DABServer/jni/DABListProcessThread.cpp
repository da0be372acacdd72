// Placeholder until the list worker lands: it takes no messages and ends at once.
#include "DABListProcessThread.h"

using namespace android;

PCondition::PCondition(bool counting) : mCount(0), mCounting(counting) {
    pthread_cond_init(&mCond, nullptr);
    pthread_mutex_init(&mMutex, nullptr);
}
PCondition::~PCondition() {
    pthread_cond_destroy(&mCond);
    pthread_mutex_destroy(&mMutex);
}
void PCondition::signal() {}
int PCondition::wait(uint32_t) { return 1; }

MsgQueue::MsgQueue() : mWakeCount(0) {
    pthread_mutex_init(&mQueueMutex, nullptr);
    pthread_mutex_init(&mWakeMutex, nullptr);
    pthread_cond_init(&mWakeCond, nullptr);
}
MsgQueue::~MsgQueue() {
    pthread_mutex_destroy(&mQueueMutex);
    pthread_mutex_destroy(&mWakeMutex);
    pthread_cond_destroy(&mWakeCond);
}
void MsgQueue::push(const LIST_QUEUE_MSG&) {}
void MsgQueue::clear() {}
void MsgQueue::wake() {}
int MsgQueue::pop(LIST_QUEUE_MSG*) { return 2; }

DABListProcessThread::DABListProcessThread(media_lib_dab::DABLibIF* libIF)
    : Thread(false), mLibIF(libIF), mpPlayerService(nullptr), mCurMsgType(0), mCurMsgIndex(0),
      mCurMsgParam(0), mReqCond(false) {}
DABListProcessThread::~DABListProcessThread() {}
void DABListProcessThread::setPlayerService(DABPlayerService* service) { mpPlayerService = service; }
void DABListProcessThread::pushExitMsg() {}
void DABListProcessThread::requestPresetListItemUpdate(LIST_QUEUE_MSG) {}
void DABListProcessThread::requestServiceListItem(LIST_QUEUE_MSG) {}
int DABListProcessThread::requestWaitEvent(LIST_QUEUE_MSG) { return -1; }
void DABListProcessThread::removeWaitEvent(LIST_QUEUE_MSG) {}
void DABListProcessThread::listItemCachedFinished(LIST_QUEUE_MSG) {}
LIST_QUEUE_MSG DABListProcessThread::currentMsg() const { return LIST_QUEUE_MSG{0, 0, 0}; }
size_t DABListProcessThread::queueSize() const { return 0; }
bool DABListProcessThread::threadLoop() { return false; }
void DABListProcessThread::setCurMsg(int32_t, int32_t, uint32_t) {}
