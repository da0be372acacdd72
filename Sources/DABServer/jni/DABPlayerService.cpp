// Construction, the client registry and fan-out, and the activation life cycle.
#include "DABPlayerService.h"

#include "DABListProcessThread.h"
#include "DABLog.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "OutputLog.h"

#include <binder/IPCThreadState.h>
#include <mediadata/MediaDataClient.h>
#include <mediamanager/MediaInfoParcel.h>
#include <procsupport/ProcessSupport.h>

#include <cstring>

using namespace android;

namespace {
// System control registration of this service.
constexpr int kSysCtrlModuleId = 13;
constexpr int kSysCtrlFlags = 0;
}  // namespace

DABPlayerService::DABPlayerService(const sp<DABSourceController>& controller,
                                   const sp<DABTASourceController>& taController)
    : mController(controller),
      mTAController(taController),
      mActiveSourceType(DAB_SERVER_SOURCE_DAB),
      mCurrentConnectStatus(0),
      mCurrentBand(0),
      mCurrentLogicMode(DAB_SERVER_LOGIC_MODE_NORMAL),
      mCurrentBlockId(13),
      mCurrentServiceFollow(0),
      mCurrentSignalLevel(0),
      mCurrentFmLink(0),
      mCurrentBitRate(-1),
      mCurrentPtyType(0),
      mCurrentCompTotal(-1),
      mCurrentCompNum(-1),
      mCurrentTotalTime(-1),
      mCurrentCacheTime(-1),
      mCurrentPauseTime(-1),
      mCurrentPlaybackStatus(0),
      mCurrentDisplayFormat(1),
      mCurrentErrorType(3),
      mCurrentAntStatus(0),
      mCurrentNm(0),
      mFlagReqPrestListSourceOn(1),
      mPresetListNotifyCount(-1),
      mCurrentEnsembleId(0xFFFF),
      mListCountState(0),
      mIsActive(0),
      mAbcSearchState(0),
      mCurrentInfoType(DAB_SERVER_INFO_TYPE_NONE),
      mDynamicTextCached(),
      isDynamicTextCached(DAB_SERVER_DYNAMIC_TEXT_NO_DATA),
      isInPresetUpDown(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      isInSeekCancel(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      isInPresetMemoryExtend(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      mSeekDirection(0),
      isInManualUPDownInFreqExtend(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      isInSwitchBand(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      isInSourceOnDelay(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN),
      mIsHandServiceListUpdate(0),
      mEnsembleLabel(),
      mServiceLabel(),
      mCompLabel(),
      mDynamicText(),
      mSysCtrlManager(this),
      errorCurPublished(DAB_SERVER_ERROR_LEVEL_NONE),
      mPresetReceived(),
      mPresetListNotCached{1, 1, 1},
      mDynamicTextPublishEnabled(1),
      mIsResumed(0),
      mActivatePending(0),
      mDynamicTextStatus(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR),
      mErrorCheckOnCompNum(0),
      mDumpSuspended(0),
      mDumpPresetNum(0),
      mDumpLabelCharset{-1, -1, -1} {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService construct");
    mDabLib.initialize(notifyCallback, this);
    mSysCtrlManager.attachSysCtrlMng(kSysCtrlModuleId, kSysCtrlFlags);
}

DABPlayerService::~DABPlayerService() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer destruct");
    mDabLib.finalize();
    // A worker left running would call back into a destroyed service.
    sp<DABListProcessThread> worker = listWorker();
    if (worker != nullptr) {
        worker->requestExit();
        worker->pushExitMsg();
        worker->join();
    }
}

sp<IDABPlayer> DABPlayerService::createClient(int pid, const sp<IDABPlayerClient>& client) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::createClient");
    sp<DABPlayerService> self(this);
    const int uid = static_cast<int>(IPCThreadState::self()->getCallingUid());
    sp<DABPlayer> c = new DABPlayer(self, pid, client, uid);
    if (c == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::createClient C = NULL");
        return nullptr;
    }
    {
        Mutex::Autolock lock(mClientsLock);
        mClients.add(wp<DABPlayer>(c));
    }
    // A client whose process goes must not be kept alive by a listener that holds it.
    c->watchApplication(client);
    return c;
}

void DABPlayerService::removeClient(const wp<DABPlayer>& client) {
    Mutex::Autolock lock(mClientsLock);
    mClients.remove(client);
}

Vector<wp<DABPlayerService::DABPlayer>> DABPlayerService::copyClients() const {
    Vector<wp<DABPlayer>> clients;
    Mutex::Autolock lock(mClientsLock);
    clients.setCapacity(mClients.size());
    for (size_t i = 0; i < mClients.size(); ++i) clients.add(mClients[i]);
    return clients;
}

void DABPlayerService::exeNotify(int msg, int ext1, int ext2, const Parcel* obj) {
    // Notify outside the lock: dropping the last strong reference of a client runs its
    // destructor, which takes mClientsLock to remove itself.
    const Vector<wp<DABPlayer>> clients = copyClients();
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService exeNotify size:%d\n", static_cast<int>(clients.size()));
    mHistory.recordClient(msg, ext1, ext2, static_cast<int32_t>(clients.size()), obj != nullptr);
    if (msg == DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE) mHistory.recordLogicMode(-1, ext1, true);
    for (size_t i = clients.size(); i > 0; --i) {
        sp<DABPlayer> client = clients[i - 1].promote();
        if (client == nullptr) {
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::exeNotify spClient NULL");
            continue;
        }
        client->notify(msg, ext1, ext2, obj);
    }
}

void DABPlayerService::forward(int id, int v) { exeNotify(id, v, 0, nullptr); }

void DABPlayerService::setLogicMode(int mode) {
    const int previous = mCurrentLogicMode;
    mCurrentLogicMode = mode;
    if (previous != mode) mHistory.recordLogicMode(previous, mode, false);
}

void DABPlayerService::notifyCallback(void* cookie, media_lib_dab::DABNotifyID id, int value) {
    if (cookie == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "player is NULL!");
        return;
    }
    DABPlayerService* service = static_cast<DABPlayerService*>(cookie);
    service->mHistory.recordTuner(static_cast<int32_t>(id), value);
    {
        const DABCallCause::Scope cause(
                DABCallCause{DABCallCause::kTuner, static_cast<int32_t>(id), value, 0, 0, nullptr});
        service->handleDABNotify(id, value);
    }
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService get notify id=%d", static_cast<int>(id));
}

sp<DABListProcessThread> DABPlayerService::listWorker() {
    Mutex::Autolock lock(mListWorkerLock);
    return mpListProcessThread;
}

sp<MediaDataClient> DABPlayerService::mediaDataClient() {
    Mutex::Autolock lock(mMediaDataLock);
    return mMediaDataClient;
}

void DABPlayerService::publishErrorLevel(int level) {
    sp<MediaDataClient> client = mediaDataClient();
    if (client != nullptr) client->publishMediaData(String8(DAB_SERVER_MEDIA_DATA_KEY_ERROR), level);
}

void DABPlayerService::onSuspend() {
    mDumpSuspended = 1;
    mSysCtrlManager.finishSuspend();
}

void DABPlayerService::onResume() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer::onResume");
    sp<MediaDataClient> client = new MediaDataClient();
    {
        Mutex::Autolock lock(mMediaDataLock);
        mMediaDataClient = client;
    }
    if (client == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_CREATE_FAILED,
                  "in constructor of DABPlayer, new MediaDataClient() failed, return NULL");
        return;
    }
    client->attachMediaDataService();
    mDumpSuspended = 0;
    mSysCtrlManager.finishResume();
    mIsResumed = 1;
    // A pending activation is replayed at every later resume as well: only a deactivation
    // before the first resume forgets it.
    if (mActivatePending) activate(mActiveSourceType);
}

// Stops a worker without joining it: it ends by itself when it takes the exit message.
static void stopListWorker(const sp<DABListProcessThread>& worker) {
    worker->requestExit();
    worker->pushExitMsg();
}

int DABPlayerService::activate(int sourceType) {
    mActiveSourceType = sourceType;
    if (!mIsResumed) {
        mActivatePending = 1;
        return 0;
    }
    setOomAdj(KESTRAN_SERVICE_ID_DAB, KESTRAN_SERVICES_STS_ACTIVE);

    if (sourceType == DAB_SERVER_SOURCE_DAB) {
        mListCacher.clearForAllCache();
        mListCacher.clearPresetListCache();
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService,mListCacher.clearForAllCache");

        sp<DABListProcessThread> old;
        {
            Mutex::Autolock lock(mListWorkerLock);
            old = mpListProcessThread;
            mpListProcessThread.clear();
        }
        if (old != nullptr) stopListWorker(old);

        sp<DABListProcessThread> worker = new DABListProcessThread(&mDabLib);
        if (worker == nullptr) {
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService, create DABListProcessThread failed.");
            return -1;
        }
        worker->setPlayerService(this);
        {
            Mutex::Autolock lock(mListWorkerLock);
            mpListProcessThread = worker;
        }
        // The host platform library refuses unnamed threads.
        worker->run("DABListProcess");
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService, DABListProcessThread started.");

        memset(mPresetReceived, 0, sizeof(mPresetReceived));
        mPresetListNotifyCount = 0;
        mFlagReqPrestListSourceOn = 1;
        sourceOnRequestPresetList();
        mCurrentPlaybackStatus = mDabLib.getTsStatus();
        mErrorCheckOnCompNum = 0;
    } else if (sourceType == DAB_SERVER_SOURCE_TA && mController != nullptr) {
        MediaInfoParcel info;
        info.writeMediaSourceID(String8(INFOBAR_SRCNAME_TADAB));
        info.writeSrcNameForVA(String8(VA_SRCNAME_TA_INTERRUPT));
        mController->publishMediaInfo(info);
    }

    errorCurPublished = DAB_SERVER_ERROR_LEVEL_NONE;
    mDynamicTextPublishEnabled = 1;
    mIsActive = 1;

    int antStatus = 0;
    getAntStatus(&antStatus);
    exeNotify(DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED, antStatus, 0, nullptr);
    onReqPublishMediaInfo();
    return 0;
}

int DABPlayerService::deactivate(int sourceType) {
    if (!mIsResumed) {
        mActivatePending = 0;
        return 0;
    }
    setOomAdj(KESTRAN_SERVICE_ID_DAB, KESTRAN_SERVICES_STS_IDLE);
    mIsActive = 0;

    if (sourceType == DAB_SERVER_SOURCE_DAB) {
        sp<DABListProcessThread> old;
        {
            Mutex::Autolock lock(mListWorkerLock);
            old = mpListProcessThread;
            mpListProcessThread.clear();
        }
        if (old != nullptr) {
            stopListWorker(old);
            old.clear();
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService, DABListProcessThread exit.");
        }
        for (std::atomic<int>& notCached : mPresetListNotCached) notCached = 1;
        errorCurPublished = DAB_SERVER_ERROR_LEVEL_NONE;
        mListCacher.clearForAllCache();
        mListCacher.clearPresetListCache();
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService, DABListCacher cleared.");
        mFlagReqPrestListSourceOn = 1;
        mPresetListNotifyCount = 0;
        clearAllTimingStatus();
        mErrorCheckOnCompNum = 0;
    }

    if (mController != nullptr) {
        MediaInfoParcel info;
        info.writeMediaSourceID(String8(INFOBAR_SRCNAME_UNKNOWN));
        mController->publishMediaInfo(info);
    }
    mDynamicTextPublishEnabled = 1;
    mCurrentPtyType = 0;
    return 0;
}
