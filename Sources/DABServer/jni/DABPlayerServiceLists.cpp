// List requests, list item getters, list recalls and the alphabetical search. Clients count
// positions from 0; the cache, the worker and the tuner count from 1. Binder threads run all
// of these, concurrently with the dispatch that fills the same cache; each cache and worker
// call is atomic on its own, and no lock of the service spans a request's steps.
#include "DABPlayerService.h"

#include "DABChannelTable.h"
#include "DABListProcessThread.h"
#include "DABLog.h"
#include "DABTunerValues.h"
#include "OutputLog.h"

#include <climits>
#include <cstring>

using namespace android;

namespace {

// Cache position of a client position; positions that have none map to 0, which is never cached.
int toCachePosition(int index) { return (index >= 0 && index < INT_MAX) ? index + 1 : 0; }

bool labelIsEmpty(const char (&label)[16]) {
    for (char c : label) {
        if (c != 0) return false;
    }
    return true;
}

// Whether the list being browsed is the one a getter or recall of `kind` works on. The
// alphabetical search reads the service component list.
bool matchesCurrentType(int kind, int current) {
    if (kind == DAB_SERVER_SERVICE_ITEM_COMP) {
        return current == DAB_SERVER_SERVICE_ITEM_COMP ||
               current == DAB_SERVER_SERVICE_ITEM_ABC_SEARCH;
    }
    return current == kind;
}

// Letter of an alphabetical search: 0 to 25 are "A" to "Z", 26 is no letter, anything else
// goes to the tuner as it is.
unsigned char searchLetter(int index) {
    if (index >= 0 && index <= 25) return static_cast<unsigned char>('A' + index);
    if (index == 26) return 0;
    return static_cast<unsigned char>(index);
}

}  // namespace

int DABPlayerService::requestPresetList(int band) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::requestPresetList band=%d", band);
    if (!mIsActive || band < 1 || band > DAB_SERVER_PRESET_BAND_COUNT) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_OUT_OF_RANGE, "in requestPresetList band=%d", band);
        return -1;
    }
    if (mPresetListNotCached[band - 1] == 0) {
        // The client reads the cached presets.
        DAB_LOGD(DAB_TAG_PLAYER, "requestPresetList band%d preset list is cached", band);
        return 0;
    }
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return -1;
    // The preset table is not cleared: each preset is replaced when it arrives.
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{band, 0, 0});
    return 0;
}

void DABPlayerService::sourceOnRequestPresetList() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer sourceOnRequestPresetList");
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) {
        DAB_LOGD(DAB_TAG_PLAYER, "mpListProcessThread is NULL!");
        return;
    }
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1, 0, 0});
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND2, 0, 0});
    worker->requestPresetListItemUpdate(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND3, 0, 0});
}

int DABPlayerService::requestServiceCompList() {
    DAB_LOGD(DAB_TAG_PLAYER, "in requestServiceCompList");
    if (!mIsActive) return -1;
    clearAllTimingStatus();
    mListCountState = 1;
    mListCacher.setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_COMP);
    mListCacher.clearForAllCache();
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return -1;
    worker->requestServiceListItem(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 1, 0});
    return 0;
}

int DABPlayerService::requestEnsembleList() {
    DAB_LOGD(DAB_TAG_PLAYER, "in requestEnsembleList");
    if (!mIsActive) return -1;
    clearAllTimingStatus();
    mListCountState = 1;
    mListCacher.setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_ENSEMBLE);
    mListCacher.clearForAllCache();
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return -1;
    worker->requestServiceListItem(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_ENSEMBLE, 1, 0});
    return 0;
}

int DABPlayerService::requestPTYSecondList(int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "in requestPTYSecondList index=%d", index);
    if (!mIsActive) return -1;
    clearAllTimingStatus();
    mListCountState = 1;
    mListCacher.clearForAllCache();
    const bool known = index >= 0 && index <= 3;
    // An unknown PTY group leaves the browsed list as it was and queues type 0, which the
    // worker ignores.
    if (known) mListCacher.setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO + index);
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return -1;
    const int type = known ? DAB_SERVER_QUEUE_MSG_PTY_NEWSINFO + index : DAB_SERVER_QUEUE_MSG_NONE;
    worker->requestServiceListItem(LIST_QUEUE_MSG{type, 1, 0});
    return 0;
}

int DABPlayerService::requestEnsembleSecondList(int ensembleIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "in requestEnsembleSecondList ensembleIndex=%d", ensembleIndex);
    if (!mIsActive) return -1;
    clearAllTimingStatus();
    mListCountState = 1;
    mListCacher.setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP);
    // The ensemble list stays readable: the client chose the ensemble from it.
    mListCacher.clearServiceListCache();
    ENSEMBLE_LIST_ITEM ensemble;
    memset(&ensemble, 0, sizeof(ensemble));
    if (mListCacher.getCachedEnsembleItem(toCachePosition(ensembleIndex), &ensemble) != 0) {
        return 1;
    }
    mCurrentEnsembleId = ensemble.eid;
    sp<DABListProcessThread> worker = listWorker();
    if (worker == nullptr) return -1;
    worker->requestServiceListItem(
            LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP, 1, ensemble.eid});
    return 0;
}

int DABPlayerService::abcSearch(int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "in abcSearch");
    if (!mIsActive) return -1;
    // Only a complete service component list can be searched: its last entry must be cached.
    const int count = mListCacher.getServiceListCount();
    COMP_LIST_ITEM last;
    memset(&last, 0, sizeof(last));
    if (count == 0 ||
        mListCacher.getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, count, &last) != 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService abcSearch item not exist, return");
        return -1;
    }
    mAbcSearchState = 1;
    mListCountState = 1;
    mListCacher.setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_ABC_SEARCH);
    mDabLib.svcListAbcSearchLabelReq(1, searchLetter(index), 0);
    // Clients learn the outcome from the search result notification only.
    return -1;
}

int DABPlayerService::getListItem(int kind, int index, char* label, int* code) {
    if (!mIsActive || label == nullptr) return -1;
    const bool isServiceList = kind == DAB_SERVER_SERVICE_ITEM_COMP;

    int current = DAB_SERVER_SERVICE_ITEM_NONE;
    if (kind != DAB_SERVER_SERVICE_ITEM_ENSEMBLE) {
        mListCacher.getCurrentCachedServiceItemType(&current);
        if (!matchesCurrentType(kind, current)) {
            if (code != nullptr) *code = DAB_SERVER_CODE_CONVER_NONE;
            if (isServiceList) {
                DAB_LOGD(DAB_TAG_PLAYER, "bRetStatus =%d code=%d", -1, DAB_SERVER_CODE_CONVER_NONE);
            }
            return -1;
        }
    }

    char itemLabel[16];
    int charCode = 0;
    const int position = toCachePosition(index);
    if (kind == DAB_SERVER_SERVICE_ITEM_ENSEMBLE) {
        ENSEMBLE_LIST_ITEM item;
        memset(&item, 0, sizeof(item));
        mListCacher.getCachedEnsembleItem(position, &item);
        memcpy(itemLabel, item.label, sizeof(itemLabel));
        charCode = item.codeTyped;
    } else {
        COMP_LIST_ITEM item;
        memset(&item, 0, sizeof(item));
        // The service component getter reads with the current type, so that a search reads
        // the service component list.
        mListCacher.getCachedServiceItem(isServiceList ? current : kind, position, &item);
        memcpy(itemLabel, item.label, sizeof(itemLabel));
        charCode = item.codeTyped;
    }

    // A position without entry reads as an all-zero label.
    if (labelIsEmpty(itemLabel)) return 1;
    memcpy(label, itemLabel, sizeof(itemLabel));
    const int converted = toCodeConverType(charCode);
    if (code != nullptr) *code = converted;
    if (isServiceList) DAB_LOGD(DAB_TAG_PLAYER, "bRetStatus =%d code=%d", 0, converted);
    return 0;
}

int DABPlayerService::getServiceListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getServiceListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_COMP, index, label, code);
}

int DABPlayerService::getPtyNewsinfoListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPtyNewsinfoListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO, index, label, code);
}

int DABPlayerService::getPtyPopularListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPtyPopularListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, index, label, code);
}

int DABPlayerService::getPtyClassicsListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPtyClassicsListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS, index, label, code);
}

int DABPlayerService::getPtyOthersListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPtyOthersListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_PTY_OTHERS, index, label, code);
}

int DABPlayerService::getEnsembleCompListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getEnsembleCompListItem");
    return getListItem(DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP, index, label, code);
}

int DABPlayerService::getEnsembleListItem(int index, char* label, int* code) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getEnsembleListItem");
    // The ensemble list stays readable whatever list is being browsed.
    return getListItem(DAB_SERVER_SERVICE_ITEM_ENSEMBLE, index, label, code);
}

int DABPlayerService::getPresetListItem(int band, int index, char* label, int* code,
                                        int* labelAvail) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPresetListItem");
    if (!mIsActive || label == nullptr || index < 0 || index >= DAB_SERVER_PRESET_ITEM_COUNT) {
        return -1;
    }
    PRESET_LIST_ITEM preset;
    memset(&preset, 0, sizeof(preset));
    // A band outside 1 to 3 leaves the record zero: it reads as an empty preset.
    mListCacher.getCachedPresetItem(band, index + 1, &preset);
    DAB_LOGD(DAB_TAG_PLAYER, "presetListItem.nm=%d", preset.NM);

    if (preset.labelAvail == 0) {
        // Without a label of its own a preset shows its channel as the display format says.
        DAB_LOGD(DAB_TAG_PLAYER, "getPresetListItem 1");
        if (labelAvail != nullptr) *labelAvail = 0;
        const DAB_CHANNEL_INFO& channel = DABChannelTable::record(preset.NM);
        if (mCurrentDisplayFormat == 1) {
            DAB_LOGD(DAB_TAG_PLAYER, "getPresetListItem 2");
            memcpy(label, channel.freqText, sizeof(channel.freqText));
        } else if (mCurrentDisplayFormat == 2) {
            memcpy(label, channel.label, sizeof(channel.label));
        }
        if (code != nullptr) *code = DAB_SERVER_CODE_CONVER_CHANNEL_TEXT;
    } else {
        DAB_LOGD(DAB_TAG_PLAYER, "getPresetListItem 3");
        if (labelAvail != nullptr) *labelAvail = 1;
        memcpy(label, preset.label, sizeof(preset.label));
        if (code != nullptr) *code = toCodeConverType(preset.charCode);
    }

    if (label[0] == 0 && label[1] == 0 && label[2] == 0 && label[3] == 0) {
        DAB_LOGD(DAB_TAG_PLAYER, "getPresetListItem 4");
        return 1;
    }
    return 0;
}

int DABPlayerService::recallListItem(int kind, int serviceIndex) {
    if (!mIsActive) return -1;
    int current = DAB_SERVER_SERVICE_ITEM_NONE;
    mListCacher.getCurrentCachedServiceItemType(&current);
    if (!matchesCurrentType(kind, current)) return -1;
    COMP_LIST_ITEM item;
    memset(&item, 0, sizeof(item));
    // The service component recall reads with the current type, so that a search result
    // recalls from the service component list.
    const int type = kind == DAB_SERVER_SERVICE_ITEM_COMP ? current : kind;
    if (mListCacher.getCachedServiceItem(type, toCachePosition(serviceIndex), &item) != 0) return 1;
    // An entry is recalled even when its label is empty.
    mDabLib.serviceRecall(item.NM, item.eid, item.sid, item.scid);
    return 0;
}

int DABPlayerService::serviceListRecall(int serviceIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::serviceListRecall,serviceIndex=%d", serviceIndex);
    return recallListItem(DAB_SERVER_SERVICE_ITEM_COMP, serviceIndex);
}

int DABPlayerService::ptyNewsinfoListRecall(int serviceIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::ptyNewsinfoListRecall,serviceIndex=%d",
             serviceIndex);
    return recallListItem(DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO, serviceIndex);
}

int DABPlayerService::ptyPopularListRecall(int serviceIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::ptyPopularListRecall,serviceIndex=%d",
             serviceIndex);
    return recallListItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, serviceIndex);
}

int DABPlayerService::ptyClassicsListRecall(int serviceIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::ptyClassicsListRecall,serviceIndex=%d",
             serviceIndex);
    return recallListItem(DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS, serviceIndex);
}

int DABPlayerService::ptyOthersListRecall(int serviceIndex) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::ptyOthersListRecall,serviceIndex=%d",
             serviceIndex);
    return recallListItem(DAB_SERVER_SERVICE_ITEM_PTY_OTHERS, serviceIndex);
}

int DABPlayerService::ensembleListRecall(int index) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::ensembleListRecall index=%d", index);
    // Entries of an ensemble's component list are tuned to; the ensemble list only chooses.
    return recallListItem(DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP, index);
}
