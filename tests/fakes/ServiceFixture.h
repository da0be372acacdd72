#ifndef DAB_TESTS_SERVICEFIXTURE_H
#define DAB_TESTS_SERVICEFIXTURE_H

#include "DABListProcessThread.h"
#include "DABPlayerService.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "Eventually.h"
#include "FakeClient.h"
#include "FakePlatform.h"
#include "FakeTuner.h"
#include "HostLog.h"

#include <gtest/gtest.h>

#include <chrono>

// Reaches the service's private state for assertions that no client operation can observe.
class DABPlayerServiceTestPeer {
public:
    explicit DABPlayerServiceTestPeer(DABPlayerService* s) : mService(s) {}
    uint8_t isActive() const { return mService->mIsActive; }
    uint8_t isResumed() const { return mService->mIsResumed; }
    uint8_t activatePending() const { return mService->mActivatePending; }
    int activeSourceType() const { return mService->mActiveSourceType; }
    std::atomic<int>& isInSourceOnDelay() { return mService->isInSourceOnDelay; }
    std::atomic<int>& isInPresetUpDown() { return mService->isInPresetUpDown; }
    std::atomic<int>& isInSwitchBand() { return mService->isInSwitchBand; }
    std::atomic<int>& isInManualUPDownInFreqExtend() {
        return mService->isInManualUPDownInFreqExtend;
    }
    std::atomic<int>& isInPresetMemoryExtend() { return mService->isInPresetMemoryExtend; }
    std::atomic<int>& isInSeekCancel() { return mService->isInSeekCancel; }
    RelaxedAtomic<int>& currentLogicMode() { return mService->mCurrentLogicMode; }
    RelaxedAtomic<int>& currentInfoType() { return mService->mCurrentInfoType; }
    std::atomic<int>& errorCurPublished() { return mService->errorCurPublished; }
    std::atomic<int>& flagReqPrestListSourceOn() { return mService->mFlagReqPrestListSourceOn; }
    std::atomic<int>& presetListNotifyCount() { return mService->mPresetListNotifyCount; }
    std::atomic<int>* presetListNotCached() { return mService->mPresetListNotCached; }
    android::sp<DABListProcessThread> listWorker() { return mService->listWorker(); }
    size_t clientCount() {
        android::Mutex::Autolock lock(mService->mClientsLock);
        return mService->mClients.size();
    }
    DABListCacher& cache() { return mService->mListCacher; }
    // Publishing state: the converted labels and text to write, and the publish lock.
    char* ensembleLabel() { return mService->mEnsembleLabel; }
    char* serviceLabel() { return mService->mServiceLabel; }
    char* compLabel() { return mService->mCompLabel; }
    char* dynamicText() { return mService->mDynamicText; }
    android::Mutex& publishLock() { return mService->mPublishLock; }
    // List, preset, error and antenna handlers, called as the dispatch would, and their state.
    void handlePresetItemSourceOn() { mService->handlePresetItemSourceOn(); }
    void handlePresetItem() { mService->handlePresetItem(); }
    void handlePresetListUpdateReq() { mService->handlePresetListUpdateReq(); }
    void handleServiceListItem(int notifyId) { mService->handleServiceListItem(notifyId); }
    void handleErrorInfo(int value) { mService->handleErrorInfo(value); }
    void handleAntStatus(int value) { mService->handleAntStatus(value); }
    void setActive(uint8_t active) { mService->mIsActive = active; }
    std::atomic<int>& listCountState() { return mService->mListCountState; }
    RelaxedAtomic<uint16_t>& currentEnsembleId() { return mService->mCurrentEnsembleId; }
    RelaxedAtomic<int>& currentFmLink() { return mService->mCurrentFmLink; }
    RelaxedAtomic<int>& currentErrorType() { return mService->mCurrentErrorType; }
    uint8_t presetReceived(int band, int preset) const {
        return mService->mPresetReceived[band - 1][preset - 1];
    }
    // Station, playback and query state.
    RelaxedAtomic<int>& currentBlockId() { return mService->mCurrentBlockId; }
    RelaxedAtomic<int>& isHandServiceListUpdate() { return mService->mIsHandServiceListUpdate; }
    RelaxedAtomic<uint8_t>& dynamicTextPublishEnabled() {
        return mService->mDynamicTextPublishEnabled;
    }
    RelaxedAtomic<int>& dynamicTextStatus() { return mService->mDynamicTextStatus; }
    std::atomic<int>& isDynamicTextCached() { return mService->isDynamicTextCached; }
    RelaxedAtomic<int>& currentCompTotal() { return mService->mCurrentCompTotal; }
    RelaxedAtomic<int>& currentCompNum() { return mService->mCurrentCompNum; }
    RelaxedAtomic<uint8_t>& errorCheckOnCompNum() { return mService->mErrorCheckOnCompNum; }
    RelaxedAtomic<int>& currentTotalTime() { return mService->mCurrentTotalTime; }
    RelaxedAtomic<int>& currentPauseTime() { return mService->mCurrentPauseTime; }
    RelaxedAtomic<int>& currentCacheTime() { return mService->mCurrentCacheTime; }
    RelaxedAtomic<int>& currentPlaybackStatus() { return mService->mCurrentPlaybackStatus; }
    RelaxedAtomic<int>& currentConnectStatus() { return mService->mCurrentConnectStatus; }
    RelaxedAtomic<int>& currentDisplayFormat() { return mService->mCurrentDisplayFormat; }
    std::atomic<int>& seekDirection() { return mService->mSeekDirection; }
    RelaxedAtomic<int>& currentAntStatus() { return mService->mCurrentAntStatus; }
    RelaxedAtomic<int>& currentNm() { return mService->mCurrentNm; }
    std::atomic<int>& abcSearchState() { return mService->mAbcSearchState; }
    RelaxedAtomic<int>& currentSignalLevel() { return mService->mCurrentSignalLevel; }
    RelaxedAtomic<int>& currentPtyType() { return mService->mCurrentPtyType; }

private:
    DABPlayerService* mService;
};

// Builds the service on fakes of every closed library. The tuner's notifications run on the
// test thread; the service is resumed and activated only when a test asks.
class ServiceFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Resumes the service once through the system control fake.
    void resume();
    // Resumes if needed and activates the DAB source (0) or the TA source (1).
    void activate(int sourceType = 0);
    // A new client object with its own recording callback.
    android::sp<android::IDABPlayer> connect(android::sp<FakeClient>* callback);
    // Waits until no one holds the object any more: for a list worker or reconnection
    // thread, until its thread has ended.
    template <typename T>
    static bool waitForGone(const android::wp<T>& object,
                            std::chrono::milliseconds timeout = std::chrono::seconds(8)) {
        return waitUntil([&] { return object.promote() == nullptr; }, timeout);
    }
    DABPlayerServiceTestPeer peer() { return DABPlayerServiceTestPeer(mService.get()); }

    android::sp<FakeTuner> mTuner;
    android::sp<FakeMediaData> mMediaData;
    android::sp<FakeSysCtrl> mSysCtrl;
    android::sp<FakeProcessSupport> mProcess;
    android::sp<DABPlayerService> mService;
    std::unique_ptr<HostLog::Capture> mLog;
    std::vector<android::wp<DABListProcessThread>> mWorkersSeen;
};

#endif  // DAB_TESTS_SERVICEFIXTURE_H
