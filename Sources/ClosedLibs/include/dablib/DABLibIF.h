#ifndef DAB_CLOSEDLIBS_DABLIBIF_H
#define DAB_CLOSEDLIBS_DABLIBIF_H

#include <dablib/DABLibTypes.h>
#include <utils/RefBase.h>

namespace media_lib_dab {

class DABLibBackend;

// The DAB tuner library's interface object. The library may be called from any thread at
// the same time; it reports every change through the callback given to initialize, on a
// callback thread of its own. No call blocks for longer than a register access.
class DABLibIF {
public:
    DABLibIF();
    virtual ~DABLibIF();

    virtual int initialize(DABNotifyCallback callback, void* cookie);
    virtual int finalize();

    // Commands: the tuner carries them out on its own and reports through the callback.
    virtual int manualUp();
    virtual int manualDown();
    virtual int seekUp();
    virtual int seekDown();
    virtual int switchBand();
    virtual int preset1Recall();
    virtual int preset2Recall();
    virtual int preset3Recall();
    virtual int preset4Recall();
    virtual int preset5Recall();
    virtual int preset6Recall();
    virtual int presetChannelUp();
    virtual int presetChannelDown();
    virtual int pchMemory(EN_DAB_BAND_TYPE band, EN_DAB_PRESET_NUM preset);
    virtual int pchRecall(EN_DAB_BAND_TYPE band, EN_DAB_PRESET_NUM preset);
    virtual int timeShifeModeOn();
    virtual int live();
    virtual int esc();
    virtual int play();
    virtual int pause();
    virtual int timeShiftMove(EN_DAB_TS_MOVE_DIRECT direction, unsigned short amount);
    virtual int dynamicModeOn();
    virtual int abcSearchModeOn();
    virtual int abcSearchModeOff();
    virtual int abcSearchStop();
    virtual int listUpdateStart();
    virtual int listUpdateCancel();
    virtual int svcListAbcSearchLabelReq(unsigned char position, unsigned char letter,
                                         unsigned char reserved);
    virtual int serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid,
                              unsigned char scid);

    // List requests, issued only by the list worker; the answer arrives as a notification.
    virtual int pchListReq(uint8_t bandCode);
    virtual int ensembleListItemReq(uint8_t position);
    virtual int svcCompListItemReq(uint8_t position, uint8_t reserved1, uint8_t reserved2);
    virtual int ptyListItemReq(uint8_t position, uint8_t ptyGroup);
    virtual int ensembleCompListItemReq(uint8_t position, uint16_t eid);

    // Getters.
    virtual int getBand();
    virtual int getPchNum();
    virtual int getNmValue();
    virtual int getLogicMode();
    virtual int getErrorInfo();
    virtual int getAntStatus();
    virtual int getSignalLevel();
    virtual int getFmLink();
    virtual int getBitRate();
    virtual int getComponentTotal();
    virtual int getComponentNum();
    virtual int getTsStatus();
    virtual int getTsAllTime();
    virtual int getTsDelayTime();
    virtual int getTsSetTime();
    virtual int getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out);
    virtual int getDlsData(ST_DAB_DLS_TEXT* out);
    virtual int getPchListItem(ST_DAB_PCH_LIST_ITEM* out);
    virtual int getSvcListItem(ST_DAB_SVC_LIST_DATA* out);

private:
    DABLibIF(const DABLibIF&) = delete;
    DABLibIF& operator=(const DABLibIF&) = delete;

    android::sp<DABLibBackend> mBackend;  // immutable: the backend current at construction
};

}  // namespace media_lib_dab

#endif  // DAB_CLOSEDLIBS_DABLIBIF_H
