#ifndef DAB_HOST_RECORDINGDABLIBBACKEND_H
#define DAB_HOST_RECORDINGDABLIBBACKEND_H

#include "DABLibBackend.h"

namespace media_lib_dab {

// Forwards everything to the tuner backend it wraps and tells the session recorder of every
// notification (an event) and of every getter and record answer.
class RecordingDABLibBackend : public DABLibBackend {
public:
    // Any thread; non-blocking. backend itself when nothing is recorded, else its recording
    // decorator (the same one for the same backend).
    static android::sp<DABLibBackend> wrapIfRecording(const android::sp<DABLibBackend>& backend);

    // The service's threads; block as long as the wrapped backend does.
    int initialize(DABNotifyCallback callback, void* cookie) override;
    int finalize() override;
    int command(const char* name) override;
    int pchMemory(int band, int preset) override;
    int pchRecall(int band, int preset) override;
    int timeShiftMove(int direction, unsigned short amount) override;
    int svcListAbcSearchLabelReq(unsigned char position, unsigned char letter, unsigned char reserved) override;
    int serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid, unsigned char scid) override;
    int pchListReq(uint8_t bandCode) override;
    int ensembleListItemReq(uint8_t position) override;
    int svcCompListItemReq(uint8_t position, uint8_t reserved1, uint8_t reserved2) override;
    int ptyListItemReq(uint8_t position, uint8_t ptyGroup) override;
    int ensembleCompListItemReq(uint8_t position, uint16_t eid) override;
    int getter(const char* name) override;
    int getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) override;
    int getDlsData(ST_DAB_DLS_TEXT* out) override;
    int getPchListItem(ST_DAB_PCH_LIST_ITEM* out) override;
    int getSvcListItem(ST_DAB_SVC_LIST_DATA* out) override;

private:
    explicit RecordingDABLibBackend(const android::sp<DABLibBackend>& inner);
    // The tuner's callback thread: records the notification around the service's handling.
    static void onNotify(void* self, DABNotifyID id, int value);

    const android::sp<DABLibBackend> mInner;  // immutable
    // Set once by initialize, before the tuner can call back.
    DABNotifyCallback mCallback = nullptr;
    void* mCookie = nullptr;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_RECORDINGDABLIBBACKEND_H
