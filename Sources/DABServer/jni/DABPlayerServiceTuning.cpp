// Tuning and preset operations, the busy states they set, and the clearing of those states
// (explicitly, or by the list worker's 2-second time-out).
#include "DABPlayerService.h"

#include "DABListProcessThread.h"
#include "DABLog.h"
#include "DABTunerValues.h"
#include "OutputLog.h"

#include <mediadata/MediaDataClient.h>

using namespace android;
using media_lib_dab::EN_DAB_BAND_TYPE;
using media_lib_dab::EN_DAB_PRESET_NUM;

namespace {
constexpr int kBusy = DAB_SERVER_IS_IN_PRESET_UPDOWN;
constexpr int kIdle = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;

// mSeekDirection values.
constexpr int kSeekNone = 0;
constexpr int kSeekUp = 1;
constexpr int kSeekDown = 2;

// getError reports this when it cannot ask (not active).
constexpr int kErrorUnknown = 3;

bool validBand(int band) { return band >= 1 && band <= 3; }
bool validPresetIndex(int index) { return index >= 0 && index <= 5; }

// The library's own band goes back to it unchecked (memory): it wraps rather than overflows.
EN_DAB_BAND_TYPE toBand(int band) {
    return static_cast<EN_DAB_BAND_TYPE>(wrapToInt(int64_t{band} - 1));
}
EN_DAB_PRESET_NUM toPreset(int index) { return static_cast<EN_DAB_PRESET_NUM>(index + 1); }
}  // namespace

void DABPlayerService::registerWaitEvent(int type) {
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return;
    const LIST_QUEUE_MSG msg{type, 0, 0};
    // End a held event of this type first, so the new one starts a fresh 2 seconds.
    worker->listItemCachedFinished(msg);
    worker->requestWaitEvent(msg);
}

void DABPlayerService::cancelWaitEvent(int type) {
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return;
    const LIST_QUEUE_MSG msg{type, 0, 0};
    worker->removeWaitEvent(msg);
    worker->listItemCachedFinished(msg);
}

int DABPlayerService::clearBusyState(std::atomic<int>& flag, int waitEventType) {
    if (flag == kBusy) {
        cancelWaitEvent(waitEventType);
        flag = kIdle;
    }
    return 0;
}

void DABPlayerService::startBusyState(std::atomic<int>& flag, int waitEventType, bool blankDisplay) {
    flag = kBusy;
    if (&flag != &isInSwitchBand) clearSwitchBandStatus();
    if (&flag != &isInManualUPDownInFreqExtend) clearManualUpDownStatus();
    if (&flag != &isInPresetUpDown) clearPresetUpDownStatus();
    clearSourceOnDelayStatus();
    if (blankDisplay) clearDisplayStatus();
    registerWaitEvent(waitEventType);
}

int DABPlayerService::clearSourceOnDelayStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearSourceOnDelayStatus");
    return clearBusyState(isInSourceOnDelay, DAB_SERVER_QUEUE_MSG_WAIT_SOURCE_ON);
}

int DABPlayerService::clearSwitchBandStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearSwitchBandStatus");
    return clearBusyState(isInSwitchBand, DAB_SERVER_QUEUE_MSG_WAIT_SWITCH_BAND);
}

int DABPlayerService::clearManualUpDownStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearManualUpDownStatus");
    return clearBusyState(isInManualUPDownInFreqExtend, DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN);
}

int DABPlayerService::clearPresetUpDownStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearPresetUpDownStatus");
    return clearBusyState(isInPresetUpDown, DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN);
}

int DABPlayerService::clearPresetUpDownStatusForRecall() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearPresetUpDownStatusForRecall");
    // The pending event goes, the busy state stays: the preset memory ends it.
    if (isInPresetUpDown == kBusy) cancelWaitEvent(DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN);
    return 0;
}

int DABPlayerService::clearDisplayStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::clearDisplayStatus");
    forward(DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, 0);
    forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, 0);
    forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, 0);
    return 0;
}

int DABPlayerService::clearAllTimingStatus() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::onWaitEventTimeOut clearAllTimingStatus");
    clearSwitchBandStatus();
    clearManualUpDownStatus();
    clearPresetUpDownStatus();
    clearSourceOnDelayStatus();
    onWaitEventTimeOut(DAB_SERVER_QUEUE_MSG_NONE);
    return 0;
}

void DABPlayerService::onWaitEventTimeOut(int type) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::onWaitEventTimeOuttt type =%d", type);
    isInSourceOnDelay = kIdle;
    isInPresetUpDown = kIdle;
    isInSwitchBand = kIdle;
    isInManualUPDownInFreqExtend = kIdle;
    isInPresetMemoryExtend = kIdle;
    isInSeekCancel = kIdle;
    mSeekDirection = kSeekNone;

    // The automatic service-list update keeps reporting its own mode.
    if (mCurrentLogicMode != media_lib_dab::EN_DAB_LM_AUTO_SERLIST_UPDATE) {
        setLogicMode(DAB_SERVER_LOGIC_MODE_NORMAL);
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_NORMAL);
    }

    int error = kErrorUnknown;
    getError(&error);
    forward(DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED, error);

    // Levels never go below what is published already; the antenna fault (3) stays.
    sp<MediaDataClient> mediaData = mediaDataClient();
    if (mediaData != nullptr) {
        int level = DAB_SERVER_ERROR_LEVEL_NONE;
        if (error == media_lib_dab::EN_DAB_ERROR_INFO_TYPE1 &&
            errorCurPublished <= DAB_SERVER_ERROR_LEVEL_TYPE1) {
            level = DAB_SERVER_ERROR_LEVEL_TYPE1;
        } else if (error == media_lib_dab::EN_DAB_ERROR_INFO_TYPE2 &&
                   errorCurPublished <= DAB_SERVER_ERROR_LEVEL_TYPE2) {
            level = DAB_SERVER_ERROR_LEVEL_TYPE2;
        }
        if (level != DAB_SERVER_ERROR_LEVEL_NONE) {
            DAB_LOGD(DAB_TAG_PLAYER, "stError =%d,errorCurPublished=%d", error, errorCurPublished.load());
            errorCurPublished = level;
            mediaData->publishMediaData(String8(DAB_SERVER_MEDIA_DATA_KEY_ERROR), level);
        }
    }

    int compNum = 0;
    int compTotal = 0;
    getCompNum(&compNum);
    getCompTotal(&compTotal);
    if (compNum != 0) {
        forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, compNum);
        forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, compTotal);
    }

    // Clients read labels and text again now that nothing hides them.
    forward(DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE, 0);
    forward(DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE, 0);
    forward(DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE, 0);
    forward(DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, 0);
}

int DABPlayerService::manualUp() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::manualUp");
    if (mIsActive == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer in manualUp mIsActive != 1");
        return -1;
    }
    startManualStep();
    mDabLib.manualUp();
    return 0;
}

int DABPlayerService::manualDown() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::manualDown");
    if (mIsActive == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in manualDown mIsActive != 1");
        return -1;
    }
    startManualStep();
    mDabLib.manualDown();
    return 0;
}

void DABPlayerService::startManualStep() {
    const int mode = mDabLib.getLogicMode();
    if (mode == media_lib_dab::EN_DAB_LM_SEEK_UP || mode == media_lib_dab::EN_DAB_LM_SEEK_DOWN) {
        isInSeekCancel = kBusy;
    }
    startBusyState(isInManualUPDownInFreqExtend, DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN, false);
}

int DABPlayerService::presetSeekUp() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::presetSeekUp");
    if (mIsActive == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in presetSeekUp mIsActive != 1");
        return -1;
    }
    startPresetSeek(kSeekUp);
    mDabLib.seekUp();
    return 0;
}

int DABPlayerService::presetSeekDown() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::presetSeekDown");
    if (mIsActive == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in presetSeekDown mIsActive != 1");
        return -1;
    }
    startPresetSeek(kSeekDown);
    if (mDabLib.getComponentNum() != 0) mErrorCheckOnCompNum = 1;
    mDabLib.seekDown();
    return 0;
}

void DABPlayerService::startPresetSeek(int direction) {
    mSeekDirection = direction;
    const int seekingMode = direction == kSeekUp ? media_lib_dab::EN_DAB_LM_SEEK_UP
                                                 : media_lib_dab::EN_DAB_LM_SEEK_DOWN;
    if (mDabLib.getLogicMode() == seekingMode) {
        // A seek in the direction the tuner already seeks steps on, like a manual step.
        isInSeekCancel = kBusy;
        // Only seek up blanks the display.
        startBusyState(isInManualUPDownInFreqExtend, DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN,
                       direction == kSeekUp);
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_MANUAL_UPDOWN);
    } else {
        isInSeekCancel = kIdle;
        clearSwitchBandStatus();
        clearManualUpDownStatus();
        clearPresetUpDownStatus();
        clearSourceOnDelayStatus();
    }
}

int DABPlayerService::switchBand() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::switchBand");
    if (mIsActive == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in switchBand mIsActive != 1");
        return -1;
    }
    startBusyState(isInSwitchBand, DAB_SERVER_QUEUE_MSG_WAIT_SWITCH_BAND, true);
    mDabLib.switchBand();
    return 0;
}

int DABPlayerService::presetUpRecall() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::presetUpRecall");
    if (mIsActive == 0) return -1;
    startBusyState(isInPresetUpDown, DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN, true);
    mDabLib.presetChannelUp();
    return 0;
}

int DABPlayerService::presetDownRecall() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::presetDownRecall");
    if (mIsActive == 0) return -1;
    startBusyState(isInPresetUpDown, DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN, true);
    mDabLib.presetChannelDown();
    return 0;
}

int DABPlayerService::recall(int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService recall index=%d", index);
    if (mIsActive == 0) return -1;
    clearAllTimingStatus();
    switch (index) {
        case 0: mDabLib.preset1Recall(); break;
        case 1: mDabLib.preset2Recall(); break;
        case 2: mDabLib.preset3Recall(); break;
        case 3: mDabLib.preset4Recall(); break;
        case 4: mDabLib.preset5Recall(); break;
        case 5: mDabLib.preset6Recall(); break;
        default: break;  // out of range: nothing recalled, still a success
    }
    return 0;
}

int DABPlayerService::presetListRecall(int band, int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::presetListRecall, band=%d, index=%d", band, index);
    if (mIsActive == 0 || !validBand(band) || !validPresetIndex(index)) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_OUT_OF_RANGE, "in presetListRecall band=%d,index=%d",
                  band, index);
        return -1;
    }
    // Busy before anything is forwarded: clients that read labels in their callback see it.
    isInPresetUpDown = kBusy;
    // The preset already playing keeps its station, so its text is not blanked.
    const bool samePreset = mDabLib.getBand() == band && mDabLib.getPchNum() == index + 1;
    if (samePreset) {
        forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, 0);
        forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, 0);
    }
    startBusyState(isInPresetUpDown, DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN, !samePreset);
    if (samePreset) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    }
    mDabLib.pchRecall(toBand(band), toPreset(index));
    return 0;
}

int DABPlayerService::memory(int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::memory index=%d", index);
    if (mIsActive == 0 || !validPresetIndex(index)) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_OUT_OF_RANGE, "in memory index=%d", index);
        return -1;
    }
    mDabLib.pchMemory(toBand(mDabLib.getBand()), toPreset(index));
    return 0;
}

int DABPlayerService::presetListMemory(int band, int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::memory, band=%d, index=%d", band, index);
    if (!validBand(band) || !validPresetIndex(index)) return -1;
    clearAllTimingStatus();
    if (mIsActive == 0) return -1;
    isInPresetUpDown = kBusy;
    isInPresetMemoryExtend = kBusy;
    clearDisplayStatus();
    clearSwitchBandStatus();
    clearManualUpDownStatus();
    clearSourceOnDelayStatus();
    clearPresetUpDownStatusForRecall();
    forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    // No wait event: the busy period ends when the three preset bands have come back.
    mDabLib.pchMemory(toBand(band), toPreset(index));
    return 0;
}
