#include "DABListCacher.h"

#include <string.h>

#include "DABLog.h"

namespace {

// Labels are 16 bytes without a guaranteed terminator; this makes one printable with "%s".
struct PrintableLabel {
    explicit PrintableLabel(const char (&label)[16]) {
        memcpy(text, label, sizeof(label));
        text[sizeof(label)] = '\0';
    }
    char text[17];
};

bool isValidBand(int band) {
    return band >= 1 && band <= DAB_SERVER_PRESET_BAND_COUNT;
}

bool isValidPresetIndex(int index) {
    return index >= 1 && index <= DAB_SERVER_PRESET_ITEM_COUNT;
}

}  // namespace

DABListCacher::DABListCacher()
    : mServiceListCount(0), mCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_NONE) {
    // The cache lives as a member and is never strongly referenced; with weak lifetime RefBase
    // frees its reference bookkeeping when the member is destroyed instead of leaking it.
    extendObjectLifetime(OBJECT_LIFETIME_WEAK);
    memset(mPresetTable, 0, sizeof(mPresetTable));
}

DABListCacher::~DABListCacher() {}

void DABListCacher::clearPresetListCache() {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::clearPresetListCache");
    android::Mutex::Autolock lock(mCacheLock);
    memset(mPresetTable, 0, sizeof(mPresetTable));
}

void DABListCacher::clearForAllCache() {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::clearForAllCache");
    android::Mutex::Autolock lock(mCacheLock);
    mServiceListCount = 0;
    for (ServiceList& list : mServiceLists) {
        list.clear();
    }
    mEnsembleList.clear();
}

void DABListCacher::clearServiceListCache() {
    android::Mutex::Autolock lock(mCacheLock);
    mServiceListCount = 0;
    for (ServiceList& list : mServiceLists) {
        list.clear();
    }
}

int DABListCacher::cachePresetItem(int band, const PRESET_LIST_ITEM* item) {
    if (item == nullptr) {
        DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cachePresetItem band=%d,title=%s", band, "");
        return -1;
    }
    const PrintableLabel title(item->label);
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cachePresetItem band=%d,title=%s", band, title.text);
    android::Mutex::Autolock lock(mCacheLock);
    if (!isValidPresetIndex(item->item_index) || !isValidBand(band)) {
        return -1;
    }
    mPresetTable[band - 1][item->item_index - 1] = *item;
    return 0;
}

int DABListCacher::getCachedPresetItem(int band, int index, PRESET_LIST_ITEM* out) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::getCachedPresetItem band=%d,index=%d", band, index);
    android::Mutex::Autolock lock(mCacheLock);
    if (!isValidPresetIndex(index) || out == nullptr) {
        return -1;
    }
    int result = -1;
    if (isValidBand(band)) {
        *out = mPresetTable[band - 1][index - 1];
        result = 0;
    }
    // A refused band still reports what out holds, so the trace shows what the caller reads.
    DAB_LOGD(DAB_TAG_LIST, "getCachedPresetItem NM=%d", out->NM);
    DAB_LOGD(DAB_TAG_LIST, "getCachedPresetItem band=%d", out->band);
    DAB_LOGD(DAB_TAG_LIST, "getCachedPresetItem item_index=%d", out->item_index);
    DAB_LOGD(DAB_TAG_LIST, "getCachedPresetItem charCode=%d", out->charCode);
    DAB_LOGD(DAB_TAG_LIST, "getCachedPresetItem labelAvail=%d", out->labelAvail);
    return result;
}

void DABListCacher::cacheEnsembleItem(const ENSEMBLE_LIST_ITEM* item) {
    if (item == nullptr) {
        DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cacheEnsembleItem title=%s", "");
        return;
    }
    const PrintableLabel title(item->label);
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cacheEnsembleItem title=%s", title.text);
    android::Mutex::Autolock lock(mCacheLock);
    // The sorted vector's add replaces an entry with the same key.
    mEnsembleList.add(item->index, *item);
}

int DABListCacher::getCachedEnsembleItem(int index, ENSEMBLE_LIST_ITEM* out) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::getCachedEnsembleItem index=%d", index);
    android::Mutex::Autolock lock(mCacheLock);
    const ssize_t pos = mEnsembleList.indexOfKey(index);
    if (pos < 0 || out == nullptr) {
        return 1;
    }
    *out = mEnsembleList.valueAt(static_cast<size_t>(pos));
    return 0;
}

DABListCacher::ServiceList* DABListCacher::serviceListFor(int type) {
    if (type == DAB_SERVER_SERVICE_ITEM_ABC_SEARCH) {
        type = DAB_SERVER_SERVICE_ITEM_COMP;
    }
    if (type < 1 || type > kServiceListCount) {
        return nullptr;
    }
    return &mServiceLists[type - 1];
}

void DABListCacher::cacheServiceItem(int type, const COMP_LIST_ITEM* item) {
    if (item == nullptr) {
        DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cacheServiceItem type=%d,title=%s", type, "");
        return;
    }
    const PrintableLabel title(item->label);
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::cacheServiceItem type=%d,title=%s", type, title.text);
    android::Mutex::Autolock lock(mCacheLock);
    mCurrentCachedServiceItemType = type;
    // Only types 1 to 6 own a list; an alphabetical search never delivers items of its own.
    if (type >= 1 && type <= kServiceListCount) {
        mServiceLists[type - 1].add(item->index, *item);
    }
}

int DABListCacher::getCachedServiceItem(int type, int index, COMP_LIST_ITEM* out) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::getCachedServiceItem type=%d,index=%d", type, index);
    android::Mutex::Autolock lock(mCacheLock);
    const ServiceList* list = serviceListFor(type);
    if (list == nullptr || out == nullptr) {
        return 1;
    }
    const ssize_t pos = list->indexOfKey(index);
    if (pos < 0) {
        return 1;
    }
    *out = list->valueAt(static_cast<size_t>(pos));
    return 0;
}

int DABListCacher::getCurrentCachedServiceItemType(int* type) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::getCurrentCachedServiceItemType");
    android::Mutex::Autolock lock(mCacheLock);
    if (mCurrentCachedServiceItemType == DAB_SERVER_SERVICE_ITEM_NONE || type == nullptr) {
        return 1;
    }
    *type = mCurrentCachedServiceItemType;
    return 0;
}

int DABListCacher::setCurrentCachedServiceItemType(int type) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::setCurrentCachedServiceItemType type=%d", type);
    android::Mutex::Autolock lock(mCacheLock);
    if (type == DAB_SERVER_SERVICE_ITEM_NONE) {
        return -1;
    }
    mCurrentCachedServiceItemType = type;
    return 0;
}

void DABListCacher::setServiceListCount(int count) {
    DAB_LOGD(DAB_TAG_LIST, "DABListCacher::setServiceListCount iListItemCount=%d", count);
    android::Mutex::Autolock lock(mCacheLock);
    mServiceListCount = count;
}

int DABListCacher::getServiceListCount() {
    android::Mutex::Autolock lock(mCacheLock);
    return mServiceListCount;
}

void DABListCacher::summary(Summary* out) {
    android::Mutex::Autolock lock(mCacheLock);
    for (int band = 0; band < DAB_SERVER_PRESET_BAND_COUNT; ++band) {
        int32_t n = 0;
        for (int i = 0; i < DAB_SERVER_PRESET_ITEM_COUNT; ++i) {
            if (mPresetTable[band][i].item_index != 0) ++n;
        }
        out->presetItems[band] = n;
    }
    out->currentType = mCurrentCachedServiceItemType;
    out->listCount = mServiceListCount;
    out->serviceItems[0] = 0;
    for (int type = 1; type <= kServiceListCount; ++type) {
        out->serviceItems[type] = static_cast<int32_t>(mServiceLists[type - 1].size());
    }
    out->ensembleItems = static_cast<int32_t>(mEnsembleList.size());
}
