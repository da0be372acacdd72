// Notification dispatch of list items, preset items, the preset-list update request, the
// reception error state and the antenna status. Everything here runs on the tuner library's
// callback thread, one notification at a time.
#include "DABPlayerService.h"

#include "DABListProcessThread.h"
#include "DABLog.h"

#include <mediadata/MediaDataClient.h>

#include <cstring>

using namespace android;
using media_lib_dab::ST_DAB_PCH_LIST_ITEM;
using media_lib_dab::ST_DAB_SVC_LIST_DATA;

namespace {

// Labels are 16 bytes without a guaranteed terminator; this makes one printable with "%s".
struct PrintableLabel {
    explicit PrintableLabel(const char (&label)[16]) {
        memcpy(text, label, sizeof(label));
        text[sizeof(label)] = '\0';
    }
    char text[17];
};

// One list kind as the dispatch sees it: the cache's service item type, the worker's message
// type, the notify ids of its size and items, and the words of its debug lines.
struct ListKind {
    int kind;
    int msgType;
    int sizeId;
    int itemId;
    const char* words;
};

constexpr ListKind kServiceComp = {DAB_SERVER_SERVICE_ITEM_COMP, DAB_SERVER_QUEUE_MSG_SERVICE_COMP,
                                   DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_COUNT_UPDATE,
                                   DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_ITEM_UPDATE, "service comp"};
constexpr ListKind kPtyNewsinfo = {DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO,
                                   DAB_SERVER_QUEUE_MSG_PTY_NEWSINFO,
                                   DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_COUNT_UPDATE,
                                   DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE, "pty newsinfo"};
constexpr ListKind kPtyPopular = {DAB_SERVER_SERVICE_ITEM_PTY_POPULAR,
                                  DAB_SERVER_QUEUE_MSG_PTY_POPULAR,
                                  DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_COUNT_UPDATE,
                                  DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE, "pty popular"};
constexpr ListKind kPtyClassics = {DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS,
                                   DAB_SERVER_QUEUE_MSG_PTY_CLASSICS,
                                   DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_COUNT_UPDATE,
                                   DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE, "pty classics"};
constexpr ListKind kPtyOthers = {DAB_SERVER_SERVICE_ITEM_PTY_OTHERS,
                                 DAB_SERVER_QUEUE_MSG_PTY_OTHERS,
                                 DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_COUNT_UPDATE,
                                 DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE, "pty others"};
constexpr ListKind kEnsembleComp = {DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP,
                                    DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP,
                                    DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_COUNT_UPDATE,
                                    DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE,
                                    "ensemble comp"};
constexpr ListKind kEnsemble = {DAB_SERVER_SERVICE_ITEM_ENSEMBLE, DAB_SERVER_QUEUE_MSG_ENSEMBLE,
                                DAB_SERVER_NOTIFY_ENSEMBLE_LIST_COUNT_UPDATE,
                                DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE, "ensemble"};

// The kind of a list item notify id other than 23 (which depends on the cache), or null.
const ListKind* kindForNotifyId(int notifyId) {
    switch (notifyId) {
        case DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE: return &kPtyNewsinfo;
        case DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE: return &kPtyPopular;
        case DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE: return &kPtyClassics;
        case DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE: return &kPtyOthers;
        case DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE: return &kEnsembleComp;
        case DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE: return &kEnsemble;
        default: return nullptr;
    }
}

// The last list size received per kind (service item types 1 to 8), for the whole process.
// Tuner callback thread only; the lists keep their last size across requests and activations.
int sListCount[DAB_SERVER_SERVICE_ITEM_ABC_SEARCH] = {1, 1, 1, 1, 1, 1, 1, 1};
// Bands completed outside the source-on phase while a preset memory runs. Tuner callback
// thread only.
int sPresetMemoryBandCount = 0;

int& listCountOf(int kind) { return sListCount[kind - 1]; }

bool isAntennaFault(int status) { return status >= 3 && status <= 5; }

void logListCount(int kind, int count) {
    switch (kind) {
        case DAB_SERVER_SERVICE_ITEM_COMP:
            DAB_LOGD(DAB_TAG_PLAYER, "service comp list count update compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO:
            DAB_LOGD(DAB_TAG_PLAYER, "pty newsinfo list count update compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_POPULAR:
            DAB_LOGD(DAB_TAG_PLAYER, "pty popular list count update compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS:
            DAB_LOGD(DAB_TAG_PLAYER, "pty classics list count update compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_OTHERS:
            DAB_LOGD(DAB_TAG_PLAYER, "pty others list count update compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP:
            DAB_LOGD(DAB_TAG_PLAYER, "emsemble comp count update, compCount=%d", count);
            break;
        case DAB_SERVER_SERVICE_ITEM_ENSEMBLE:
            DAB_LOGD(DAB_TAG_PLAYER, "ensemble list count update ensembleCount=%d", count);
            break;
        default:
            break;
    }
}

void logListItemUpdate(int kind, int index) {
    switch (kind) {
        case DAB_SERVER_SERVICE_ITEM_COMP:
            DAB_LOGD(DAB_TAG_PLAYER, "service comp list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO:
            DAB_LOGD(DAB_TAG_PLAYER, "pty newsinfo list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_POPULAR:
            DAB_LOGD(DAB_TAG_PLAYER, "pty popular list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS:
            DAB_LOGD(DAB_TAG_PLAYER, "pty classics list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_PTY_OTHERS:
            DAB_LOGD(DAB_TAG_PLAYER, "pty others list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP:
            DAB_LOGD(DAB_TAG_PLAYER, "ensemble comp list item update index=%d", index);
            break;
        case DAB_SERVER_SERVICE_ITEM_ENSEMBLE:
            DAB_LOGD(DAB_TAG_PLAYER, "ensemble list item update index=%d", index);
            break;
        default:
            break;
    }
}

// The tuner's list record, field by field, under the words of its list.
void logSvcRecord(const char* words, const ST_DAB_SVC_LIST_DATA& rec) {
    const PrintableLabel label(rec.label);
    DAB_LOGD(DAB_TAG_PLAYER, "%s valid=0x%x", words, rec.valid);
    DAB_LOGD(DAB_TAG_PLAYER, "%s curnum_all=0x%x", words, rec.curnum_all);
    DAB_LOGD(DAB_TAG_PLAYER, "%s curnum_pos=0x%x", words, rec.curnum_pos);
    DAB_LOGD(DAB_TAG_PLAYER, "%s listnum_all=0x%x", words, rec.listnum_all);
    DAB_LOGD(DAB_TAG_PLAYER, "%s listnum_pos=0x%x", words, rec.listnum_pos);
    DAB_LOGD(DAB_TAG_PLAYER, "%s NM=0x%x", words, rec.NM);
    DAB_LOGD(DAB_TAG_PLAYER, "%s eid=0x%x", words, rec.eid);
    DAB_LOGD(DAB_TAG_PLAYER, "%s sid=0x%x", words, rec.sid);
    DAB_LOGD(DAB_TAG_PLAYER, "%s scid=0x%x", words, rec.scid);
    DAB_LOGD(DAB_TAG_PLAYER, "%s codeTyped=0x%x", words, rec.codeTyped);
    DAB_LOGD(DAB_TAG_PLAYER, "%s label=%s", words, label.text);
}

// Band 1 to 3 of a preset record's band code; 3 means the band the tuner is on.
int bandOfCode(uint32_t code, media_lib_dab::DABLibIF& lib) {
    switch (code) {
        case 0: return 1;
        case 1: return 2;
        case 2: return 3;
        case 3: return lib.getBand();
        default: return 0;
    }
}

}  // namespace

int DABPlayerService::PresetListRcvItemHandle() {
    ST_DAB_PCH_LIST_ITEM rec;
    memset(&rec, 0, sizeof(rec));
    mDabLib.getPchListItem(&rec);

    PRESET_LIST_ITEM item;
    memset(&item, 0, sizeof(item));
    if (rec.labelValid == 1) memcpy(item.label, rec.label, sizeof(item.label));
    item.band = bandOfCode(rec.band, mDabLib);
    item.item_index = rec.pchNum;
    item.NM = rec.nm;
    item.labelAvail = rec.labelValid;
    item.charCode = static_cast<int32_t>(rec.labelEncode);

    DAB_LOGD(DAB_TAG_PLAYER, "preset item label valid=0x%x", rec.labelValid);
    DAB_LOGD(DAB_TAG_PLAYER, "preset item bande=0x%x", rec.band);
    DAB_LOGD(DAB_TAG_PLAYER, "preset item pch num=0x%x", rec.pchNum);
    DAB_LOGD(DAB_TAG_PLAYER, "preset item nm=0x%x", rec.nm);
    DAB_LOGD(DAB_TAG_PLAYER, "preset item label encode=0x%x", rec.labelEncode);
    if (rec.labelValid != 0) {
        const PrintableLabel label(rec.label);
        DAB_LOGD(DAB_TAG_PLAYER, "preset item label=%s", label.text);
    }

    if (item.NM < 13 || item.NM > 76) {
        DAB_LOGD(DAB_TAG_PLAYER, "PresetListRcvItemHandle stPresetListItem.nm out");
        return -1;
    }
    if (item.band < 1 || item.band > DAB_SERVER_PRESET_BAND_COUNT) {
        DAB_LOGD(DAB_TAG_PLAYER, "PresetListRcvItemHandle stPresetListItem.band out");
        return -1;
    }
    if (item.item_index < 1 || item.item_index > DAB_SERVER_PRESET_ITEM_COUNT) {
        DAB_LOGD(DAB_TAG_PLAYER, "PresetListRcvItemHandle stPresetListItem.item_index out");
        return -1;
    }

    exeNotify(DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE, item.band, item.item_index - 1, nullptr);
    DAB_LOGD(DAB_TAG_PLAYER, "preset item update band=%d,index=%d", item.band, item.item_index);

    if (mListCacher.cachePresetItem(item.band, &item) != 0) return -1;
    mPresetReceived[item.band - 1][item.item_index - 1] = 1;
    return 0;
}

bool DABPlayerService::checkPresetListBandFinished(LIST_QUEUE_MSG& msg) {
    for (int b = 0; b < DAB_SERVER_PRESET_BAND_COUNT; ++b) {
        bool complete = true;
        for (int i = 0; i < DAB_SERVER_PRESET_ITEM_COUNT; ++i) {
            if (mPresetReceived[b][i] == 0) {
                complete = false;
                break;
            }
        }
        if (!complete) continue;
        // The band number is the worker's message type of that band's preset list.
        msg.msgType = b + 1;
        msg.itemIndex = 0;
        memset(mPresetReceived[b], 0, sizeof(mPresetReceived[b]));
        mPresetListNotCached[b] = 0;
        return true;
    }
    return false;
}

sp<DABListProcessThread> DABPlayerService::receivePresetItem() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer preset list notify from dab lib");
    if (PresetListRcvItemHandle() != 0) return nullptr;
    LIST_QUEUE_MSG msg = {0, 0, 0};
    if (!checkPresetListBandFinished(msg)) return nullptr;

    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "mpListProcessThread is NULL!");
        return nullptr;
    }
    worker->listItemCachedFinished(LIST_QUEUE_MSG{msg.msgType, 0, 0});
    return worker;
}

void DABPlayerService::handlePresetItemSourceOn() {
    sp<DABListProcessThread> worker = receivePresetItem();
    if (worker == nullptr) return;

    if (++mPresetListNotifyCount == DAB_SERVER_PRESET_BAND_COUNT) {
        // All three bands arrived: the source-on delay lasts until its wait event ends.
        mFlagReqPrestListSourceOn = 0;
        isInSourceOnDelay = DAB_SERVER_IS_IN_PRESET_UPDOWN;
        worker->requestWaitEvent(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_WAIT_SOURCE_ON, 0, 0});
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer set mFlagReqPrestListSourceOn = 0");
    }
}

void DABPlayerService::handlePresetItem() {
    sp<DABListProcessThread> worker = receivePresetItem();
    if (worker == nullptr) return;

    if (isInPresetMemoryExtend != DAB_SERVER_IS_IN_PRESET_UPDOWN) return;
    if (++sPresetMemoryBandCount < DAB_SERVER_PRESET_BAND_COUNT) return;
    // The stored preset is in all three lists: the memory operation turns into a preset
    // up/down busy period that the wait event ends.
    isInPresetMemoryExtend = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    forward(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, DAB_SERVER_LOGIC_MODE_PRESET_BUSY);
    if (worker->requestWaitEvent(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN, 0, 0}) ==
        0) {
        isInPresetUpDown = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    }
    sPresetMemoryBandCount = 0;
}

void DABPlayerService::handlePresetListUpdateReq() {
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "mpListProcessThread is NULL!");
        return;
    }
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_PRESETLIST_ITEM_UPDATE_REQ");
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1, 0, 0});
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND2, 0, 0});
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND3, 0, 0});
}

void DABPlayerService::handleServiceListItem(int notifyId) {
    const ListKind* kind = nullptr;
    if (notifyId == DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT) {
        // Id 23 serves the service component list and the alphabetical search alike.
        int current = DAB_SERVER_SERVICE_ITEM_NONE;
        if (mListCacher.getCurrentCachedServiceItemType(&current) != 0) return;
        if (current == DAB_SERVER_SERVICE_ITEM_ABC_SEARCH) {
            handleAbcSearchResult();
            return;
        }
        if (current != DAB_SERVER_SERVICE_ITEM_COMP) return;
        kind = &kServiceComp;
    } else {
        kind = kindForNotifyId(notifyId);
        if (kind == nullptr) return;
    }
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received list item notify id=%d", notifyId);

    ST_DAB_SVC_LIST_DATA rec;
    memset(&rec, 0, sizeof(rec));
    mDabLib.getSvcListItem(&rec);
    sp<DABListProcessThread> worker = listWorker();

    if (mListCountState == 1) {
        // The first item after a request carries the list's size: queue the rest, newest
        // first, so that the worker asks for 2, 3, ..., n.
        const int n = rec.curnum_all;
        listCountOf(kind->kind) = n;
        if (worker != nullptr && n != 0) {
            const uint32_t param =
                    kind->kind == DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP ? mCurrentEnsembleId.load() : 0;
            for (int i = n; i >= 2; --i) {
                worker->requestServiceListItem(LIST_QUEUE_MSG{kind->msgType, i, param});
            }
        }
        if (kind->kind == DAB_SERVER_SERVICE_ITEM_COMP) mListCacher.setServiceListCount(n);
        forward(kind->sizeId, n);
        mListCountState = 2;
        logListCount(kind->kind, n);
    }

    if (listCountOf(kind->kind) == 0) {
        // An empty list: only the worker's wait for item 1 is to be ended.
        if (worker != nullptr) worker->listItemCachedFinished(LIST_QUEUE_MSG{kind->msgType, 1, 0});
        return;
    }

    logSvcRecord(kind->words, rec);
    if (kind->kind == DAB_SERVER_SERVICE_ITEM_ENSEMBLE) {
        ENSEMBLE_LIST_ITEM item;
        memset(&item, 0, sizeof(item));
        memcpy(item.label, rec.label, sizeof(item.label));
        item.index = rec.curnum_pos;
        item.NM = rec.NM;
        item.eid = rec.eid;
        item.codeTyped = static_cast<int32_t>(rec.codeTyped);
        mListCacher.cacheEnsembleItem(&item);
    } else {
        COMP_LIST_ITEM item;
        memset(&item, 0, sizeof(item));
        memcpy(item.label, rec.label, sizeof(item.label));
        item.index = rec.curnum_pos;
        item.NM = rec.NM;
        item.eid = rec.eid;
        item.sid = rec.sid;
        item.scid = static_cast<uint8_t>(rec.scid & 0xFF);
        item.codeTyped = static_cast<int32_t>(rec.codeTyped);
        mListCacher.cacheServiceItem(kind->kind, &item);
    }

    if (rec.curnum_pos > 0) forward(kind->itemId, rec.curnum_pos - 1);
    logListItemUpdate(kind->kind, rec.curnum_pos);
    if (worker != nullptr) {
        worker->listItemCachedFinished(LIST_QUEUE_MSG{kind->msgType, rec.curnum_pos, 0});
    }
}

void DABPlayerService::handleAbcSearchResult() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer received DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT");
    ST_DAB_SVC_LIST_DATA rec;
    memset(&rec, 0, sizeof(rec));
    mDabLib.getSvcListItem(&rec);

    if (mListCountState == 1) {
        const int r = rec.listnum_pos;
        listCountOf(DAB_SERVER_SERVICE_ITEM_ABC_SEARCH) = r;
        // A cancelled search still consumes its answer, but clients no longer hear of it.
        const bool cancelled = mAbcSearchState == 2;
        if (r == 0) {
            if (!cancelled) forward(DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND, 0);
            DAB_LOGD(DAB_TAG_PLAYER, "notify ui DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND");
        } else if (!cancelled) {
            forward(DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT, r - 1);
        }
        mListCountState = 2;
    }
    logSvcRecord("abc search", rec);
}

void DABPlayerService::handleErrorInfo(int value) {
    mCurrentErrorType = value;
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED %d", value);
    forward(DAB_SERVER_NOTIFY_ERROR_INFO_UPDATE, mCurrentErrorType);

    if (mCurrentFmLink == 2) {
        DAB_LOGD(DAB_TAG_PLAYER, "2 == mCurrentFmLink");
        forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, 0);
        forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, 0);
    }
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED errorCurPublished = %d",
             errorCurPublished.load());

    if (mCurrentErrorType != media_lib_dab::EN_DAB_ERROR_INFO_NO_ERROR) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer mCurrentErrorType != EN_DAB_ERROR_INFO_NO_ERROR");
        // The head unit falls back to the channel block label while reception is bad.
        mCurrentInfoType = DAB_SERVER_INFO_TYPE_FREQ;
        publishDabLabel(DAB_SERVER_INFO_TYPE_FREQ);
        publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR);
        mErrorCheckOnCompNum = 0;
    } else {
        publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA);
        errorCurPublished = DAB_SERVER_ERROR_LEVEL_NONE;
        DAB_LOGD(DAB_TAG_PLAYER, "mCurrentErrorType =%d,errorCurPublished=%d", mCurrentErrorType.load(),
                 errorCurPublished.load());
        const int num = mDabLib.getComponentNum();
        const int total = mDabLib.getComponentTotal();
        forward(DAB_SERVER_NOTIFY_COMP_NUM_CHANGE, num);
        forward(DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE, total);
    }

    if (mediaDataClient() != nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer  mMediaDataClient");
        // A level is published only when it is not lower than the one last published.
        if (mCurrentErrorType == media_lib_dab::EN_DAB_ERROR_INFO_TYPE1 &&
            errorCurPublished <= DAB_SERVER_ERROR_LEVEL_TYPE1) {
            DAB_LOGD(DAB_TAG_PLAYER, "mCurrentErrorType =%d,errorCurPublished=%d",
                     mCurrentErrorType.load(), errorCurPublished.load());
            errorCurPublished = DAB_SERVER_ERROR_LEVEL_TYPE1;
            publishErrorLevel(DAB_SERVER_ERROR_LEVEL_TYPE1);
        } else if (mCurrentErrorType == media_lib_dab::EN_DAB_ERROR_INFO_TYPE2 &&
                   errorCurPublished <= DAB_SERVER_ERROR_LEVEL_TYPE2) {
            DAB_LOGD(DAB_TAG_PLAYER, "mCurrentErrorType =%d,errorCurPublished=%d",
                     mCurrentErrorType.load(), errorCurPublished.load());
            errorCurPublished = DAB_SERVER_ERROR_LEVEL_TYPE2;
            publishErrorLevel(DAB_SERVER_ERROR_LEVEL_TYPE2);
        }
    }

    // While a tuning operation is busy, clients get the error only as the raw update.
    if (isInSwitchBand != DAB_SERVER_IS_IN_PRESET_UPDOWN &&
        isInPresetUpDown != DAB_SERVER_IS_IN_PRESET_UPDOWN &&
        isInManualUPDownInFreqExtend != DAB_SERVER_IS_IN_PRESET_UPDOWN &&
        isInPresetMemoryExtend != DAB_SERVER_IS_IN_PRESET_UPDOWN &&
        isInSourceOnDelay != DAB_SERVER_IS_IN_PRESET_UPDOWN) {
        forward(DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED, mCurrentErrorType);
    }
}

void DABPlayerService::handleAntStatus(int value) {
    mCurrentAntStatus = value;
    DAB_LOGD(DAB_TAG_PLAYER, "mCurrentAntStatus=%d", mCurrentAntStatus.load());
    forward(DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED, isAntennaFault(value) ? 1 : 2);

    if ((value == 1 || value == 2) && errorCurPublished == DAB_SERVER_ERROR_LEVEL_ANTENNA) {
        // Recovery is not published; it only frees the level for later errors.
        errorCurPublished = DAB_SERVER_ERROR_LEVEL_NONE;
        DAB_LOGD(DAB_TAG_PLAYER, "mCurrentAntStatus =%d,errorCurPublished=%d", mCurrentAntStatus.load(),
                 errorCurPublished.load());
    }
    if (isAntennaFault(value) && errorCurPublished <= DAB_SERVER_ERROR_LEVEL_ANTENNA &&
        mediaDataClient() != nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "mCurrentAntStatus =%d,errorCurPublished=%d", mCurrentAntStatus.load(),
                 errorCurPublished.load());
        errorCurPublished = DAB_SERVER_ERROR_LEVEL_ANTENNA;
        publishErrorLevel(DAB_SERVER_ERROR_LEVEL_ANTENNA);
    }
}
