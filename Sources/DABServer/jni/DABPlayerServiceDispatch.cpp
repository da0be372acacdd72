// Tuner notification dispatch: translation of the tuner's ids, the dispatch switch, and the
// handling of every station and playback notification. Everything here runs on the tuner
// library's callback thread, one notification at a time.
#include "DABPlayerService.h"

#include "DABChannelTable.h"
#include "DABLog.h"
#include "DABSourceController.h"
#include "DABTunerValues.h"

#include <binder/Parcel.h>
#include <codeconver/CodeConver.h>

#include <string.h>
#include <time.h>

using namespace android;
using namespace media_lib_dab;

namespace {

// Seek throttle: at most one frequency notification per 80 ms and one label publication per
// 300 ms while the tuner runs through channels. Process-wide and touched only by the tuner
// callback thread; milliseconds of the monotonic clock, 0 after ordinary listening.
double sLastFreqNotifyMs = 0.0;
double sLastFreqLabelMs = 0.0;
constexpr double kFreqNotifyIntervalMs = 80.0;
constexpr double kFreqLabelIntervalMs = 300.0;

// A title the broadcaster left empty carries these 16 characters (no terminator).
constexpr char kNoDataProvided[] = "No Data Provided";
constexpr size_t kTitleTextSize = 16;
constexpr size_t kLabelMax = 64;         // converted label bytes kept, terminator excluded
constexpr size_t kDlsSegmentSize = 64;
constexpr size_t kDynamicTextMax = 128;  // converted dynamic text bytes kept

double monotonicNowMs() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) * 1000.0 + static_cast<double>(ts.tv_nsec) / 1000000.0;
}

bool isBusy(int flag) { return flag == DAB_SERVER_IS_IN_PRESET_UPDOWN; }

// True for 16 zero bytes or the broadcaster's "No Data Provided".
bool titleHasNoData(const char* text) {
    if (memcmp(text, kNoDataProvided, kTitleTextSize) == 0) return true;
    for (size_t i = 0; i < kTitleTextSize; ++i) {
        if (text[i] != 0) return false;
    }
    return true;
}

// Copies at most max bytes of s into dst (max + 1 bytes) and terminates it.
void storeCut(char* dst, size_t max, const String8& s) {
    size_t n = s.length();
    if (n > max) n = max;
    memcpy(dst, s.string(), n);
    dst[n] = '\0';
}

// Forwards id with value1 0 and a parcel holding text as one C string, read from its start.
void forwardText(DABPlayerService* service, int id, const char* text) {
    Parcel parcel;
    parcel.writeCString(text);
    parcel.setDataPosition(0);
    service->exeNotify(id, 0, 0, &parcel);
}

struct LabelKind {
    EN_DAB_TEXT_TYPE textType;
    int infoType;
    const char* received;
    const char* noData;
};

const LabelKind* labelKindOf(int notifyId) {
    static const LabelKind kKinds[] = {
            {EN_DAB_TEXT_TYPE_ENSEMBLE, DAB_SERVER_INFO_TYPE_ENSEMBLE,
             "DABPlayer received DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE",
             "DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE No Data Provided"},
            {EN_DAB_TEXT_TYPE_SERVICE, DAB_SERVER_INFO_TYPE_SERVICE,
             "DABPlayer received DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE",
             "DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE No Data Provided"},
            {EN_DAB_TEXT_TYPE_COMPONENT, DAB_SERVER_INFO_TYPE_COMP,
             "DABPlayer received DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE",
             "DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE No Data Provided"},
    };
    switch (notifyId) {
        case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE: return &kKinds[0];
        case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE: return &kKinds[1];
        case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE: return &kKinds[2];
        default: return nullptr;
    }
}

// The size line of each label keeps a literal format.
void logLabelSize(int notifyId, int size) {
    if (notifyId == DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE) {
        DAB_LOGD(DAB_TAG_PLAYER, "DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE size = %d", size);
    } else if (notifyId == DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE) {
        DAB_LOGD(DAB_TAG_PLAYER, "DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE size = %d", size);
    } else {
        DAB_LOGD(DAB_TAG_PLAYER, "DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE size = %d", size);
    }
}

}  // namespace

int DABPlayerService::toServerNotifyId(DABNotifyID id) {
    switch (static_cast<int>(id)) {
        case DAB_NOTIFY_BAND: return DAB_SERVER_NOTIFY_BAND_CHANGE;
        case DAB_NOTIFY_PRESET_NUM: return DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE;
        case DAB_NOTIFY_LOGIC_MODE: return DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE;
        case DAB_NOTIFY_FREQ: return DAB_SERVER_NOTIFY_FREQ_CHANGE;
        case DAB_NOTIFY_SERVICE_FOLLOW: return DAB_SERVER_NOTIFY_SEVICE_FOLLOW_CHANGE;
        case DAB_NOTIFY_FM_LINK: return DAB_SERVER_NOTIFY_FM_LINK_CHANGE;
        case DAB_NOTIFY_PTY_TYPE: return DAB_SERVER_NOTIFY_PTY_TYPE_CHANGE;
        case DAB_NOTIFY_COMP_TOTAL: return DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE;
        case DAB_NOTIFY_COMP_NUM: return DAB_SERVER_NOTIFY_COMP_NUM_CHANGE;
        case DAB_NOTIFY_ERROR_INFO: return DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED;
        case DAB_NOTIFY_SIGNAL_LEVEL: return DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE;
        case DAB_NOTIFY_BIT_RATE: return DAB_SERVER_NOTIFY_BPS_CHANGE;
        case DAB_NOTIFY_ANT_STATUS: return DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED;
        case DAB_NOTIFY_PRESET_ITEM: return DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE;
        case DAB_NOTIFY_DLS: return DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE;
        case DAB_NOTIFY_ENSEMBLE_LABEL: return DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE;
        case DAB_NOTIFY_SERVICE_LABEL: return DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE;
        case DAB_NOTIFY_COMP_LABEL: return DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE;
        case DAB_NOTIFY_TS_STATUS: return DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE;
        case DAB_NOTIFY_TS_PAUSE_TIME: return DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE;
        case DAB_NOTIFY_TS_TOTAL_TIME: return DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE;
        case DAB_NOTIFY_TS_CACHE_TIME: return DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE;
        case DAB_NOTIFY_SVC_LIST_ITEM: {
            // One tuner id serves every list: the kind being received decides the notify id.
            int type = DAB_SERVER_SERVICE_ITEM_NONE;
            mListCacher.getCurrentCachedServiceItemType(&type);
            DAB_LOGD(DAB_TAG_PLAYER, "currentCachedItemType=%d", type);
            switch (type) {
                // Service components share id 23 with the search; the list handler asks again.
                case DAB_SERVER_SERVICE_ITEM_COMP: return DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT;
                case DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO:
                    return DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_PTY_POPULAR:
                    return DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS:
                    return DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_PTY_OTHERS:
                    return DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP:
                    return DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_ENSEMBLE:
                    return DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE;
                case DAB_SERVER_SERVICE_ITEM_ABC_SEARCH: return DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT;
                default: return DAB_SERVER_NOTIFY_NONE;
            }
        }
        case DAB_NOTIFY_PRESET_LIST_UPDATE_REQ: return DAB_SERVER_NOTIFY_PRESETLIST_ITEM_UPDATE_REQ;
        case DAB_NOTIFY_RESERVED_25: return DAB_SERVER_NOTIFY_TUNER_IGNORED;
        case DAB_NOTIFY_CONNECT_STATUS: return DAB_SERVER_NOTIFY_CONNECT_STATUS;
        default: return DAB_SERVER_NOTIFY_NONE;
    }
}

void DABPlayerService::handleDABNotify(DABNotifyID id, int value) {
    const int n = toServerNotifyId(id);
    if (n == DAB_SERVER_NOTIFY_CONNECT_STATUS) {
        handleConnectStatus(value);
        return;
    }
    // The flag's value at arrival picks the one preset path that handles this item.
    if (n == DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE && mFlagReqPrestListSourceOn == 1) {
        handlePresetItemSourceOn();
        return;
    }
    switch (n) {
        case DAB_SERVER_NOTIFY_BAND_CHANGE: handleBandChange(value); break;
        case DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE: handlePresetNumChange(value); break;
        case DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE: handleLogicModeChange(value); break;
        case DAB_SERVER_NOTIFY_FREQ_CHANGE: handleFreqChange(value); break;
        case DAB_SERVER_NOTIFY_SEVICE_FOLLOW_CHANGE:
            DAB_LOGD(DAB_TAG_PLAYER,
                     "DABPlayer received DAB_SERVER_NOTIFY_SEVICE_FOLLOW_CHANGE serviceFollow=%d",
                     value);
            mCurrentServiceFollow = value;
            forward(n, value);
            break;
        case DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE:
            DAB_LOGD(DAB_TAG_PLAYER,
                     "DABPlayer received DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE signalLevel=%d",
                     value);
            mCurrentSignalLevel = value;
            forward(n, value);
            break;
        case DAB_SERVER_NOTIFY_FM_LINK_CHANGE:
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_FM_LINK_CHANGE fmLink=%d",
                     value);
            mCurrentFmLink = value;
            forward(n, value);
            break;
        case DAB_SERVER_NOTIFY_BPS_CHANGE:
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_BPS_CHANGE bps=%d", value);
            mCurrentBitRate = value;
            forward(n, value);
            break;
        case DAB_SERVER_NOTIFY_PTY_TYPE_CHANGE:
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_PTY_TYPE_CHANGE ptyType=%d",
                     value);
            mCurrentPtyType = value;
            forward(n, value);
            break;
        case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE:
        case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE:
        case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE: handleLabelChange(n, value); break;
        case DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE: handleCompTotalChange(value); break;
        case DAB_SERVER_NOTIFY_COMP_NUM_CHANGE: handleCompNumChange(value); break;
        case DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE: handleDynamicTextUpdate(value); break;
        case DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE: handlePresetItem(); break;
        case DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE: handleTotalTimeChange(value); break;
        case DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE: handleCacheTimeChange(value); break;
        case DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE: handlePauseTimeChange(value); break;
        case DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE: handlePlaybackStatusChange(value); break;
        case DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT:
        case DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE:
        case DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE:
        case DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE:
        case DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE:
        case DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE:
        case DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE: handleServiceListItem(n); break;
        case DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED: handleErrorInfo(value); break;
        case DAB_SERVER_NOTIFY_PRESETLIST_ITEM_UPDATE_REQ: handlePresetListUpdateReq(); break;
        case DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED: handleAntStatus(value); break;
        default: break;  // no translation, or the tuner's ignored id 25
    }
}

int DABPlayerService::setDynamicTextNoData() {
    isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_NO_DATA;
    return 0;
}

void DABPlayerService::handleConnectStatus(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_CONNECT_STATUS status=%d", value);
    mCurrentConnectStatus = value;
    if (mController == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "mController is NULL!");
        return;
    }
    mController->setMediaStatus(value != 0 ? 1 : 2);
}

void DABPlayerService::handleBandChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_BAND_CHANGE band=%d", value);
    mCurrentBand = value;
    forward(DAB_SERVER_NOTIFY_BAND_CHANGE, value);
    const int pch = mDabLib.getPchNum();
    if (pch == 0) {
        forward(DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, -1);
    } else {
        forward(DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, presetPosition(mDabLib.getBand(), pch));
    }
    if (isBusy(isInSwitchBand)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    }
    if (isBusy(isInPresetUpDown)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    }
}

void DABPlayerService::handlePresetNumChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE presetNum=%d",
             value);
    mDumpPresetNum = value;
    publishPresetStationNumber(value);
    if (value == 0) {
        forward(DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, -1);
        return;
    }
    forward(DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, presetPosition(mDabLib.getBand(), value));
    if (isBusy(isInPresetUpDown)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    }
    if (isBusy(isInSwitchBand)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    }
}

void DABPlayerService::handleLogicModeChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE logicMode=%d",
             value);
    DAB_LOGD(DAB_TAG_PLAYER, "DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE =%d %d %d %d %d", isInPresetUpDown.load(),
             isInManualUPDownInFreqExtend.load(), isInSwitchBand.load(), isInSourceOnDelay.load(), isInSeekCancel.load());
    setDynamicTextNoData();

    if (value == EN_DAB_LM_SERLIST_UPDATE) {
        // The tuner has one mode for both kinds of list update; clients tell them apart.
        if (mIsHandServiceListUpdate == 1) {
            DAB_LOGD(DAB_TAG_PLAYER, "mCurrentLogicMode = EN_DAB_LM_HAND_SERLIST_UPDATE");
            setLogicMode(EN_DAB_LM_HAND_SERLIST_UPDATE);
        } else if (mIsHandServiceListUpdate == 0) {
            DAB_LOGD(DAB_TAG_PLAYER, "mCurrentLogicMode = EN_DAB_LM_AUTO_SERLIST_UPDATE");
            setLogicMode(EN_DAB_LM_AUTO_SERLIST_UPDATE);
            forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, EN_DAB_LM_AUTO_SERLIST_UPDATE);
        }
    } else {
        setLogicMode(value);
    }

    const int mode = mCurrentLogicMode;
    if (mode == EN_DAB_LM_SEEK_UP || mode == EN_DAB_LM_SEEK_DOWN ||
        mode == EN_DAB_LM_HAND_SERLIST_UPDATE || mode == EN_DAB_LM_AUTO_SERLIST_UPDATE) {
        // The text of a station passed over must not stay on the head unit.
        publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR);
        mDynamicTextPublishEnabled = 0;
    }
    if (mode == EN_DAB_LM_NORMAL) {
        mCurrentInfoType = DAB_SERVER_INFO_TYPE_FREQ;
        publishDabLabel(DAB_SERVER_INFO_TYPE_FREQ);
        forward(DAB_SERVER_NOTIFY_FREQ_CHANGE, mCurrentBlockId);
        mIsHandServiceListUpdate = 0;
        mDynamicTextPublishEnabled = 1;
        if (mDabLib.getErrorInfo() == EN_DAB_ERROR_INFO_NO_ERROR) {
            publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA);
        }
    }
    // A busy operation of the service reports its own pseudo mode instead.
    if (!isBusy(isInPresetUpDown) && !isBusy(isInSwitchBand) && !isBusy(isInSourceOnDelay) &&
        !isBusy(isInSeekCancel) && !isBusy(isInManualUPDownInFreqExtend)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, mCurrentLogicMode);
    }
}

void DABPlayerService::handleFreqChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_FREQ_CHANGE blockId=%d", value);
    if (!DABChannelTable::isValidBlockId(value)) return;
    mCurrentBlockId = value;
    setDynamicTextNoData();

    const int mode = mDabLib.getLogicMode();
    if (mode == EN_DAB_LM_SEEK_UP || mode == EN_DAB_LM_SEEK_DOWN || mode == EN_DAB_LM_SERLIST_UPDATE ||
        mode == EN_DAB_LM_HAND_SERLIST_UPDATE || mode == EN_DAB_LM_AUTO_SERLIST_UPDATE) {
        const double now = monotonicNowMs();
        if (now - sLastFreqNotifyMs >= kFreqNotifyIntervalMs) {
            sLastFreqNotifyMs = now;
            forward(DAB_SERVER_NOTIFY_FREQ_CHANGE, mCurrentBlockId);
        }
        if (now - sLastFreqLabelMs < kFreqLabelIntervalMs) return;
        sLastFreqLabelMs = now;
        mCurrentInfoType = DAB_SERVER_INFO_TYPE_FREQ;
        publishDabLabel(DAB_SERVER_INFO_TYPE_FREQ);
        return;
    }
    // Ordinary listening: the next run of the tuner starts the throttle afresh.
    sLastFreqNotifyMs = 0.0;
    sLastFreqLabelMs = 0.0;
    forward(DAB_SERVER_NOTIFY_FREQ_CHANGE, mCurrentBlockId);
    mCurrentInfoType = DAB_SERVER_INFO_TYPE_FREQ;
    publishDabLabel(DAB_SERVER_INFO_TYPE_FREQ);
}

void DABPlayerService::handleLabelChange(int notifyId, int /*value*/) {
    const LabelKind* kind = labelKindOf(notifyId);
    if (kind == nullptr) return;
    DAB_LOGD(DAB_TAG_PLAYER, "%s", kind->received);

    ST_DAB_TITLE_TEXT title;
    memset(&title, 0, sizeof(title));
    mDabLib.getTitleData(kind->textType, &title);
    if (kind->textType == EN_DAB_TEXT_TYPE_COMPONENT) {
        char text[kTitleTextSize + 1];
        memcpy(text, title.text, kTitleTextSize);
        text[kTitleTextSize] = '\0';
        DAB_LOGD(DAB_TAG_PLAYER, "compLabel=%d, compLabel=%s", static_cast<int>(title.charset), text);
    }
    if (titleHasNoData(title.text)) {
        DAB_LOGD(DAB_TAG_PLAYER, "%s", kind->noData);
        return;
    }
    const int code = toCodeConverType(static_cast<int>(title.charset));
    if (code == DAB_SERVER_CODE_CONVER_NONE) return;
    bool failed = true;
    String8 s = CodeConver::convertToTargetString(title.text, static_cast<int>(kTitleTextSize),
                                                  static_cast<EN_CODE_CONVER>(code), failed,
                                                  static_cast<EN_CODE_CONVERT_LANGUAGE>(0));
    if (failed) return;
    logLabelSize(notifyId, static_cast<int>(s.length()));

    mDumpLabelCharset[kind->textType == EN_DAB_TEXT_TYPE_ENSEMBLE  ? 0
                      : kind->textType == EN_DAB_TEXT_TYPE_SERVICE ? 1
                                                                   : 2] =
            static_cast<int>(title.charset);
    char* field = notifyId == DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE  ? mEnsembleLabel
                  : notifyId == DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE ? mServiceLabel
                                                                       : mCompLabel;
    {
        // Publishing reads the labels under this lock on other threads; never call out here.
        Mutex::Autolock lock(mPublishLock);
        storeCut(field, kLabelMax, s);
    }
    forwardText(this, notifyId, s.string());
    // A more general label never replaces a more specific one on the head unit.
    if (mCurrentInfoType <= kind->infoType) {
        mCurrentInfoType = kind->infoType;
        publishDabLabel(kind->infoType);
    }
}

void DABPlayerService::handleCompTotalChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE compTotal=%d",
             value);
    if (value == mCurrentCompTotal) return;
    mCurrentCompTotal = value;
    DAB_LOGD(DAB_TAG_PLAYER, "mCurrentCompTotal=%d", value);
    if (isBusy(isInSwitchBand)) return;
    forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, value);
}

void DABPlayerService::handleCompNumChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_COMP_NUM_CHANGE compNum=%d",
             value);
    mCurrentInfoType = DAB_SERVER_INFO_TYPE_NONE;
    const int error = mDabLib.getErrorInfo();
    if (mErrorCheckOnCompNum && value != 0) {
        forward(DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED, error);
    }
    mErrorCheckOnCompNum = 0;
    setDynamicTextNoData();
    if (value == mCurrentCompNum) return;
    mCurrentCompNum = value;
    DAB_LOGD(DAB_TAG_PLAYER, "mCurrentCompNum=%d", value);
    if (isBusy(isInSwitchBand)) return;
    forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, value);
    if (isBusy(isInManualUPDownInFreqExtend)) {
        forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_MANUAL_UPDOWN);
    }
}

void DABPlayerService::handleDynamicTextUpdate(int /*value*/) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE");
    isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_NO_DATA;
    ST_DAB_DLS_TEXT dls;
    memset(&dls, 0, sizeof(dls));
    mDabLib.getDlsData(&dls);

    // The cached text is not terminated; logging goes through a terminated copy.
    char logText[kDynamicTextMax + 1];
    if (dls.segment == 0) {
        memcpy(mDynamicTextCached.text, dls.text, kDlsSegmentSize);
        mDynamicTextCached.charset = static_cast<int>(dls.charset);
        mDynamicTextCached.length = dls.length;
        if (dls.text[0] == 0 && dls.length == 0) {
            DAB_LOGD(DAB_TAG_PLAYER, "dynamic clear case");
            if (mDynamicTextPublishEnabled && mDabLib.getErrorInfo() == EN_DAB_ERROR_INFO_NO_ERROR) {
                publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA);
            }
            forward(DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, 0);
        }
        memcpy(logText, mDynamicTextCached.text, kDynamicTextMax);
        logText[kDynamicTextMax] = '\0';
        DAB_LOGD(DAB_TAG_PLAYER, "llow mDynamicTextCached.text = %s long=%d", logText,
                 mDynamicTextCached.length);
        return;
    }
    if (dls.segment != 1) return;

    memcpy(mDynamicTextCached.text + kDlsSegmentSize, dls.text, kDlsSegmentSize);
    if (memcmp(mDynamicTextCached.text, kNoDataProvided, kTitleTextSize) == 0) {
        if (mDynamicTextPublishEnabled && mDabLib.getErrorInfo() == EN_DAB_ERROR_INFO_NO_ERROR) {
            publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA);
        }
        forward(DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, 0);
    } else {
        isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_HAS_DATA;
        const int code = toCodeConverType(mDynamicTextCached.charset);
        if (code == DAB_SERVER_CODE_CONVER_NONE) return;
        // The length byte comes from the tuner; never read past the 128 cached bytes.
        int length = mDynamicTextCached.length;
        if (length > static_cast<int>(kDynamicTextMax)) length = static_cast<int>(kDynamicTextMax);
        bool failed = true;
        String8 s = CodeConver::convertToTargetString(mDynamicTextCached.text, length,
                                                      static_cast<EN_CODE_CONVER>(code), failed,
                                                      static_cast<EN_CODE_CONVERT_LANGUAGE>(0));
        DAB_LOGD(DAB_TAG_PLAYER, "isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_HAS_DATA size=%d",
                 static_cast<int>(s.length()));
        if (failed) return;
        {
            // Publishing reads the text under this lock on other threads; never call out here.
            Mutex::Autolock lock(mPublishLock);
            storeCut(mDynamicText, kDynamicTextMax, s);
        }
        forwardText(this, DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, s.string());
        if (mDynamicTextPublishEnabled) publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_HAS_DATA);
    }
    memcpy(logText, mDynamicTextCached.text, kDynamicTextMax);
    logText[kDynamicTextMax] = '\0';
    DAB_LOGD(DAB_TAG_PLAYER, "high mDynamicTextCached.text = %s long=%d", logText,
             mDynamicTextCached.length);
}

void DABPlayerService::handleTotalTimeChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE totalTime=%d",
             value);
    mCurrentTotalTime = decodeTsTime(value);
    forward(DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE, mCurrentTotalTime);
    mCurrentPauseTime = decodeTsTime(mDabLib.getTsDelayTime());
    DAB_LOGD(DAB_TAG_PLAYER, "mCurrentPlaybackStatus = %d", mCurrentPlaybackStatus.load());
    if (mCurrentPlaybackStatus == 1 || mCurrentPlaybackStatus == 2) {
        DAB_LOGD(DAB_TAG_PLAYER, "current delay pausetime =%d,play time=%d", mCurrentPauseTime.load(),
                 mCurrentTotalTime.load() - mCurrentPauseTime.load());
        forward(DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE, mCurrentTotalTime - mCurrentPauseTime);
    }
}

void DABPlayerService::handleCacheTimeChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE cacheTime=%d",
             value);
    mCurrentCacheTime = decodeTsTime(value);
    forward(DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE, mCurrentCacheTime);
}

void DABPlayerService::handlePauseTimeChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE pauseTime=%d",
             value);
    mCurrentPauseTime = decodeTsTime(value);
    mCurrentTotalTime = decodeTsTime(mDabLib.getTsAllTime());
    mCurrentPlaybackStatus = mDabLib.getTsStatus();
    DAB_LOGD(DAB_TAG_PLAYER, "DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE mCurrentPlaybackStatus=%d",
             mCurrentPlaybackStatus.load());
    if (mCurrentPlaybackStatus == 1 || mCurrentPlaybackStatus == 3 || mCurrentPlaybackStatus == 4) {
        const int played = mCurrentTotalTime - mCurrentPauseTime;
        DAB_LOGD(DAB_TAG_PLAYER, "tmp=%d pausetime=%d mCurrentTotalTime=%d", played,
                 mCurrentPauseTime.load(), mCurrentTotalTime.load());
        mCurrentPauseTime = played;
        forward(DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE, played);
    }
}

void DABPlayerService::handlePlaybackStatusChange(int value) {
    DAB_LOGD(DAB_TAG_PLAYER,
             "DABPlayer received DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE playbackStatus=%d", value);
    mCurrentPlaybackStatus = value;
    DAB_LOGD(DAB_TAG_PLAYER, "mCurrentPlaybackStatus=%d", value);
    if (value >= 1 && value <= 3) {
        forward(DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE, 1);
    } else if (value == 4) {
        forward(DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE, 2);
    }
}
