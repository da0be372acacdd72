// Status and label queries, the display-format toggle and the simple mode commands. All run
// on binder threads without a lock: they read single-word fields that the notification thread
// writes, and ask the tuner library, which accepts concurrent calls.
#include "DABPlayerService.h"

#include "DABChannelTable.h"
#include "DABLog.h"
#include "DABTunerValues.h"

#include <string.h>

using namespace android;
using namespace media_lib_dab;

namespace {

constexpr char kNoDataProvided[] = "No Data Provided";
constexpr size_t kTitleTextSize = 16;
constexpr size_t kDynamicTextSize = 128;

bool isBusy(int flag) { return flag == DAB_SERVER_IS_IN_PRESET_UPDOWN; }

// Seek, scan and the service's own manual and preset modes.
bool isBusyLogicMode(int mode) { return mode >= EN_DAB_LM_SEEK_UP && mode <= EN_DAB_LM_PRESET_SCAN; }

bool inRange(int v, int lo, int hi) { return v >= lo && v <= hi; }

// Logs the refusal of an operation that needs an active source.
bool refusedInactive(uint8_t active, const char* operation) {
    if (active) return false;
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::%s not active", operation);
    return true;
}

bool refusedNull(const void* p, const char* operation) {
    if (p != nullptr) return false;
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::%s out pointer NULL", operation);
    return true;
}

}  // namespace

int DABPlayerService::getBand(int* band) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getBand");
    if (refusedInactive(mIsActive, "getBand") || refusedNull(band, "getBand")) return -1;
    *band = mDabLib.getBand();
    return inRange(*band, 1, 3) ? 0 : -1;
}

int DABPlayerService::getPresetNum(int* presetNum) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPresetNum");
    if (refusedInactive(mIsActive, "getPresetNum") || refusedNull(presetNum, "getPresetNum")) {
        return -1;
    }
    const int pch = mDabLib.getPchNum();
    // -1 tells the client that the station is not a preset; the query still succeeds.
    *presetNum = pch == 0 ? -1 : presetPosition(mDabLib.getBand(), pch);
    return 0;
}

int DABPlayerService::getFrequence(int* frequency) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getFrequence");
    if (refusedNull(frequency, "getFrequence")) return -1;
    const int blockId = mCurrentBlockId;
    const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(blockId);
    if (channel == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "getFrequence mCurrentBlockId out = %d", blockId);
        return -1;
    }
    *frequency = static_cast<int>(channel->kHz);
    return 0;
}

int DABPlayerService::getFreqString(char* freq) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getFreqString");
    // The block id is refreshed from the library even when the caller gave no buffer.
    const int blockId = mDabLib.getNmValue();
    mCurrentBlockId = blockId;
    const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(blockId);
    if (freq == nullptr || channel == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "getFreqString mCurrentBlockId out = %d", blockId);
        return -1;
    }
    memcpy(freq, channel->freqTextUnit, sizeof(channel->freqTextUnit));
    return 0;
}

int DABPlayerService::getBlockId(char* blockId) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getBlockId");
    if (refusedInactive(mIsActive, "getBlockId") || refusedNull(blockId, "getBlockId")) return -1;
    const int id = mCurrentBlockId;
    const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(id);
    if (channel == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "getBlockId mCurrentBlockId out = %d", id);
        return -1;
    }
    // The channel label is shown only in the channel-label display format.
    if (mCurrentDisplayFormat != 2) {
        DAB_LOGD(DAB_TAG_PLAYER, "getBlockId mCurrentDisplayFormat = %d", mCurrentDisplayFormat.load());
        return -1;
    }
    memcpy(blockId, channel->label, sizeof(channel->label));
    for (size_t i = 0; i < sizeof(channel->label); ++i) {
        if (blockId[i] != 0) return 0;
    }
    return 1;
}

int DABPlayerService::getSignalLevel(int* level) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getSignalLevel");
    if (refusedInactive(mIsActive, "getSignalLevel") || refusedNull(level, "getSignalLevel")) {
        return -1;
    }
    mCurrentSignalLevel = mDabLib.getSignalLevel();
    *level = mCurrentSignalLevel;
    return inRange(*level, 1, 7) ? 0 : -1;
}

int DABPlayerService::getFmLink(int* fmLink) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getFmLink");
    if (refusedInactive(mIsActive, "getFmLink") || refusedNull(fmLink, "getFmLink")) return -1;
    mCurrentFmLink = mDabLib.getFmLink();
    *fmLink = mCurrentFmLink;
    return inRange(*fmLink, 1, 3) ? 0 : -1;
}

int DABPlayerService::getBitPerSecond(int* bps) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getBitPerSecond");
    if (refusedInactive(mIsActive, "getBitPerSecond") || refusedNull(bps, "getBitPerSecond")) {
        return -1;
    }
    mCurrentBitRate = mDabLib.getBitRate();
    *bps = mCurrentBitRate;
    return 0;
}

int DABPlayerService::getPtyType(int* ptyType) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPtyType");
    if (refusedNull(ptyType, "getPtyType")) return -1;
    *ptyType = mCurrentPtyType;
    return static_cast<unsigned>(*ptyType) < 31u ? 0 : -1;
}

int DABPlayerService::getEnsembleLabel(char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getEnsembleLabel");
    return getTitleLabel(EN_DAB_TEXT_TYPE_ENSEMBLE, label, code);
}

int DABPlayerService::getServiceLabel(char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getServiceLabel isInPresetMemoryExtend =%d", isInPresetUpDown.load());
    return getTitleLabel(EN_DAB_TEXT_TYPE_SERVICE, label, code);
}

int DABPlayerService::getCompLabel(char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getCompLabel");
    return getTitleLabel(EN_DAB_TEXT_TYPE_COMPONENT, label, code);
}

int DABPlayerService::getTitleLabel(int kind, char* label, int* code) {
    ST_DAB_TITLE_TEXT title;
    memset(&title, 0, sizeof(title));
    if (refusedNull(label, "getTitleLabel") || refusedNull(code, "getTitleLabel")) return -1;
    // No label is shown while a preset up/down or recall runs: it would be the old station's.
    if (isBusy(isInPresetUpDown)) return 1;
    mDabLib.getTitleData(static_cast<EN_DAB_TEXT_TYPE>(kind), &title);
    if (memcmp(title.text, kNoDataProvided, kTitleTextSize) == 0) return 1;
    bool empty = true;
    for (size_t i = 0; i < kTitleTextSize; ++i) {
        if (title.text[i] != 0) {
            empty = false;
            break;
        }
    }
    if (empty) return 1;
    memcpy(label, title.text, kTitleTextSize);
    *code = toCodeConverType(static_cast<int>(title.charset));
    return 0;
}

int DABPlayerService::getCompTotal(int* total) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getCompTotal");
    if (refusedInactive(mIsActive, "getCompTotal") || refusedNull(total, "getCompTotal")) return -1;
    if (mCurrentCompTotal == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::getCompTotal mCurrentCompTotal == 0 return error");
        return -1;
    }
    if (isBusy(isInManualUPDownInFreqExtend)) {
        mCurrentCompTotal = mDabLib.getComponentTotal();
        *total = mCurrentCompTotal;
        if (*total == 0) return -1;
    }
    if (!isBusyLogicMode(mCurrentLogicMode) && !isBusy(isInSwitchBand) &&
        !isBusy(isInPresetUpDown) && !isBusy(isInSourceOnDelay)) {
        mCurrentCompTotal = mDabLib.getComponentTotal();
        *total = mCurrentCompTotal;
        return 0;
    }
    DAB_LOGD(DAB_TAG_PLAYER, "in getCompTotal isInPresetUpDown == DAB_SERVER_IS_IN_PRESET_UPDOWN");
    return -1;
}

int DABPlayerService::getCompNum(int* num) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getCompNum");
    if (refusedInactive(mIsActive, "getCompNum") || refusedNull(num, "getCompNum")) return -1;
    if (mCurrentCompTotal == 0 || mCurrentCompNum == 0) {
        DAB_LOGD(DAB_TAG_PLAYER,
                 "DABPlayerService::getCompTotal mCurrentCompNum==%d,mCurrentCompTotal== %d return error",
                 mCurrentCompNum.load(), mCurrentCompTotal.load());
        return -1;
    }
    if (isBusy(isInManualUPDownInFreqExtend)) {
        mCurrentCompNum = mDabLib.getComponentNum();
        *num = mCurrentCompNum;
        if (*num == 0) return -1;
    }
    if (!isBusyLogicMode(mCurrentLogicMode) && !isBusy(isInSwitchBand) &&
        !isBusy(isInPresetUpDown) && !isBusy(isInSourceOnDelay)) {
        mCurrentCompNum = mDabLib.getComponentNum();
        *num = mCurrentCompNum;
        return 0;
    }
    DAB_LOGD(DAB_TAG_PLAYER, "GETCOMPNUM isInManualUPDownInFreqExtend=%d",
             isInManualUPDownInFreqExtend.load());
    return -1;
}

int DABPlayerService::getDynamicText(char* text, int* code, int* length) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getDynamicText");
    if (refusedNull(text, "getDynamicText") || refusedNull(code, "getDynamicText") ||
        refusedNull(length, "getDynamicText")) {
        return -1;
    }
    if (isDynamicTextCached != DAB_SERVER_DYNAMIC_TEXT_HAS_DATA) {
        DAB_LOGD(DAB_TAG_PLAYER, "getDynamicText No Data Provided");
        return 1;
    }
    // The raw segments as received: the client converts them with the code it is given.
    memcpy(text, mDynamicTextCached.text, kDynamicTextSize);
    *code = toCodeConverType(mDynamicTextCached.charset);
    *length = mDynamicTextCached.length;
    return 0;
}

int DABPlayerService::getLogicMode(int* mode) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getLogicMode");
    if (refusedNull(mode, "getLogicMode")) return -1;
    const int libMode = mDabLib.getLogicMode();
    if (libMode == EN_DAB_LM_SERLIST_UPDATE) {
        // A list update is reported even while no source is active.
        if (mIsHandServiceListUpdate == 1) {
            setLogicMode(EN_DAB_LM_HAND_SERLIST_UPDATE);
        } else if (mIsHandServiceListUpdate == 0) {
            setLogicMode(EN_DAB_LM_AUTO_SERLIST_UPDATE);
        } else {
            DAB_LOGD(DAB_TAG_PLAYER, "getLogicMode error");
        }
        *mode = mCurrentLogicMode;
        return 0;
    }
    if (refusedInactive(mIsActive, "getLogicMode")) return -1;

    int value;
    if (isBusy(isInPresetUpDown)) {
        value = DAB_SERVER_LOGIC_MODE_PRESET_BUSY;
    } else if (!isBusy(isInSwitchBand) && !isBusy(isInManualUPDownInFreqExtend) &&
               !isBusy(isInSourceOnDelay) && !isBusy(isInPresetMemoryExtend)) {
        value = mDabLib.getLogicMode();
        setLogicMode(value);
    } else if (isBusy(isInSourceOnDelay) || isBusy(isInPresetMemoryExtend)) {
        value = DAB_SERVER_LOGIC_MODE_PRESET_BUSY;
    } else if (isBusy(isInManualUPDownInFreqExtend)) {
        value = DAB_SERVER_LOGIC_MODE_MANUAL_UPDOWN;
    } else if (mSeekDirection == 1) {
        value = DAB_SERVER_LOGIC_MODE_MANUAL_UPDOWN;
    } else if (mSeekDirection == 2) {
        value = DAB_SERVER_LOGIC_MODE_PRESET_SCAN;
    } else {
        value = DAB_SERVER_LOGIC_MODE_PRESET_BUSY;  // only a band switch is busy
    }
    *mode = value;
    return static_cast<unsigned>(value) < 27u ? 0 : -1;
}

int DABPlayerService::getError(int* error) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getError");
    if (refusedInactive(mIsActive, "getError") || refusedNull(error, "getError")) return -1;
    // While the service tunes, reception errors are transient and not reported.
    if (isBusyLogicMode(mCurrentLogicMode) || isBusy(isInPresetUpDown) ||
        isBusy(isInManualUPDownInFreqExtend) || isBusy(isInSwitchBand) ||
        isBusy(isInSourceOnDelay)) {
        DAB_LOGD(DAB_TAG_PLAYER, "mCurrentLogicMode != EN_DAB_LM_NORMAL");
        *error = EN_DAB_ERROR_INFO_NO_ERROR;
    } else {
        DAB_LOGD(DAB_TAG_PLAYER, "mCurrentLogicMode == EN_DAB_LM_NORMAL");
        *error = mDabLib.getErrorInfo();
    }
    return static_cast<unsigned>(*error) < 3u ? 0 : -1;
}

int DABPlayerService::getRealError(int* error) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getRealError");
    if (refusedInactive(mIsActive, "getRealError") || refusedNull(error, "getRealError")) return -1;
    *error = mDabLib.getErrorInfo();
    return static_cast<unsigned>(*error) < 3u ? 0 : -1;
}

int DABPlayerService::getNm(int* nm) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getNm");
    if (refusedInactive(mIsActive, "getNm") || refusedNull(nm, "getNm")) return -1;
    mCurrentNm = mDabLib.getNmValue();
    *nm = mCurrentNm;
    return DABChannelTable::isValidBlockId(*nm) ? 0 : -1;
}

int DABPlayerService::getDisplayFormat(int* format) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getDisplayFormat");
    if (refusedInactive(mIsActive, "getDisplayFormat") || refusedNull(format, "getDisplayFormat")) {
        return -1;
    }
    const int current = mCurrentDisplayFormat;
    if (current != 1 && current != 2) return -1;
    *format = current;
    return 0;
}

int DABPlayerService::getAntStatus(int* status) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getAntStatus");
    if (refusedInactive(mIsActive, "getAntStatus") || refusedNull(status, "getAntStatus")) return -1;
    const int raw = mDabLib.getAntStatus();
    mCurrentAntStatus = raw;
    if (!inRange(raw, 1, 5)) {
        *status = 0;
        return -1;
    }
    // 1 and 2 are the tuner's good states, 3 to 5 its fault states.
    *status = raw >= 3 ? 1 : 2;
    return 0;
}

int DABPlayerService::setDisplayFormat() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::setDisplayFormat");
    if (refusedInactive(mIsActive, "setDisplayFormat")) return -1;
    if (mCurrentDisplayFormat == 1) {
        mCurrentDisplayFormat = 2;
    } else if (mCurrentDisplayFormat == 2) {
        mCurrentDisplayFormat = 1;
    }
    return 0;
}

int DABPlayerService::abcSearchOn() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::abcSearchOn");
    if (refusedInactive(mIsActive, "abcSearchOn")) return -1;
    mDabLib.abcSearchModeOn();
    return 0;
}

int DABPlayerService::abcSearchOff() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::abcSearchOff");
    if (refusedInactive(mIsActive, "abcSearchOff")) return -1;
    mDabLib.abcSearchModeOff();
    return 0;
}

int DABPlayerService::abcSearchCancel() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::abcSearchCancel");
    if (refusedInactive(mIsActive, "abcSearchCancel")) return -1;
    // Marked first, so that a result arriving meanwhile is seen as cancelled.
    mAbcSearchState = 2;
    mDabLib.abcSearchStop();
    return 0;
}

int DABPlayerService::requestDynamicText() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::requestDynamicText");
    if (refusedInactive(mIsActive, "requestDynamicText")) return -1;
    mDabLib.dynamicModeOn();
    return 0;
}

int DABPlayerService::requestServiceListUpdate() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::requestServiceListUpdate");
    if (refusedInactive(mIsActive, "requestServiceListUpdate")) return -1;
    clearAllTimingStatus();
    mDabLib.listUpdateStart();
    mIsHandServiceListUpdate = 1;
    return 0;
}

int DABPlayerService::cancelServiceListUpdate() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::cancelServiceListUpdate");
    if (refusedInactive(mIsActive, "cancelServiceListUpdate")) return -1;
    mDabLib.listUpdateCancel();
    mIsHandServiceListUpdate = 0;
    return 0;
}
