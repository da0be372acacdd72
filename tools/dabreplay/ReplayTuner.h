#ifndef DAB_TOOLS_REPLAYTUNER_H
#define DAB_TOOLS_REPLAYTUNER_H

#include "DABLibBackend.h"
#include "HostMutex.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

// The scripted tuner of a replay. Every getter and record answers a sequence: each read takes
// the next answer, and the last one stays from then on. Commands and list requests are handed
// to a hook as text ("pchListReq(0)"). With answering on, list requests are answered from the
// script's canned lists on a thread of the tuner's own, as the tuner's callback thread would.
class ReplayTuner : public media_lib_dab::DABLibBackend {
public:
    // One entry of a canned service, PTY, ensemble or component list.
    struct ListEntry {
        media_lib_dab::ST_DAB_SVC_LIST_DATA record;  // valid, counts and positions are set when answering
    };

    ReplayTuner();

    // Script thread; non-blocking. append false replaces the sequence, true extends it.
    void setGetter(const std::string& name, const std::vector<int>& values, bool append);
    void setTitle(int kind, const media_lib_dab::ST_DAB_TITLE_TEXT& title, bool append);
    void setDls(const media_lib_dab::ST_DAB_DLS_TEXT& dls, bool append);
    void setPch(const media_lib_dab::ST_DAB_PCH_LIST_ITEM& item, bool append);
    void setSvc(const media_lib_dab::ST_DAB_SVC_LIST_DATA& item, bool append);
    // Canned lists. bank 1 to 3, number 1 to 6.
    void setPreset(int bank, int number, const media_lib_dab::ST_DAB_PCH_LIST_ITEM& item);
    // kind: "service", "pty1".."pty4", "ensemble", "component<eid>".
    void addListEntry(const std::string& kind, const media_lib_dab::ST_DAB_SVC_LIST_DATA& item);
    // Answering on or off; delay between a request and each answer.
    void setAnswering(bool on, int delayMs);
    void setCommandHook(std::function<void(const std::string&)> hook);
    // Runs the service's callback on the calling thread.
    void notify(int id, int value);

    // Backend side: the service's threads; non-blocking (the hook runs on the caller's thread).
    int initialize(media_lib_dab::DABNotifyCallback callback, void* cookie) override;
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
    int getTitleData(media_lib_dab::EN_DAB_TEXT_TYPE type, media_lib_dab::ST_DAB_TITLE_TEXT* out) override;
    int getDlsData(media_lib_dab::ST_DAB_DLS_TEXT* out) override;
    int getPchListItem(media_lib_dab::ST_DAB_PCH_LIST_ITEM* out) override;
    int getSvcListItem(media_lib_dab::ST_DAB_SVC_LIST_DATA* out) override;

private:
    // One answer of the answering thread: a notification with the record it reads.
    struct Answer {
        int id;
        int value;
        bool isPch;
        media_lib_dab::ST_DAB_PCH_LIST_ITEM pch;
        media_lib_dab::ST_DAB_SVC_LIST_DATA svc;
    };

    template <typename T>
    static T take(std::deque<T>* sequence);
    int hooked(const std::string& text);
    void queueAnswersLocked(std::vector<Answer> answers) REQUIRES(mTunerLock);
    void answerItemLocked(const std::string& kind, int position) REQUIRES(mTunerLock);
    void answerLoop();

    HostMutex mTunerLock;  // guards everything below
    std::condition_variable mQueued;
    std::map<std::string, std::deque<int>> mGetters GUARDED_BY(mTunerLock);
    std::deque<media_lib_dab::ST_DAB_TITLE_TEXT> mTitles[3] GUARDED_BY(mTunerLock);
    std::deque<media_lib_dab::ST_DAB_DLS_TEXT> mDls GUARDED_BY(mTunerLock);
    std::deque<media_lib_dab::ST_DAB_PCH_LIST_ITEM> mPch GUARDED_BY(mTunerLock);
    std::deque<media_lib_dab::ST_DAB_SVC_LIST_DATA> mSvc GUARDED_BY(mTunerLock);
    media_lib_dab::ST_DAB_PCH_LIST_ITEM mPresets[3][6] GUARDED_BY(mTunerLock);
    std::map<std::string, std::vector<media_lib_dab::ST_DAB_SVC_LIST_DATA>> mLists GUARDED_BY(mTunerLock);
    bool mAnswering GUARDED_BY(mTunerLock) = false;
    int mAnswerDelayMs GUARDED_BY(mTunerLock) = 0;
    std::deque<std::pair<std::chrono::steady_clock::time_point, Answer>> mAnswers GUARDED_BY(mTunerLock);
    std::thread::id mAnswerThreadId GUARDED_BY(mTunerLock);
    const Answer* mDelivering = nullptr;  // the answer being delivered on the answering thread
    std::thread mAnswerThread GUARDED_BY(mTunerLock);
    std::function<void(const std::string&)> mHook GUARDED_BY(mTunerLock);
    media_lib_dab::DABNotifyCallback mCallback GUARDED_BY(mTunerLock) = nullptr;
    void* mCookie GUARDED_BY(mTunerLock) = nullptr;
};

#endif  // DAB_TOOLS_REPLAYTUNER_H
