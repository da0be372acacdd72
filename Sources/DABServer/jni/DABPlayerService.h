#ifndef DAB_SERVER_DABPLAYERSERVICE_H
#define DAB_SERVER_DABPLAYERSERVICE_H

#include "DABDumpState.h"
#include "DABListCacher.h"
#include "DABNotifyHistory.h"
#include "DABServerDefs.h"
#include "RelaxedAtomic.h"

#include <dablib/DABLibIF.h>
#include <dabplayer/IDABPlayerService.h>
#include <sysctrl/SysCtrlManagerIF.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/SortedVector.h>
#include <utils/String8.h>

#include <atomic>

namespace android {
class MediaDataClient;
}

class DABSourceController;
class DABTASourceController;
class DABListProcessThread;

// The DAB player service: owns the tuner library, the radio state, the busy states of the
// tuning operations, the list cache and worker, and the registry of connected clients.
// Binder threads call the client operations; the tuner library's callback thread runs the
// notification dispatch; the system control library calls onSuspend/onResume; the list worker
// calls onWaitEventTimeOut. The state fields are single words written by one thread and read
// by others without a lock; only the registry and publishing are locked.
class DABPlayerService : public android::BnDABPlayerService,
                         public android::SysCtrlManagerListenerBase {
public:
    // The per-application client object: forwards every IDABPlayer operation to the service
    // and passes the service's notifications to the application's callback.
    class DABPlayer : public android::BnDABPlayer {
    public:
        // Binder threads (createClient); non-blocking.
        DABPlayer(const android::sp<DABPlayerService>& service, int pid,
                  const android::sp<android::IDABPlayerClient>& client, int uid);

        // Every forwarding operation: binder threads, several at once; blocks only as the
        // service operation does.
        int manualUp() override;
        int manualDown() override;
        int presetSeekUp() override;
        int presetSeekDown() override;
        int switchBand() override;
        int recall(int index) override;
        int presetListRecall(int band, int index) override;
        int presetUpRecall() override;
        int presetDownRecall() override;
        int serviceListRecall(int serviceIndex) override;
        int ptyNewsinfoListRecall(int serviceIndex) override;
        int ptyPopularListRecall(int serviceIndex) override;
        int ptyClassicsListRecall(int serviceIndex) override;
        int ptyOthersListRecall(int serviceIndex) override;
        int ensembleListRecall(int index) override;
        int memory(int index) override;
        int presetListMemory(int band, int index) override;
        int requestPresetList(int band) override;
        int timeShiftPlay() override;
        int timeShiftPause() override;
        int timeSeek(int time) override;
        int requestDynamicText() override;
        int requestServiceListUpdate() override;
        int cancelServiceListUpdate() override;
        int requestServiceCompList() override;
        int requestEnsembleList() override;
        int requestPTYSecondList(int index) override;
        int requestEnsembleSecondList(int ensembleIndex) override;
        int abcSearch(int index) override;
        int abcSearchCancel() override;
        int getBand(int* band) override;
        int getPresetNum(int* presetNum) override;
        int getFrequence(int* frequency) override;
        int getFreqString(char* freq) override;
        int getBlockId(char* blockId) override;
        int getSignalLevel(int* level) override;
        int getFmLink(int* fmLink) override;
        int getBitPerSecond(int* bps) override;
        int getPtyType(int* ptyType) override;
        int getEnsembleLabel(char* label, int* code) override;
        int getServiceLabel(char* label, int* code) override;
        int getCompLabel(char* label, int* code) override;
        int getCompTotal(int* total) override;
        int getCompNum(int* num) override;
        int getPlaybackStatus(int* status) override;
        int getTotalTime(int* time) override;
        int getCacheTime(int* time) override;
        int getPauseTime(int* time) override;
        int getDynamicText(char* text, int* code, int* length) override;
        int getServiceListItem(int index, char* label, int* code) override;
        int getPtyPopularListItem(int index, char* label, int* code) override;
        int getPtyClassicsListItem(int index, char* label, int* code) override;
        int getPtyNewsinfoListItem(int index, char* label, int* code) override;
        int getPtyOthersListItem(int index, char* label, int* code) override;
        int getEnsembleCompListItem(int index, char* label, int* code) override;
        int getEnsembleListItem(int index, char* label, int* code) override;
        int getPresetListItem(int band, int index, char* label, int* code,
                              int* labelAvail) override;
        int getLogicMode(int* mode) override;
        int getError(int* error) override;
        int getRealError(int* error) override;
        int getNm(int* nm) override;
        int getDisplayFormat(int* format) override;
        int getAntStatus(int* status) override;
        int toNormalView() override;
        int toLive() override;
        int timeShift() override;
        int abcSearchOn() override;
        int abcSearchOff() override;
        int setDisplayFormat() override;
        // Binder threads; blocks on mLock while a notification is being delivered.
        int setClientListener(const android::sp<android::IDABPlayerClient>& client) override;

        // Any thread that fans out; holds mLock across the application's callback.
        void notify(int msg, int ext1, int ext2, const android::Parcel* obj);
        // Destructor only; blocks on mLock.
        void disconnect();
        // Any thread; non-blocking: never takes mLock, so a client stuck in its callback
        // does not hold it up. What the service's dump shows of this client.
        void summary(DABDumpClient* out) const;
        // Binder threads (createClient, setClientListener); blocks on mLock briefly. Watches
        // the application's process through the first object of it that it hands over.
        void watchApplication(const android::sp<android::IDABPlayerClient>& client);

    private:
        // Any thread; takes mSummaryLock briefly.
        void setListenerBinder(const android::sp<android::IDABPlayerClient>& client);

    protected:
        ~DABPlayer() override;

    private:
        // Tells its client object that the application's process is gone.
        class ApplicationDeath : public android::IBinder::DeathRecipient {
        public:
            explicit ApplicationDeath(const android::wp<DABPlayer>& player) : mPlayer(player) {}
            // Binder pool thread.
            void binderDied(const android::wp<android::IBinder>& who) override;

        private:
            const android::wp<DABPlayer> mPlayer;  // immutable
        };

        // Binder pool thread; blocks on mLock. Drops the listener: a listener that holds this
        // object (its own IDABPlayer, say) would otherwise keep it alive for ever.
        void applicationDied();

        android::Mutex mLock;                                  // guards mClient, mApplication
        const android::sp<DABPlayerService> mService;          // immutable
        android::sp<android::IDABPlayerClient> mClient GUARDED_BY(mLock);
        const int mPid;                                        // immutable
        const int mUid;                                        // immutable
        // The callback's binder for the dump, kept beside mClient so that the dump never
        // waits for mLock.
        mutable android::Mutex mSummaryLock;                   // guards mListenerBinder
        android::wp<android::IBinder> mListenerBinder GUARDED_BY(mSummaryLock);
        RelaxedAtomic<uint64_t> mSent;     // notifications handed to the callback
        RelaxedAtomic<uint64_t> mDropped;  // notifications that found no callback
        // The application's object the death notice is linked on; held so that the link
        // lasts while listeners change.
        android::sp<android::IBinder> mApplication GUARDED_BY(mLock);
        const android::sp<ApplicationDeath> mDeathNotice;      // immutable
    };

    // Main thread at start-up; non-blocking. Initialises the tuner library.
    DABPlayerService(const android::sp<DABSourceController>& controller,
                     const android::sp<DABTASourceController>& taController);

    // Binder threads; blocks only while it writes to fd. Copies the state under the locks
    // that guard it, then formats and writes with no lock held. args: section names, and
    // "--json" for one JSON object.
    android::status_t dump(int fd, const android::Vector<android::String16>& args) override;

    // Binder threads; non-blocking.
    android::sp<android::IDABPlayer> createClient(
            int pid, const android::sp<android::IDABPlayerClient>& client) override;

    // The service's own operations, reached from the client objects on binder threads; none
    // blocks beyond the tuner library's calls.
    virtual int manualUp();
    virtual int manualDown();
    virtual int presetSeekUp();
    virtual int presetSeekDown();
    virtual int switchBand();
    virtual int recall(int index);
    virtual int serviceListRecall(int serviceIndex);
    virtual int ptyNewsinfoListRecall(int serviceIndex);
    virtual int ptyPopularListRecall(int serviceIndex);
    virtual int ptyClassicsListRecall(int serviceIndex);
    virtual int ptyOthersListRecall(int serviceIndex);
    virtual int ensembleListRecall(int index);
    virtual int presetListRecall(int band, int index);
    virtual int presetUpRecall();
    virtual int presetDownRecall();
    virtual int memory(int index);
    virtual int presetListMemory(int band, int index);
    virtual int requestPresetList(int band);
    virtual int timeShiftPlay();
    virtual int timeShiftPause();
    virtual int timeSeek(int time);
    virtual int requestDynamicText();
    virtual int requestServiceListUpdate();
    virtual int cancelServiceListUpdate();
    virtual int requestServiceCompList();
    virtual int requestEnsembleList();
    virtual int requestPTYSecondList(int index);
    virtual int requestEnsembleSecondList(int ensembleIndex);
    virtual int abcSearch(int index);
    virtual int abcSearchCancel();
    virtual int getBand(int* band);
    virtual int getPresetNum(int* presetNum);
    virtual int getFrequence(int* frequency);
    virtual int getFreqString(char* freq);
    virtual int getBlockId(char* blockId);
    virtual int getSignalLevel(int* level);
    virtual int getFmLink(int* fmLink);
    virtual int getBitPerSecond(int* bps);
    virtual int getPtyType(int* ptyType);
    virtual int getEnsembleLabel(char* label, int* code);
    virtual int getServiceLabel(char* label, int* code);
    virtual int getCompLabel(char* label, int* code);
    virtual int getCompTotal(int* total);
    virtual int getCompNum(int* num);
    virtual int getPlaybackStatus(int* status);
    virtual int getTotalTime(int* time);
    virtual int getCacheTime(int* time);
    virtual int getPauseTime(int* time);
    virtual int getDynamicText(char* text, int* code, int* length);
    virtual int getServiceListItem(int index, char* label, int* code);
    virtual int getPtyPopularListItem(int index, char* label, int* code);
    virtual int getPtyClassicsListItem(int index, char* label, int* code);
    virtual int getPtyNewsinfoListItem(int index, char* label, int* code);
    virtual int getPtyOthersListItem(int index, char* label, int* code);
    virtual int getEnsembleCompListItem(int index, char* label, int* code);
    virtual int getEnsembleListItem(int index, char* label, int* code);
    virtual int getPresetListItem(int band, int index, char* label, int* code, int* labelAvail);
    virtual int getLogicMode(int* mode);
    virtual int getError(int* error);
    virtual int getRealError(int* error);
    virtual int getNm(int* nm);
    virtual int getDisplayFormat(int* format);
    virtual int getAntStatus(int* status);
    virtual int toNormalView();
    virtual int toLive();
    virtual int timeShift();
    virtual int abcSearchOn();
    virtual int abcSearchOff();
    virtual int setDisplayFormat();
    // System control library's thread; non-blocking.
    void onSuspend() override;
    void onResume() override;
    // Tuner callback thread and binder threads; blocks on mPublishLock.
    virtual int publishDynamicText(int state);
    virtual int publishDabLabel(int infoType);
    // Tuner callback thread; non-blocking.
    virtual int setDynamicTextNoData();

    // Client object destructor (any thread); blocks on mClientsLock briefly.
    void removeClient(const android::wp<DABPlayer>& client);
    // Any thread; blocks on mClientsLock briefly. The registry, copied item by item: a copy
    // sharing the registry's buffer would be freed by whichever thread drops it last.
    android::Vector<android::wp<DABPlayer>> copyClients() const;
    // Any thread; calls every client's notify without holding mClientsLock.
    void exeNotify(int msg, int ext1, int ext2, const android::Parcel* obj);
    // Tuner library's callback thread; registered with the library.
    static void notifyCallback(void* cookie, media_lib_dab::DABNotifyID id, int value);
    // Binder threads (source controllers); may join nothing, never blocks long.
    int activate(int sourceType);
    int deactivate(int sourceType);
    // Binder threads and the end of activation; blocks on mPublishLock.
    void onReqPublishMediaInfo();
    // Tuner callback thread; non-blocking.
    void publishPresetStationNumber(int number);

    // Tuner callback thread: the notification dispatch.
    void handleDABNotify(media_lib_dab::DABNotifyID id, int value);
    int toServerNotifyId(media_lib_dab::DABNotifyID id);
    int PresetListRcvItemHandle();
    bool checkPresetListBandFinished(LIST_QUEUE_MSG& msg);

    // Binder threads (activation); non-blocking.
    void sourceOnRequestPresetList();

    // Busy state of the tuning operations: binder threads, the tuner callback thread and the
    // list worker (time-out); each returns 0.
    int clearSourceOnDelayStatus();
    int clearSwitchBandStatus();
    int clearManualUpDownStatus();
    int clearPresetUpDownStatus();
    int clearPresetUpDownStatusForRecall();
    int clearDisplayStatus();
    int clearAllTimingStatus();
    // List worker thread (time-out) and clearAllTimingStatus; non-blocking.
    void onWaitEventTimeOut(int type);

protected:
    ~DABPlayerService() override;

private:
    friend class DABPlayerServiceTestPeer;

    // Station and playback dispatch (one handler per notify id).
    void handleConnectStatus(int value);
    void handleBandChange(int value);
    void handlePresetNumChange(int value);
    void handleLogicModeChange(int value);
    void handleFreqChange(int value);
    void handleLabelChange(int notifyId, int value);
    void handleCompTotalChange(int value);
    void handleCompNumChange(int value);
    void handleDynamicTextUpdate(int value);
    void handleTotalTimeChange(int value);
    void handleCacheTimeChange(int value);
    void handlePauseTimeChange(int value);
    void handlePlaybackStatusChange(int value);

    // List, preset and error dispatch.
    // Reads, caches and announces one preset item; the worker when the item completed a band
    // and the worker was told, else null.
    android::sp<DABListProcessThread> receivePresetItem();
    void handlePresetItemSourceOn();
    void handlePresetItem();
    void handlePresetListUpdateReq();
    void handleServiceListItem(int notifyId);
    void handleAbcSearchResult();
    void handleErrorInfo(int value);
    void handleAntStatus(int value);

    // Tuning helpers: register or cancel the wait event of one type with the list worker.
    void registerWaitEvent(int type);
    void cancelWaitEvent(int type);
    // The common steps of manualUp/manualDown and of presetSeekUp/presetSeekDown (direction
    // 1 up, 2 down), before the tuner command.
    void startManualStep();
    void startPresetSeek(int direction);
    // Ends one busy state: cancels its wait event and makes the flag idle, when it is busy.
    int clearBusyState(std::atomic<int>& flag, int waitEventType);
    // Starts one busy state of a tuning command: the flag becomes busy, the other tuning busy
    // states and the source-on delay end (in that order), the display is blanked when asked,
    // and the state's wait event is registered. Binder threads, like the commands.
    void startBusyState(std::atomic<int>& flag, int waitEventType, bool blankDisplay);
    // Forwards id with value1 v, value2 0 and no parcel.
    void forward(int id, int v);
    // Stores the logic mode and notes a change in the history.
    void setLogicMode(int mode);
    // Copies everything the dump shows; each part under its own lock, one at a time.
    void collectDumpState(DABDumpState* out);
    // Copies of the references that activation and resume replace (any thread).
    android::sp<DABListProcessThread> listWorker();
    android::sp<android::MediaDataClient> mediaDataClient();
    // Publishes "DABError" with level when a media data client exists.
    void publishErrorLevel(int level);

    // List getters share one path; kind is the cache's service item type of the getter.
    int getListItem(int kind, int index, char* label, int* code);
    int recallListItem(int kind, int serviceIndex);
    // Title labels share one path; kind is the tuner's text type.
    int getTitleLabel(int kind, char* label, int* code);

    struct DynamicTextCache {
        int charset;
        char text[128];
        int length;
    };

    // Members. Unless said otherwise: written by one thread (mostly the tuner callback thread
    // or the binder thread of the operation), read by others without a lock. Plain state
    // values are RelaxedAtomic: a reader needs a whole value, and nothing else is published
    // through them. The std::atomic ones keep the default sequentially consistent order for
    // the reason given beside them.
    android::sp<DABSourceController> mController;      // immutable after construction
    android::sp<DABTASourceController> mTAController;  // immutable after construction
    // Written by activate before it raises mActivatePending, which orders it for onResume.
    RelaxedAtomic<int> mActiveSourceType;
    RelaxedAtomic<int> mCurrentConnectStatus;
    RelaxedAtomic<int> mCurrentBand;
    RelaxedAtomic<int> mCurrentLogicMode;
    RelaxedAtomic<int> mCurrentBlockId;
    RelaxedAtomic<int> mCurrentServiceFollow;
    RelaxedAtomic<int> mCurrentSignalLevel;
    RelaxedAtomic<int> mCurrentFmLink;
    RelaxedAtomic<int> mCurrentBitRate;
    RelaxedAtomic<int> mCurrentPtyType;
    RelaxedAtomic<int> mCurrentCompTotal;
    RelaxedAtomic<int> mCurrentCompNum;
    RelaxedAtomic<int> mCurrentTotalTime;
    RelaxedAtomic<int> mCurrentCacheTime;
    RelaxedAtomic<int> mCurrentPauseTime;
    RelaxedAtomic<int> mCurrentPlaybackStatus;
    RelaxedAtomic<int> mCurrentDisplayFormat;
    RelaxedAtomic<int> mCurrentErrorType;
    RelaxedAtomic<int> mCurrentAntStatus;
    RelaxedAtomic<int> mCurrentNm;
    // Gate the preset-list dispatch after activation: activation resets both, the count
    // reaching the band count clears the flag and tells the worker; seq_cst so that the
    // callback thread sees the reset together with the activation's other writes.
    std::atomic<int> mFlagReqPrestListSourceOn;
    std::atomic<int> mPresetListNotifyCount;
    RelaxedAtomic<uint16_t> mCurrentEnsembleId;
    // A list request's progress, and with mAbcSearchState whether a search was cancelled:
    // the binder thread sets both before its request, the callback thread reads them as a
    // pair; seq_cst.
    std::atomic<int> mListCountState;
    // Raised by activate after the state it resets; operations and getters check it before
    // they read that state; seq_cst.
    std::atomic<uint8_t> mIsActive;
    std::atomic<int> mAbcSearchState;  // read with mListCountState; seq_cst
    RelaxedAtomic<int> mCurrentInfoType;  // the labels themselves are read under mPublishLock
    DynamicTextCache mDynamicTextCached;  // tuner callback thread writes
    DABListCacher mListCacher;            // guarded by its own lock
    android::sp<DABListProcessThread> mpListProcessThread GUARDED_BY(mListWorkerLock);
    android::Mutex mListWorkerLock;  // guards the mpListProcessThread reference only
    // Set to "has data" after mDynamicTextCached is filled; getDynamicText reads the cache
    // only when it sees that, so it publishes the cache; seq_cst.
    std::atomic<int> isDynamicTextCached;
    // The busy states of the tuning operations and the seek direction: set by binder threads,
    // ended by the callback thread and the worker's time-out, and read together by getters
    // and the dispatch (each start clears the others in order); seq_cst, so every thread sees
    // those writes in one order.
    std::atomic<int> isInPresetUpDown;
    std::atomic<int> isInSeekCancel;
    std::atomic<int> isInPresetMemoryExtend;
    std::atomic<int> mSeekDirection;
    std::atomic<int> isInManualUPDownInFreqExtend;
    std::atomic<int> isInSwitchBand;
    std::atomic<int> isInSourceOnDelay;
    RelaxedAtomic<int> mIsHandServiceListUpdate;
    char mEnsembleLabel[65];  // tuner callback thread writes; read under mPublishLock
    char mServiceLabel[65];
    char mCompLabel[65];
    char mDynamicText[129];
    media_lib_dab::DABLibIF mDabLib;           // the library accepts concurrent calls
    android::SysCtrlManagerIF mSysCtrlManager;  // system control thread and construction
    android::sp<android::MediaDataClient> mMediaDataClient GUARDED_BY(mMediaDataLock);
    android::Mutex mMediaDataLock;  // guards the mMediaDataClient reference only
    // The error level published last: publishing compares against it before it raises it,
    // from the callback thread and the worker's time-out; seq_cst.
    std::atomic<int> errorCurPublished;
    android::SortedVector<android::wp<DABPlayer>> mClients GUARDED_BY(mClientsLock);
    mutable android::Mutex mClientsLock;                     // guards mClients
    uint8_t mPresetReceived[3][6];  // tuner callback thread; activation zeroes it
    // Cleared per band once the band's list is cached; requestPresetList then answers from
    // the cache, so it hands the cached band over; seq_cst.
    std::atomic<int> mPresetListNotCached[3];
    RelaxedAtomic<uint8_t> mDynamicTextPublishEnabled;
    // The start-up handshake: activate writes mActivatePending after reading mIsResumed,
    // onResume reads it after writing mIsResumed; seq_cst, so one of them sees the other.
    std::atomic<uint8_t> mIsResumed;
    std::atomic<uint8_t> mActivatePending;
    RelaxedAtomic<int> mDynamicTextStatus;
    android::Mutex mPublishLock;  // held while a label or text record is built and handed over
    RelaxedAtomic<uint8_t> mErrorCheckOnCompNum;

    // For the dump only; nothing else reads them.
    DABNotifyHistory mHistory;                // guarded by its own locks
    RelaxedAtomic<uint8_t> mDumpSuspended;    // system control thread writes
    RelaxedAtomic<int> mDumpPresetNum;        // tuner callback thread writes
    RelaxedAtomic<int> mDumpLabelCharset[3];  // tuner callback thread writes; ensemble, service, component
};

#endif  // DAB_SERVER_DABPLAYERSERVICE_H
