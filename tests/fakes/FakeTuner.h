#ifndef DAB_TESTS_FAKETUNER_H
#define DAB_TESTS_FAKETUNER_H

#include <dablib/DABLibTypes.h>

#include "DABLibBackend.h"
#include "HostMutex.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

// Scripted tuner library: getters answer what the test set, records read back what the test
// set, every command and list request is recorded as text ("manualUp()", "pchListReq(0)",
// "pchMemory(1,4)"), and notify() delivers a notification synchronously on the caller's
// thread, as the library's callback thread would. Any thread may use it.
class FakeTuner : public media_lib_dab::DABLibBackend {
public:
    // Test side.
    void setGetter(const std::string& name, int value);
    void setTitle(int kind, uint32_t charset, const char* text, size_t len = 16);
    void setDls(uint32_t charset, uint8_t length, uint8_t segment, const char* text, size_t len);
    void setPchItem(const media_lib_dab::ST_DAB_PCH_LIST_ITEM& item);
    void setSvcItem(const media_lib_dab::ST_DAB_SVC_LIST_DATA& item);
    // Runs the callback given to initialize on this thread.
    void notify(media_lib_dab::DABNotifyID id, int value);
    void notify(int id, int value) { notify(static_cast<media_lib_dab::DABNotifyID>(id), value); }
    std::vector<std::string> commands() const;
    void clearCommands();
    int countCommand(const std::string& text) const;
    // Waits until a command equal to text was recorded (at least count times).
    bool waitForCommand(const std::string& text, int count = 1,
                        std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;
    // Called (without the fake's lock) for every recorded command; lets a test answer list
    // requests the way the tuner would.
    void setCommandHook(std::function<void(const std::string&)> hook);
    bool initialized() const;
    bool finalized() const;

    // Backend side.
    int initialize(media_lib_dab::DABNotifyCallback callback, void* cookie) override;
    int finalize() override;
    int command(const char* name) override;
    int pchMemory(int band, int preset) override;
    int pchRecall(int band, int preset) override;
    int timeShiftMove(int direction, unsigned short amount) override;
    int svcListAbcSearchLabelReq(unsigned char position, unsigned char letter,
                                 unsigned char reserved) override;
    int serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid,
                      unsigned char scid) override;
    int pchListReq(uint8_t bandCode) override;
    int ensembleListItemReq(uint8_t position) override;
    int svcCompListItemReq(uint8_t position, uint8_t r1, uint8_t r2) override;
    int ptyListItemReq(uint8_t position, uint8_t group) override;
    int ensembleCompListItemReq(uint8_t position, uint16_t eid) override;
    int getter(const char* name) override;
    int getTitleData(media_lib_dab::EN_DAB_TEXT_TYPE type,
                     media_lib_dab::ST_DAB_TITLE_TEXT* out) override;
    int getDlsData(media_lib_dab::ST_DAB_DLS_TEXT* out) override;
    int getPchListItem(media_lib_dab::ST_DAB_PCH_LIST_ITEM* out) override;
    int getSvcListItem(media_lib_dab::ST_DAB_SVC_LIST_DATA* out) override;

private:
    int record(const std::string& text);

    mutable HostMutex mLock;                  // guards everything below
    std::map<std::string, int> mGetters GUARDED_BY(mLock);
    media_lib_dab::ST_DAB_TITLE_TEXT mTitles[3] GUARDED_BY(mLock) = {};
    media_lib_dab::ST_DAB_DLS_TEXT mDls GUARDED_BY(mLock) = {};
    media_lib_dab::ST_DAB_PCH_LIST_ITEM mPch GUARDED_BY(mLock) = {};
    media_lib_dab::ST_DAB_SVC_LIST_DATA mSvc GUARDED_BY(mLock) = {};
    std::vector<std::string> mCommands GUARDED_BY(mLock);
    std::function<void(const std::string&)> mHook GUARDED_BY(mLock);
    media_lib_dab::DABNotifyCallback mCallback GUARDED_BY(mLock) = nullptr;
    void* mCookie GUARDED_BY(mLock) = nullptr;
    bool mInitialized GUARDED_BY(mLock) = false;
    bool mFinalized GUARDED_BY(mLock) = false;
};

#endif  // DAB_TESTS_FAKETUNER_H
