// The media manager's side of a source: activation, publishing and reconnection.
#include "MediaSourceController.h"

#include "DABLog.h"
#include "DABNotifyHistory.h"
#include "DABPlayerService.h"
#include "OutputLog.h"

#include <binder/Parcel.h>

using namespace android;

namespace {
// The media manager's reconnect request: notification 100 with ext1 100.
constexpr int kNotifyReconnect = 100;
constexpr int kReconnectExt = 100;
// Activation argument that the media manager accepts without any action.
constexpr int kRequestNoAction = 1;
// Connection status given by the service, and the value the media manager takes for it.
constexpr int kStatusConnected = 1;
constexpr int kStatusNotConnected = 2;
}  // namespace

MediaSourceController::MediaSourceController(int sourceType, const char* logName)
    : mSourceType(sourceType),
      mLogName(logName),
      mMediaStatus(kStatusNotConnected),
      mReconnectAttempts(0),
      mLastAttemptNs(0),
      mLastSuccessNs(0) {}

MediaSourceController::~MediaSourceController() {}

int MediaSourceController::setSource(const sp<Source>& source) {
    sp<Source> old;
    {
        Mutex::Autolock lock(mStateLock);
        old = mSource;
        mSource = source;
    }
    // The old handle holds this controller as listener: drop it outside the lock.
    old.clear();
    return 0;
}

int MediaSourceController::setService(const sp<DABPlayerService>& service) {
    sp<DABPlayerService> old;
    {
        Mutex::Autolock lock(mStateLock);
        old = mService;
        mService = service;
    }
    old.clear();
    return 0;
}

sp<Source> MediaSourceController::source() const {
    Mutex::Autolock lock(mStateLock);
    return mSource;
}

sp<DABPlayerService> MediaSourceController::service() const {
    Mutex::Autolock lock(mStateLock);
    return mService;
}

int MediaSourceController::mediaStatus() const {
    Mutex::Autolock lock(mStateLock);
    return mMediaStatus;
}

void MediaSourceController::summary(Summary* out) const {
    {
        Mutex::Autolock lock(mStateLock);
        out->hasSource = mSource != nullptr ? 1 : 0;
        out->mediaStatus = mMediaStatus;
        out->attempts = mReconnectAttempts;
        out->lastAttemptNs = mLastAttemptNs;
        out->lastSuccessNs = mLastSuccessNs;
    }
    sp<Thread> thread = reconnectThread();
    out->reconnecting = thread != nullptr && thread->isRunning() ? 1 : 0;
}

void MediaSourceController::noteReconnectAttempt(bool succeeded) {
    const int64_t now = DABNotifyHistory::nowNs();
    Mutex::Autolock lock(mStateLock);
    ++mReconnectAttempts;
    mLastAttemptNs = now;
    if (succeeded) mLastSuccessNs = now;
}

int MediaSourceController::onRequestActivation(int request) {
    if (request == kRequestNoAction) return 1;
    const DABCallCause::Scope cause(
            DABCallCause{DABCallCause::kSource, mSourceType, 0, 0, 0, "activate"});
    sp<DABPlayerService> player = service();
    const int result = player == nullptr ? -1 : player->activate(mSourceType);
    DAB_LOGD(DAB_TAG_SOURCE, "%s onRequestActivation, Activation result %d", mLogName, result);
    return result == -1 ? 0 : 1;
}

int MediaSourceController::onRequestDeactivation(int request) {
    if (request == kRequestNoAction) return 1;
    const DABCallCause::Scope cause(
            DABCallCause{DABCallCause::kSource, mSourceType, 0, 0, 0, "deactivate"});
    sp<DABPlayerService> player = service();
    const int result = player == nullptr ? -1 : player->deactivate(mSourceType);
    DAB_LOGD(DAB_TAG_SOURCE, "%s onRequestDeactivation, DeActivation result %d", mLogName,
             result);
    return result == -1 ? 0 : 1;
}

void MediaSourceController::onSourceRelease(int reason) {
    sp<DABPlayerService> player = service();
    if (player != nullptr && reason == 0) player->deactivate(mSourceType);
}

void MediaSourceController::onReqPublishMediaInfo() {
    DAB_LOGD(DAB_TAG_SOURCE, "%s::onReqPublishMediaInfo()", mLogName);
    sp<DABPlayerService> player = service();
    if (player != nullptr) {
        player->onReqPublishMediaInfo();
    } else {
        DAB_LOGE(DAB_TAG_SOURCE, "onReqPublishMediaInfo player is null");
    }
}

int MediaSourceController::onRequestPrivateData(int, const Parcel*, Parcel*) {
    DAB_LOGD(DAB_TAG_SOURCE, "%s onRequestPrivateData", mLogName);
    return 0;
}

void MediaSourceController::onNotify(int msg, int ext1, int ext2, const Parcel* data) {
    const int value = (data != nullptr && data->dataAvail() != 0) ? data->readInt32() : 0;
    DAB_LOGD(DAB_TAG_SOURCE, "%s onNotify: msg = %d, ext1 = %d, ext2 = %d, data = %d", mLogName,
             msg, ext1, ext2, value);
    if (msg != kNotifyReconnect || ext1 != kReconnectExt) return;

    // The media manager has restarted: the handle is dead until a new source is created.
    setSource(nullptr);

    Mutex::Autolock lock(mReconnectLock);
    sp<Thread> previous = mReconnectThread;
    mReconnectThread.clear();
    // The old thread stops between two attempts; the new one waits for it before its first.
    if (previous != nullptr) previous->requestExit();
    sp<Thread> thread = newReconnectThread(previous);
    if (thread == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_NO_SERVICE, "failed: new ReCreatSource(this)");
        return;
    }
    mReconnectThread = thread;
    // This platform library refuses to start a thread without a name.
    thread->run("ReConnectServiceThread");
}

int MediaSourceController::publishMediaInfo(const MediaInfoParcel& info) {
    sp<Source> target = source();
    if (target == nullptr) {
        DAB_LOGD(DAB_TAG_SOURCE, "mSource == NULL");
        return 1;
    }
    target->publishMediaInfo(info);
    DAB_LOGD(DAB_TAG_SOURCE, "%s::publishMediaInfo", mLogName);
    return 0;
}

void MediaSourceController::setMediaStatus(int status) {
    if (status != kStatusConnected && status != kStatusNotConnected) return;
    sp<Source> target = source();
    if (target == nullptr) return;
    const int ret = target->setMediaStatus(status == kStatusConnected ? MEDIA_STATUS_CONNECTED
                                                                      : MEDIA_STATUS_DISCONNECTED);
    {
        Mutex::Autolock lock(mStateLock);
        mMediaStatus = status;
    }
    DAB_LOGD(DAB_TAG_SOURCE, "%s: setMediaStatus ret=%d", mLogName, ret);
}

sp<Thread> MediaSourceController::reconnectThread() const {
    Mutex::Autolock lock(mReconnectLock);
    return mReconnectThread;
}

void MediaSourceController::stopReconnection() {
    sp<Thread> thread;
    {
        Mutex::Autolock lock(mReconnectLock);
        thread = mReconnectThread;
        mReconnectThread.clear();
    }
    if (thread == nullptr) return;
    thread->requestExit();
    thread->join();
}
