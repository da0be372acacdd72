#ifndef DAB_SERVER_DABLISTCACHER_H
#define DAB_SERVER_DABLISTCACHER_H

#include <stdint.h>

#include <type_traits>

#include <utils/KeyedVector.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>

// Cached list records. They live only in memory and are copied by value; the tuner's list
// notifications fill them zeroed first. Labels are 16 bytes and need not be NUL-terminated.

// One preset of one band.
struct PRESET_LIST_ITEM {
    char label[16];      // all zero when the tuner marked the label invalid
    int32_t band;        // 1 to 3
    int32_t item_index;  // preset number 1 to 6
    int32_t NM;          // channel block id
    int32_t labelAvail;  // 1 = label present
    int32_t charCode;    // character code of the label
};

// One entry of the ensemble list.
struct ENSEMBLE_LIST_ITEM {
    char label[16];
    int32_t index;      // position from 1; the cache key
    uint8_t NM;         // channel block id
    uint16_t eid;       // ensemble identifier
    int32_t codeTyped;  // character code of the label
};

// One entry of a service or component list.
struct COMP_LIST_ITEM {
    char label[16];
    int32_t index;      // position from 1; the cache key
    uint8_t NM;         // channel block id
    uint16_t eid;       // ensemble identifier
    uint32_t sid;       // service identifier
    uint8_t scid;       // service component identifier
    int32_t codeTyped;  // character code of the label
};

static_assert(sizeof(PRESET_LIST_ITEM) == 36, "PRESET_LIST_ITEM layout changed");
static_assert(sizeof(ENSEMBLE_LIST_ITEM) == 28, "ENSEMBLE_LIST_ITEM layout changed");
static_assert(sizeof(COMP_LIST_ITEM) == 36, "COMP_LIST_ITEM layout changed");
static_assert(std::is_standard_layout<PRESET_LIST_ITEM>::value &&
                  std::is_trivially_copyable<PRESET_LIST_ITEM>::value,
              "PRESET_LIST_ITEM must stay a plain record");
static_assert(std::is_standard_layout<ENSEMBLE_LIST_ITEM>::value &&
                  std::is_trivially_copyable<ENSEMBLE_LIST_ITEM>::value,
              "ENSEMBLE_LIST_ITEM must stay a plain record");
static_assert(std::is_standard_layout<COMP_LIST_ITEM>::value &&
                  std::is_trivially_copyable<COMP_LIST_ITEM>::value,
              "COMP_LIST_ITEM must stay a plain record");

// Service item types: how the service names its lists, and the values of the current
// cached service item type. Types 1 to 6 have a service list of their own.
constexpr int DAB_SERVER_SERVICE_ITEM_NONE = 0;  // nothing browsed yet
constexpr int DAB_SERVER_SERVICE_ITEM_COMP = 1;
constexpr int DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO = 2;
constexpr int DAB_SERVER_SERVICE_ITEM_PTY_POPULAR = 3;
constexpr int DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS = 4;
constexpr int DAB_SERVER_SERVICE_ITEM_PTY_OTHERS = 5;
constexpr int DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP = 6;
constexpr int DAB_SERVER_SERVICE_ITEM_ENSEMBLE = 7;
constexpr int DAB_SERVER_SERVICE_ITEM_ABC_SEARCH = 8;  // reads the service component list

// Preset table dimensions: bands 1 to 3, presets 1 to 6.
constexpr int DAB_SERVER_PRESET_BAND_COUNT = 3;
constexpr int DAB_SERVER_PRESET_ITEM_COUNT = 6;

// Keeps the lists the tuner delivers item by item so that clients can read them at any time:
// the preset table, the ensemble list and the six service lists. Embedded in the service as a
// member; no one holds an sp to it.
class DABListCacher : public android::RefBase {
public:
    // Any thread; non-blocking.
    DABListCacher();
    // Owner only, once no other thread uses the cache.
    ~DABListCacher() override;

    DABListCacher(const DABListCacher&) = delete;
    DABListCacher& operator=(const DABListCacher&) = delete;

    // Activation/deactivation or binder threads; blocks briefly on mCacheLock.
    void clearPresetListCache();
    // Activation/deactivation or binder threads; blocks briefly on mCacheLock.
    void clearForAllCache();
    // Binder threads; blocks briefly on mCacheLock.
    void clearServiceListCache();

    // Notification thread; blocks briefly on mCacheLock. 0 stored, -1 refused.
    int cachePresetItem(int band, const PRESET_LIST_ITEM* item);
    // Binder threads; blocks briefly on mCacheLock. 0 copied, -1 refused.
    int getCachedPresetItem(int band, int index, PRESET_LIST_ITEM* out);

    // Notification thread; blocks briefly on mCacheLock.
    void cacheEnsembleItem(const ENSEMBLE_LIST_ITEM* item);
    // Binder threads; blocks briefly on mCacheLock. 0 found, 1 not found.
    int getCachedEnsembleItem(int index, ENSEMBLE_LIST_ITEM* out);

    // Notification thread; blocks briefly on mCacheLock.
    void cacheServiceItem(int type, const COMP_LIST_ITEM* item);
    // Binder threads; blocks briefly on mCacheLock. 0 found, 1 not found.
    int getCachedServiceItem(int type, int index, COMP_LIST_ITEM* out);

    // Any thread; blocks briefly on mCacheLock. 0 written, 1 none yet.
    int getCurrentCachedServiceItemType(int* type);
    // Binder threads; blocks briefly on mCacheLock. 0 stored, -1 for type 0.
    int setCurrentCachedServiceItemType(int type);

    // Notification thread; blocks briefly on mCacheLock.
    void setServiceListCount(int count);
    // Binder threads; blocks briefly on mCacheLock.
    int getServiceListCount();

    // What the cache holds, for the service's dump; nothing is logged.
    struct Summary {
        int32_t presetItems[DAB_SERVER_PRESET_BAND_COUNT];  // cached presets per band
        int32_t currentType;                                // service item type, 0 none
        int32_t listCount;                                  // announced size of the list
        int32_t serviceItems[7];  // cached items per service item type 1 to 6; [0] unused
        int32_t ensembleItems;
    };
    // Any thread; blocks briefly on mCacheLock (copies only).
    void summary(Summary* out);

private:
    using ServiceList = android::KeyedVector<int, COMP_LIST_ITEM>;
    using EnsembleList = android::KeyedVector<int, ENSEMBLE_LIST_ITEM>;

    static constexpr int kServiceListCount = 6;

    // The service list of a type, or null for a type without one. Caller holds mCacheLock.
    ServiceList* serviceListFor(int type) REQUIRES(mCacheLock);

    // Guards every field below. The preset table and the count are under it as well: the
    // notification thread caches presets while a binder or activation thread clears them.
    android::Mutex mCacheLock;
    int32_t mServiceListCount GUARDED_BY(mCacheLock);
    int32_t mCurrentCachedServiceItemType GUARDED_BY(mCacheLock);
    ServiceList mServiceLists[kServiceListCount] GUARDED_BY(mCacheLock);   // [type - 1]
    EnsembleList mEnsembleList GUARDED_BY(mCacheLock);
    PRESET_LIST_ITEM mPresetTable[DAB_SERVER_PRESET_BAND_COUNT]
                                 [DAB_SERVER_PRESET_ITEM_COUNT] GUARDED_BY(mCacheLock);
};

#endif  // DAB_SERVER_DABLISTCACHER_H
