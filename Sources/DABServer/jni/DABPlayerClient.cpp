// The per-application client object DABPlayerService::DABPlayer.
#include "DABLog.h"
#include "DABPlayerService.h"
#include "OutputLog.h"

#include <binder/IPCThreadState.h>

using namespace android;

// The host binder layer's view of what a client process has not read yet; absent on builds
// without it, where the dump shows the backlog as unknown.
extern "C" int dab_host_binder_backlog(const android::IBinder* binder, size_t* messages,
                                       size_t* bytes) __attribute__((weak));

DABPlayerService::DABPlayer::DABPlayer(const sp<DABPlayerService>& service, int pid,
                                       const sp<IDABPlayerClient>& client, int uid)
    : mService(service),
      mClient(client),
      mPid(pid),
      mUid(uid),
      mListenerBinder(client != nullptr ? client->asBinder() : nullptr),
      mSent(0),
      mDropped(0),
      mDeathNotice(new ApplicationDeath(wp<DABPlayer>(this))) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer construct");
}

void DABPlayerService::DABPlayer::summary(DABDumpClient* out) const {
    sp<IBinder> listener;
    {
        Mutex::Autolock lock(mSummaryLock);
        listener = mListenerBinder.promote();
    }
    out->pid = mPid;
    out->uid = mUid;
    out->listener = listener != nullptr ? 1 : 0;
    out->sent = mSent.load();
    out->dropped = mDropped.load();
    size_t messages = 0;
    size_t bytes = 0;
    out->backlogKnown = (listener != nullptr && dab_host_binder_backlog != nullptr &&
                         dab_host_binder_backlog(listener.get(), &messages, &bytes) == 0)
                                ? 1
                                : 0;
    out->queuedMessages = messages;
    out->queuedBytes = bytes;
}

void DABPlayerService::DABPlayer::setListenerBinder(const sp<IDABPlayerClient>& client) {
    wp<IBinder> binder(client != nullptr ? client->asBinder() : nullptr);
    Mutex::Autolock lock(mSummaryLock);
    mListenerBinder = binder;
}

DABPlayerService::DABPlayer::~DABPlayer() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer destruct");
    disconnect();
    if (mService != nullptr) mService->removeClient(wp<DABPlayer>(this));
    sp<IBinder> application;
    {
        Mutex::Autolock lock(mLock);
        application = mApplication;
        mApplication.clear();
    }
    if (application != nullptr) application->unlinkToDeath(mDeathNotice);
}

void DABPlayerService::DABPlayer::watchApplication(const sp<IDABPlayerClient>& client) {
    sp<IBinder> binder = client != nullptr ? client->asBinder() : nullptr;
    // Only another process can go away under this object.
    if (binder == nullptr || binder->remoteBinder() == nullptr) return;
    {
        Mutex::Autolock lock(mLock);
        if (mApplication != nullptr) return;
        mApplication = binder;
    }
    // Outside the lock: a process already gone is told at once, on this thread.
    binder->linkToDeath(mDeathNotice);
}

void DABPlayerService::DABPlayer::ApplicationDeath::binderDied(const wp<IBinder>&) {
    // The caller's reference keeps the object alive until this returns; dropping it may run
    // the destructor here, with no lock held.
    sp<DABPlayer> player = mPlayer.promote();
    if (player != nullptr) player->applicationDied();
}

void DABPlayerService::DABPlayer::applicationDied() {
    sp<IDABPlayerClient> listener;
    {
        Mutex::Autolock lock(mLock);
        listener = mClient;
        mClient.clear();
        setListenerBinder(nullptr);
    }
    // Released outside the lock: it may hold the last reference to another client object.
}

void DABPlayerService::DABPlayer::disconnect() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::DABPlayer::disconnect");
    Mutex::Autolock lock(mLock);
    mClient.clear();
    setListenerBinder(nullptr);
    IPCThreadState::self()->flushCommands();
}

void DABPlayerService::DABPlayer::notify(int msg, int ext1, int ext2, const Parcel* obj) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::DABPlayer::notify id = %d", msg);
    // Held across the callback so that two notifications to one application never overlap.
    Mutex::Autolock lock(mLock);
    if (mClient != nullptr) {
        mSent.fetch_add(1);
        mClient->notify(msg, ext1, ext2, obj);
    } else {
        mDropped.fetch_add(1);
    }
}

int DABPlayerService::DABPlayer::setClientListener(const sp<IDABPlayerClient>& client) {
    // An object of this process that is no callback (an application handing back its own
    // IDABPlayer, say) refuses every notification unread; held, it could only tie client
    // objects into a reference cycle that outlives the application.
    sp<IDABPlayerClient> listener = client;
    const sp<IBinder> binder = client != nullptr ? client->asBinder() : nullptr;
    if (binder != nullptr && binder->localBinder() != nullptr &&
        binder->queryLocalInterface(IDABPlayerClient::descriptor) == nullptr) {
        listener.clear();
    }
    sp<IDABPlayerClient> previous;
    {
        Mutex::Autolock lock(mLock);
        previous = mClient;
        mClient = listener;
        setListenerBinder(listener);
        // A listener set while the source-on delay runs learns the busy state at once.
        if (mService != nullptr &&
            mService->isInSourceOnDelay == DAB_SERVER_IS_IN_PRESET_UPDOWN && listener != nullptr) {
            listener->notify(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY,
                             0, nullptr);
        }
    }
    watchApplication(listener);
    return 0;
}

// Every forwarding operation logs its name, then hands the call to the service unchanged; a
// client object without a service answers 0 and leaves the output arguments untouched.
#define DAB_FORWARD(name, params, args)                                                    \
    int DABPlayerService::DABPlayer::name params {                                         \
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer " #name);                                      \
        const DABCallCause::Scope cause(                                                   \
                DABCallCause{DABCallCause::kOperation, 0, 0, mPid, mUid, #name});         \
        if (mService != nullptr) return mService->name args;                               \
        OutputLog(__FILE__, __LINE__, DAB_ERR_NO_SERVICE, "in DABPlayer::" #name " mService == NULL"); \
        return 0;                                                                          \
    }

DAB_FORWARD(manualUp, (), ())
DAB_FORWARD(manualDown, (), ())
DAB_FORWARD(presetSeekUp, (), ())
DAB_FORWARD(presetSeekDown, (), ())
DAB_FORWARD(switchBand, (), ())
DAB_FORWARD(recall, (int index), (index))
DAB_FORWARD(presetListRecall, (int band, int index), (band, index))
DAB_FORWARD(presetUpRecall, (), ())
DAB_FORWARD(presetDownRecall, (), ())
DAB_FORWARD(serviceListRecall, (int serviceIndex), (serviceIndex))
DAB_FORWARD(ptyNewsinfoListRecall, (int serviceIndex), (serviceIndex))
DAB_FORWARD(ptyPopularListRecall, (int serviceIndex), (serviceIndex))
DAB_FORWARD(ptyClassicsListRecall, (int serviceIndex), (serviceIndex))
DAB_FORWARD(ptyOthersListRecall, (int serviceIndex), (serviceIndex))
DAB_FORWARD(ensembleListRecall, (int index), (index))
DAB_FORWARD(memory, (int index), (index))
DAB_FORWARD(presetListMemory, (int band, int index), (band, index))
DAB_FORWARD(requestPresetList, (int band), (band))
DAB_FORWARD(timeShiftPlay, (), ())
DAB_FORWARD(timeShiftPause, (), ())
DAB_FORWARD(timeSeek, (int time), (time))
DAB_FORWARD(requestDynamicText, (), ())
DAB_FORWARD(requestServiceListUpdate, (), ())
DAB_FORWARD(cancelServiceListUpdate, (), ())
DAB_FORWARD(requestServiceCompList, (), ())
DAB_FORWARD(requestEnsembleList, (), ())
DAB_FORWARD(requestPTYSecondList, (int index), (index))
DAB_FORWARD(requestEnsembleSecondList, (int ensembleIndex), (ensembleIndex))
DAB_FORWARD(abcSearch, (int index), (index))
DAB_FORWARD(abcSearchCancel, (), ())
DAB_FORWARD(getBand, (int* band), (band))
DAB_FORWARD(getPresetNum, (int* presetNum), (presetNum))
DAB_FORWARD(getFrequence, (int* frequency), (frequency))
DAB_FORWARD(getFreqString, (char* freq), (freq))
DAB_FORWARD(getBlockId, (char* blockId), (blockId))
DAB_FORWARD(getSignalLevel, (int* level), (level))
DAB_FORWARD(getFmLink, (int* fmLink), (fmLink))
DAB_FORWARD(getBitPerSecond, (int* bps), (bps))
DAB_FORWARD(getPtyType, (int* ptyType), (ptyType))
DAB_FORWARD(getEnsembleLabel, (char* label, int* code), (label, code))
DAB_FORWARD(getServiceLabel, (char* label, int* code), (label, code))
DAB_FORWARD(getCompLabel, (char* label, int* code), (label, code))
DAB_FORWARD(getCompTotal, (int* total), (total))
DAB_FORWARD(getCompNum, (int* num), (num))
DAB_FORWARD(getPlaybackStatus, (int* status), (status))
DAB_FORWARD(getTotalTime, (int* time), (time))
DAB_FORWARD(getCacheTime, (int* time), (time))
DAB_FORWARD(getPauseTime, (int* time), (time))
DAB_FORWARD(getDynamicText, (char* text, int* code, int* length), (text, code, length))
DAB_FORWARD(getServiceListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getPtyPopularListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getPtyClassicsListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getPtyNewsinfoListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getPtyOthersListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getEnsembleCompListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getEnsembleListItem, (int index, char* label, int* code), (index, label, code))
DAB_FORWARD(getPresetListItem, (int band, int index, char* label, int* code, int* labelAvail),
            (band, index, label, code, labelAvail))
DAB_FORWARD(getLogicMode, (int* mode), (mode))
DAB_FORWARD(getError, (int* error), (error))
DAB_FORWARD(getRealError, (int* error), (error))
DAB_FORWARD(getNm, (int* nm), (nm))
DAB_FORWARD(getDisplayFormat, (int* format), (format))
DAB_FORWARD(getAntStatus, (int* status), (status))
DAB_FORWARD(toNormalView, (), ())
DAB_FORWARD(toLive, (), ())
DAB_FORWARD(timeShift, (), ())
DAB_FORWARD(abcSearchOn, (), ())
DAB_FORWARD(abcSearchOff, (), ())
DAB_FORWARD(setDisplayFormat, (), ())

#undef DAB_FORWARD
