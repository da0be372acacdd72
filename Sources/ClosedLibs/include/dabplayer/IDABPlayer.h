#ifndef DAB_CLOSEDLIBS_IDABPLAYER_H
#define DAB_CLOSEDLIBS_IDABPLAYER_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <dabplayer/IDABPlayerClient.h>

namespace android {

// Size of the label and text buffers that the getters fill.
enum {
    DAB_PLAYER_LABEL_SIZE = 16,
    DAB_PLAYER_DYNAMIC_TEXT_SIZE = 128,
};

// One application's handle on the DAB player: commands and queries. Every operation returns
// the service's int status; out-pointers are the caller's storage.
class IDABPlayer : public IInterface {
public:
    DECLARE_META_INTERFACE(DABPlayer)

    // Transaction codes: operation n of the interface is FIRST_CALL_TRANSACTION + n - 1.
    enum {
        MANUAL_UP = IBinder::FIRST_CALL_TRANSACTION,
        MANUAL_DOWN, PRESET_SEEK_UP, PRESET_SEEK_DOWN, SWITCH_BAND, RECALL, PRESET_LIST_RECALL,
        PRESET_UP_RECALL, PRESET_DOWN_RECALL, SERVICE_LIST_RECALL, PTY_NEWSINFO_LIST_RECALL,
        PTY_POPULAR_LIST_RECALL, PTY_CLASSICS_LIST_RECALL, PTY_OTHERS_LIST_RECALL,
        ENSEMBLE_LIST_RECALL, MEMORY, PRESET_LIST_MEMORY, REQUEST_PRESET_LIST, TIME_SHIFT_PLAY,
        TIME_SHIFT_PAUSE, TIME_SEEK, REQUEST_DYNAMIC_TEXT, REQUEST_SERVICE_LIST_UPDATE,
        CANCEL_SERVICE_LIST_UPDATE, REQUEST_SERVICE_COMP_LIST, REQUEST_ENSEMBLE_LIST,
        REQUEST_PTY_SECOND_LIST, REQUEST_ENSEMBLE_SECOND_LIST, ABC_SEARCH, ABC_SEARCH_CANCEL,
        GET_BAND, GET_PRESET_NUM, GET_FREQUENCE, GET_FREQ_STRING, GET_BLOCK_ID, GET_SIGNAL_LEVEL,
        GET_FM_LINK, GET_BIT_PER_SECOND, GET_PTY_TYPE, GET_ENSEMBLE_LABEL, GET_SERVICE_LABEL,
        GET_COMP_LABEL, GET_COMP_TOTAL, GET_COMP_NUM, GET_PLAYBACK_STATUS, GET_TOTAL_TIME,
        GET_CACHE_TIME, GET_PAUSE_TIME, GET_DYNAMIC_TEXT, GET_SERVICE_LIST_ITEM,
        GET_PTY_POPULAR_LIST_ITEM, GET_PTY_CLASSICS_LIST_ITEM, GET_PTY_NEWSINFO_LIST_ITEM,
        GET_PTY_OTHERS_LIST_ITEM, GET_ENSEMBLE_COMP_LIST_ITEM, GET_ENSEMBLE_LIST_ITEM,
        GET_PRESET_LIST_ITEM, GET_LOGIC_MODE, GET_ERROR, GET_REAL_ERROR, GET_NM,
        GET_DISPLAY_FORMAT, GET_ANT_STATUS, TO_NORMAL_VIEW, TO_LIVE, TIME_SHIFT, ABC_SEARCH_ON,
        ABC_SEARCH_OFF, SET_DISPLAY_FORMAT, SET_CLIENT_LISTENER,
    };

    virtual int manualUp() = 0;
    virtual int manualDown() = 0;
    virtual int presetSeekUp() = 0;
    virtual int presetSeekDown() = 0;
    virtual int switchBand() = 0;
    virtual int recall(int index) = 0;
    virtual int presetListRecall(int band, int index) = 0;
    virtual int presetUpRecall() = 0;
    virtual int presetDownRecall() = 0;
    virtual int serviceListRecall(int serviceIndex) = 0;
    virtual int ptyNewsinfoListRecall(int serviceIndex) = 0;
    virtual int ptyPopularListRecall(int serviceIndex) = 0;
    virtual int ptyClassicsListRecall(int serviceIndex) = 0;
    virtual int ptyOthersListRecall(int serviceIndex) = 0;
    virtual int ensembleListRecall(int index) = 0;
    virtual int memory(int index) = 0;
    virtual int presetListMemory(int band, int index) = 0;
    virtual int requestPresetList(int band) = 0;
    virtual int timeShiftPlay() = 0;
    virtual int timeShiftPause() = 0;
    virtual int timeSeek(int time) = 0;
    virtual int requestDynamicText() = 0;
    virtual int requestServiceListUpdate() = 0;
    virtual int cancelServiceListUpdate() = 0;
    virtual int requestServiceCompList() = 0;
    virtual int requestEnsembleList() = 0;
    virtual int requestPTYSecondList(int index) = 0;
    virtual int requestEnsembleSecondList(int ensembleIndex) = 0;
    virtual int abcSearch(int index) = 0;
    virtual int abcSearchCancel() = 0;
    virtual int getBand(int* band) = 0;
    virtual int getPresetNum(int* presetNum) = 0;
    virtual int getFrequence(int* frequency) = 0;
    virtual int getFreqString(char* freq) = 0;
    virtual int getBlockId(char* blockId) = 0;
    virtual int getSignalLevel(int* level) = 0;
    virtual int getFmLink(int* fmLink) = 0;
    virtual int getBitPerSecond(int* bps) = 0;
    virtual int getPtyType(int* ptyType) = 0;
    virtual int getEnsembleLabel(char* label, int* code) = 0;
    virtual int getServiceLabel(char* label, int* code) = 0;
    virtual int getCompLabel(char* label, int* code) = 0;
    virtual int getCompTotal(int* total) = 0;
    virtual int getCompNum(int* num) = 0;
    virtual int getPlaybackStatus(int* status) = 0;
    virtual int getTotalTime(int* time) = 0;
    virtual int getCacheTime(int* time) = 0;
    virtual int getPauseTime(int* time) = 0;
    virtual int getDynamicText(char* text, int* code, int* length) = 0;
    virtual int getServiceListItem(int index, char* label, int* code) = 0;
    virtual int getPtyPopularListItem(int index, char* label, int* code) = 0;
    virtual int getPtyClassicsListItem(int index, char* label, int* code) = 0;
    virtual int getPtyNewsinfoListItem(int index, char* label, int* code) = 0;
    virtual int getPtyOthersListItem(int index, char* label, int* code) = 0;
    virtual int getEnsembleCompListItem(int index, char* label, int* code) = 0;
    virtual int getEnsembleListItem(int index, char* label, int* code) = 0;
    virtual int getPresetListItem(int band, int index, char* label, int* code, int* labelAvail) = 0;
    virtual int getLogicMode(int* mode) = 0;
    virtual int getError(int* error) = 0;
    virtual int getRealError(int* error) = 0;
    virtual int getNm(int* nm) = 0;
    virtual int getDisplayFormat(int* format) = 0;
    virtual int getAntStatus(int* status) = 0;
    virtual int toNormalView() = 0;
    virtual int toLive() = 0;
    virtual int timeShift() = 0;
    virtual int abcSearchOn() = 0;
    virtual int abcSearchOff() = 0;
    virtual int setDisplayFormat() = 0;
    virtual int setClientListener(const sp<IDABPlayerClient>& client) = 0;
};

class BnDABPlayer : public BnInterface<IDABPlayer> {
public:
    // Binder threads; unmarshals one call, runs the operation and blocks as long as it does.
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_IDABPLAYER_H
