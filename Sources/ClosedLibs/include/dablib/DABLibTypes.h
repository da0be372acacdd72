#ifndef DAB_CLOSEDLIBS_DABLIBTYPES_H
#define DAB_CLOSEDLIBS_DABLIBTYPES_H

#include <cstddef>
#include <cstdint>

// Enumerations and records of the DAB tuner library, in the library's memory layout
// (little-endian, packed as the offsets show).
namespace media_lib_dab {

enum EN_DAB_TEXT_TYPE {
    EN_DAB_TEXT_TYPE_ENSEMBLE = 0,
    EN_DAB_TEXT_TYPE_SERVICE = 1,
    EN_DAB_TEXT_TYPE_COMPONENT = 2,
};

enum EN_DAB_BAND_TYPE {
    EN_DAB_BAND_1 = 0,
    EN_DAB_BAND_2 = 1,
    EN_DAB_BAND_3 = 2,
};

enum EN_DAB_PRESET_NUM {
    EN_DAB_PRESET_1 = 1,
    EN_DAB_PRESET_2 = 2,
    EN_DAB_PRESET_3 = 3,
    EN_DAB_PRESET_4 = 4,
    EN_DAB_PRESET_5 = 5,
    EN_DAB_PRESET_6 = 6,
};

enum EN_DAB_TS_MOVE_DIRECT {
    EN_DAB_TS_MOVE_BACKWARD = 1,
};

enum EN_DAB_LOGIC_MODE {
    EN_DAB_LM_NORMAL = 5,
    EN_DAB_LM_SEEK_UP = 11,
    EN_DAB_LM_SEEK_DOWN = 12,
    EN_DAB_LM_MANUAL_UPDOWN = 13,
    EN_DAB_LM_PRESET_SCAN = 14,
    EN_DAB_LM_PRESET_BUSY = 17,
    EN_DAB_LM_SERLIST_UPDATE = 25,
    EN_DAB_LM_HAND_SERLIST_UPDATE = 27,
    EN_DAB_LM_AUTO_SERLIST_UPDATE = 28,
};

enum EN_DAB_ERROR_INFO {
    EN_DAB_ERROR_INFO_NO_ERROR = 0,
    EN_DAB_ERROR_INFO_TYPE1 = 1,
    EN_DAB_ERROR_INFO_TYPE2 = 2,
};

// What changed in the tuner; the service translates these into its own notify ids.
enum DABNotifyID {
    DAB_NOTIFY_BAND = 0,
    DAB_NOTIFY_PRESET_NUM = 1,
    DAB_NOTIFY_LOGIC_MODE = 2,
    DAB_NOTIFY_FREQ = 3,
    DAB_NOTIFY_SERVICE_FOLLOW = 4,
    DAB_NOTIFY_FM_LINK = 5,
    DAB_NOTIFY_PTY_TYPE = 6,
    DAB_NOTIFY_COMP_TOTAL = 7,
    DAB_NOTIFY_COMP_NUM = 8,
    DAB_NOTIFY_ERROR_INFO = 9,
    DAB_NOTIFY_SIGNAL_LEVEL = 10,
    DAB_NOTIFY_RESERVED_11 = 11,
    DAB_NOTIFY_BIT_RATE = 12,
    DAB_NOTIFY_ANT_STATUS = 13,
    DAB_NOTIFY_PRESET_ITEM = 14,
    DAB_NOTIFY_DLS = 15,
    DAB_NOTIFY_ENSEMBLE_LABEL = 16,
    DAB_NOTIFY_SERVICE_LABEL = 17,
    DAB_NOTIFY_COMP_LABEL = 18,
    DAB_NOTIFY_TS_STATUS = 19,
    DAB_NOTIFY_TS_PAUSE_TIME = 20,
    DAB_NOTIFY_TS_TOTAL_TIME = 21,
    DAB_NOTIFY_TS_CACHE_TIME = 22,
    DAB_NOTIFY_SVC_LIST_ITEM = 23,
    DAB_NOTIFY_PRESET_LIST_UPDATE_REQ = 24,
    DAB_NOTIFY_RESERVED_25 = 25,
    DAB_NOTIFY_CONNECT_STATUS = 26,
};

#pragma pack(push, 1)

struct ST_DAB_TITLE_TEXT {
    uint32_t charset;
    char text[16];
};

struct ST_DAB_DLS_TEXT {
    uint32_t charset;
    uint8_t length;
    uint8_t segment;
    char text[64];
    uint8_t reserved[2];
};

struct ST_DAB_PCH_LIST_ITEM {
    uint8_t labelValid;
    uint8_t reserved0[3];
    uint32_t band;
    uint8_t pchNum;
    uint8_t nm;
    uint8_t reserved1[14];
    uint32_t labelEncode;
    char label[16];
};

struct ST_DAB_SVC_LIST_DATA {
    uint8_t valid;
    uint8_t curnum_all;
    uint8_t curnum_pos;
    uint8_t listnum_all;
    uint8_t listnum_pos;
    uint8_t NM;
    uint8_t reserved[12];
    uint16_t eid;
    uint32_t sid;
    uint32_t scid;
    uint32_t codeTyped;
    char label[16];
};

#pragma pack(pop)

static_assert(sizeof(ST_DAB_TITLE_TEXT) == 20, "ST_DAB_TITLE_TEXT layout");
static_assert(offsetof(ST_DAB_TITLE_TEXT, text) == 4, "ST_DAB_TITLE_TEXT layout");
static_assert(sizeof(ST_DAB_DLS_TEXT) == 72, "ST_DAB_DLS_TEXT layout");
static_assert(offsetof(ST_DAB_DLS_TEXT, length) == 4, "ST_DAB_DLS_TEXT layout");
static_assert(offsetof(ST_DAB_DLS_TEXT, segment) == 5, "ST_DAB_DLS_TEXT layout");
static_assert(offsetof(ST_DAB_DLS_TEXT, text) == 6, "ST_DAB_DLS_TEXT layout");
static_assert(sizeof(ST_DAB_PCH_LIST_ITEM) == 44, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(offsetof(ST_DAB_PCH_LIST_ITEM, band) == 4, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(offsetof(ST_DAB_PCH_LIST_ITEM, pchNum) == 8, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(offsetof(ST_DAB_PCH_LIST_ITEM, nm) == 9, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(offsetof(ST_DAB_PCH_LIST_ITEM, labelEncode) == 24, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(offsetof(ST_DAB_PCH_LIST_ITEM, label) == 28, "ST_DAB_PCH_LIST_ITEM layout");
static_assert(sizeof(ST_DAB_SVC_LIST_DATA) == 48, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, NM) == 5, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, eid) == 18, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, sid) == 20, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, scid) == 24, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, codeTyped) == 28, "ST_DAB_SVC_LIST_DATA layout");
static_assert(offsetof(ST_DAB_SVC_LIST_DATA, label) == 32, "ST_DAB_SVC_LIST_DATA layout");

typedef void (*DABNotifyCallback)(void* cookie, DABNotifyID id, int value);

}  // namespace media_lib_dab

#endif  // DAB_CLOSEDLIBS_DABLIBTYPES_H
