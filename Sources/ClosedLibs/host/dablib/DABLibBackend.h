#ifndef DAB_HOST_DABLIBBACKEND_H
#define DAB_HOST_DABLIBBACKEND_H

#include <dablib/DABLibTypes.h>
#include <utils/RefBase.h>

namespace media_lib_dab {

// What the host DABLibIF forwards to: a scripted fake in tests, the simulated tuner otherwise.
// Every operation has the tuner library's meaning; the defaults are those of a tuner that
// receives nothing and reports nothing.
class DABLibBackend : public virtual android::RefBase {
public:
    virtual int initialize(DABNotifyCallback callback, void* cookie);
    virtual int finalize();

    // Every command without arguments arrives here by name ("manualUp", "preset3Recall", ...).
    virtual int command(const char* name);
    virtual int pchMemory(int band, int preset);
    virtual int pchRecall(int band, int preset);
    virtual int timeShiftMove(int direction, unsigned short amount);
    virtual int svcListAbcSearchLabelReq(unsigned char position, unsigned char letter,
                                         unsigned char reserved);
    virtual int serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid,
                              unsigned char scid);

    virtual int pchListReq(uint8_t bandCode);
    virtual int ensembleListItemReq(uint8_t position);
    virtual int svcCompListItemReq(uint8_t position, uint8_t reserved1, uint8_t reserved2);
    virtual int ptyListItemReq(uint8_t position, uint8_t ptyGroup);
    virtual int ensembleCompListItemReq(uint8_t position, uint16_t eid);

    // Every int getter arrives here by name ("getBand", "getTsAllTime", ...).
    virtual int getter(const char* name);
    virtual int getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out);
    virtual int getDlsData(ST_DAB_DLS_TEXT* out);
    virtual int getPchListItem(ST_DAB_PCH_LIST_ITEM* out);
    virtual int getSvcListItem(ST_DAB_SVC_LIST_DATA* out);

    // Any thread; non-blocking. The backend that tuner objects constructed from now on use;
    // null restores the default.
    static void setCurrent(const android::sp<DABLibBackend>& backend);
    static android::sp<DABLibBackend> current();
    // Any thread. The factory for the default backend (the simulated tuner installs one).
    static void setDefaultFactory(android::sp<DABLibBackend> (*factory)());

protected:
    ~DABLibBackend() override;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABLIBBACKEND_H
