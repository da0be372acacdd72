#include "DABListProcessThread.h"

#include "DABLog.h"
#include "DABNotifyHistory.h"
#include "DABPlayerService.h"

using namespace android;
using media_lib_dab::DABLibIF;

namespace {
// How long the worker holds a wait event and a list request.
constexpr uint32_t kWaitEventTimeoutUs = 2000000;
constexpr uint32_t kListRequestTimeoutUs = 5000000;

// Tuner arguments of the list requests.
constexpr uint8_t kPchBand1 = 0;
constexpr uint8_t kPchBand2 = 1;
constexpr uint8_t kPchBand3 = 2;
constexpr uint8_t kPchCurrentBand = 3;
constexpr uint8_t kPtyNewsinfo = 1;
constexpr uint8_t kPtyPopular = 2;
constexpr uint8_t kPtyClassics = 3;
constexpr uint8_t kPtyOthers = 4;

bool isWaitEvent(int32_t type) {
    return type >= DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN &&
           type <= DAB_SERVER_QUEUE_MSG_WAIT_SOURCE_ON;
}

bool isListRequest(int32_t type) {
    return type >= DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1 &&
           type <= DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP;
}
}  // namespace

DABListProcessThread::DABListProcessThread(DABLibIF* libIF)
    : Thread(false), mLibIF(libIF), mpPlayerService(nullptr), mCurMsg{0, 0, 0}, mCurMsgSinceNs(0),
      mReqCond(false) {
    mMsgQueue.clear();
    DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread created");
}

DABListProcessThread::~DABListProcessThread() {
    DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread destroyed");
    mMsgQueue.clear();
    setCurMsg(0, 0, 0);
}

void DABListProcessThread::setPlayerService(DABPlayerService* service) {
    mpPlayerService = service;
}

void DABListProcessThread::pushExitMsg() {
    DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::pushExitMsg");
    mMsgQueue.push(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_EXIT, 0, 0});
}

void DABListProcessThread::requestPresetListItemUpdate(LIST_QUEUE_MSG msg) {
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "DDABListProcessThread::srequestPresetListItemUpdate msg.msgType=%d", msg.msgType);
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return;
    mMsgQueue.removeType(msg.msgType);
    mMsgQueue.wake();
    DAB_LOGD(DAB_TAG_LISTPROCESS, "insert new item %d to queue success", msg.msgType);
    mMsgQueue.push(msg);
}

void DABListProcessThread::requestServiceListItem(LIST_QUEUE_MSG msg) {
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "DABListProcessThread::requestServiceListItem msgType=%d,itemIndex=%d", msg.msgType,
             msg.itemIndex);
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return;
    // Item 1 starts the list afresh: the items still queued from an earlier start go.
    if (msg.itemIndex == 1) mMsgQueue.removeType(msg.msgType);
    mMsgQueue.wake();
    DAB_LOGD(DAB_TAG_LISTPROCESS, "insert new item to queue success msgType=%d,itemIndex=%d",
             msg.msgType, msg.itemIndex);
    mMsgQueue.push(msg);
}

int DABListProcessThread::requestWaitEvent(LIST_QUEUE_MSG msg) {
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE requestWaitEvent "
             "msgType=%d,itemIndex=%d",
             msg.msgType, msg.itemIndex);
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return -1;
    mMsgQueue.removeType(msg.msgType);
    mMsgQueue.wake();
    DAB_LOGD(DAB_TAG_LISTPROCESS, "insert new item to queue success msgType=%d,itemIndex=%d",
             msg.msgType, msg.itemIndex);
    mMsgQueue.push(msg);
    return 0;
}

void DABListProcessThread::removeWaitEvent(LIST_QUEUE_MSG msg) {
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE removeWaitEvent "
             "msgType=%d,itemIndex=%d",
             msg.msgType, msg.itemIndex);
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return;
    mMsgQueue.removeType(msg.msgType);
    mMsgQueue.wake();
}

void DABListProcessThread::listItemCachedFinished(LIST_QUEUE_MSG msg) {
    const LIST_QUEUE_MSG cur = currentMsg();
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "listItemCachedFinished, DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE  msg type=%d,index=%d "
             "current %d %d",
             msg.msgType, msg.itemIndex, cur.msgType, cur.itemIndex);
    // A type-0 message would match an idle worker and leave a stray signal behind.
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return;
    if (msg.msgType == cur.msgType && msg.itemIndex == cur.itemIndex) {
        mReqCond.signal();
        DAB_LOGD(DAB_TAG_LISTPROCESS, "success for signal ");
    }
}

LIST_QUEUE_MSG DABListProcessThread::currentMsg() const {
    Mutex::Autolock lock(mCurMsgLock);
    return mCurMsg;
}

size_t DABListProcessThread::queueSize() const { return mMsgQueue.size(); }

LIST_QUEUE_MSG DABListProcessThread::currentMsg(int64_t* sinceNs) const {
    Mutex::Autolock lock(mCurMsgLock);
    *sinceNs = mCurMsg.msgType != DAB_SERVER_QUEUE_MSG_NONE ? mCurMsgSinceNs : 0;
    return mCurMsg;
}

void DABListProcessThread::queuedMsgs(Vector<LIST_QUEUE_MSG>* out) const {
    mMsgQueue.snapshot(out);
}

void DABListProcessThread::setCurMsg(int32_t type, int32_t index, uint32_t param) {
    const int64_t now = DABNotifyHistory::nowNs();
    Mutex::Autolock lock(mCurMsgLock);
    mCurMsgSinceNs = now;
    mCurMsg.msgType = type;
    mCurMsg.itemIndex = index;
    mCurMsg.param = param;
}

bool DABListProcessThread::dispatch(const LIST_QUEUE_MSG& msg) {
    const uint8_t position = static_cast<uint8_t>(msg.itemIndex);
    switch (msg.msgType) {
        case DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request band 1");
            mLibIF->pchListReq(kPchBand1);
            break;
        case DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND2:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request band 2");
            mLibIF->pchListReq(kPchBand2);
            break;
        case DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND3:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request band 3");
            mLibIF->pchListReq(kPchBand3);
            break;
        case DAB_SERVER_QUEUE_MSG_PRESET_LIST_CURRENT:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request current band");
            mLibIF->pchListReq(kPchCurrentBand);
            break;
        case DAB_SERVER_QUEUE_MSG_SERVICE_COMP:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request service comp index=%d",
                     msg.itemIndex);
            mLibIF->svcCompListItemReq(position, 0, 0);
            break;
        case DAB_SERVER_QUEUE_MSG_PTY_NEWSINFO:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request pty newsinfo index=%d",
                     msg.itemIndex);
            mLibIF->ptyListItemReq(position, kPtyNewsinfo);
            break;
        case DAB_SERVER_QUEUE_MSG_PTY_POPULAR:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request pty popular index=%d",
                     msg.itemIndex);
            mLibIF->ptyListItemReq(position, kPtyPopular);
            break;
        case DAB_SERVER_QUEUE_MSG_PTY_CLASSICS:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request pty classics index=%d",
                     msg.itemIndex);
            mLibIF->ptyListItemReq(position, kPtyClassics);
            break;
        case DAB_SERVER_QUEUE_MSG_PTY_OTHERS:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request pty others index=%d",
                     msg.itemIndex);
            mLibIF->ptyListItemReq(position, kPtyOthers);
            break;
        case DAB_SERVER_QUEUE_MSG_ENSEMBLE:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request ensemble index=%d",
                     msg.itemIndex);
            mLibIF->ensembleListItemReq(position);
            break;
        case DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request ensemble comp index=%d",
                     msg.itemIndex);
            mLibIF->ensembleCompListItemReq(position, static_cast<uint16_t>(msg.param & 0xFFFF));
            break;
        case DAB_SERVER_QUEUE_MSG_EXIT:
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::request DAB_SERVER_QUEUE_MSG_EXIT");
            return false;
        default:
            // Wait events send nothing; they only hold the worker.
            break;
    }
    return true;
}

bool DABListProcessThread::threadLoop() {
    DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread::threadLoop");
    LIST_QUEUE_MSG msg;
    if (mMsgQueue.pop(&msg) != 0) return true;  // a wake-up that found the queue empty

    setCurMsg(msg.msgType, msg.itemIndex, msg.param);
    if (msg.msgType == DAB_SERVER_QUEUE_MSG_NONE) return true;
    if (!dispatch(msg)) return false;
    if (!isWaitEvent(msg.msgType) && !isListRequest(msg.msgType)) {
        // A type no caller sends: drop it rather than hold the worker for nothing.
        setCurMsg(0, 0, 0);
        return true;
    }

    DAB_LOGD(DAB_TAG_LISTPROCESS, "mReqCond wait here");
    if (isWaitEvent(msg.msgType)) {
        const int timedOut = mReqCond.wait(kWaitEventTimeoutUs);
        // Cleared before calling out: a tuning command during the time-out handling must not
        // match (and so pre-signal) the event that has just expired.
        setCurMsg(0, 0, 0);
        if (timedOut == 0) {
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread get new preset up/down");
        } else {
            DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread old preset up/down reach 2 second");
            DABPlayerService* service = mpPlayerService;
            const DABCallCause::Scope cause(
                    DABCallCause{DABCallCause::kWaitEvent, msg.msgType, 0, 0, 0, nullptr});
            if (service != nullptr) service->onWaitEventTimeOut(msg.msgType);
        }
        return true;
    }

    if (mReqCond.wait(kListRequestTimeoutUs) == 0) {
        setCurMsg(0, 0, 0);
        DAB_LOGD(DAB_TAG_LISTPROCESS, "DABListProcessThread finish a preset list request");
        return true;
    }
    // Unanswered: retried later, after everything queued meanwhile.
    mMsgQueue.pushBack(msg);
    mMsgQueue.wake();
    setCurMsg(0, 0, 0);
    DAB_LOGD(DAB_TAG_LISTPROCESS,
             "list of band %d is not received finish,and push it in message queue again",
             msg.msgType);
    return true;
}
