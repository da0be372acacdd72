#ifndef DAB_HOST_DABSIM_SIMTUNER_H
#define DAB_HOST_DABSIM_SIMTUNER_H

#include "HostMutex.h"
#include "SimWorld.h"
#include "dablib/DABLibBackend.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace media_lib_dab {

// The simulated DAB tuner: the host tuner library's default backend. It receives a SimWorld
// and behaves like the tuner hardware: commands return at once and are carried out on the
// simulator's own callback thread, which reports every change through the library's
// notification callback, one notification at a time, with realistic delays (seek steps every
// 40 to 60 ms, list items a few ms after their request, a new dynamic text every few
// seconds). Getters and record reads answer from the state that the notification just
// delivered reflects, and may be called from any thread, the callback thread included.
class SimTuner : public DABLibBackend {
public:
    // Any thread; non-blocking. A tuner receiving the given world, powered off until
    // initialize.
    explicit SimTuner(std::shared_ptr<const SimWorld> world);

    // Any thread; reads the scenario file. Makes the simulator the default backend of the
    // tuner library, receiving the world named by the environment variable DAB_SIM_SCENARIO
    // or the built-in world when it is unset or empty. A scenario that cannot be used is
    // refused: the result is false, *error says "<file>: <place>: <problem>" (also logged)
    // and the default backend is left as it was.
    static bool installAsDefault(std::string* error);

    // Any thread; non-blocking. The simulator that was initialized last and is not yet
    // finalized, for run-time controls; null when there is none.
    static android::sp<SimTuner> active();

    // Any thread; non-blocking. The world this tuner receives.
    const SimWorld& world() const { return *mWorld; }

    // --- Tuner library operations (DABLibBackend) ---
    // initialize: any thread; starts the callback thread and reports the power-on state.
    // -1 for a null callback or when already running.
    int initialize(DABNotifyCallback callback, void* cookie) override;
    // finalize: any thread; stops the timers and the callback thread and waits for it
    // (unless called on that thread, which then ends after the current notification).
    int finalize() override;
    // The remaining operations: any thread; non-blocking; the effect follows on the callback
    // thread. -1 for an unknown name or an argument out of range.
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
    int svcCompListItemReq(uint8_t position, uint8_t reserved1, uint8_t reserved2) override;
    int ptyListItemReq(uint8_t position, uint8_t ptyGroup) override;
    int ensembleCompListItemReq(uint8_t position, uint16_t eid) override;
    int getter(const char* name) override;
    int getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) override;
    int getDlsData(ST_DAB_DLS_TEXT* out) override;
    int getPchListItem(ST_DAB_PCH_LIST_ITEM* out) override;
    int getSvcListItem(ST_DAB_SVC_LIST_DATA* out) override;

    // --- Run-time controls (head-unit tooling, tests) ---
    // Each: any thread; non-blocking; the notification follows on the callback thread.
    // -1 when the value is out of range or the tuner is not running.
    int setAntennaStatus(int status);  // 1..5; 3 to 5 are antenna faults (tuner id 13)
    int setErrorInfo(int error);       // 0..2 (tuner id 9)
    int setSignalLevel(int level);     // 1..7 held until changed; 0 returns to the world's
    int setConnectStatus(int status);  // 0..255 (tuner id 26)
    // Replaces the dynamic texts of every station with this one (UTF-8, encoded in charset 1,
    // 7 or 8, at most 128 bytes) and sends it at once; an empty text clears the display and
    // returns to the world's texts.
    int setDynamicText(const std::string& utf8, int charset);
    // The next list request (preset, service, PTY, ensemble list or search) is never answered.
    int dropNextListRequest();
    // While set the tuner ignores commands and requests and reports nothing; getters still
    // answer. Clearing it lets the tuner carry on from where it was.
    int setUnresponsive(bool unresponsive);

protected:
    ~SimTuner() override;

private:
    using Clock = std::chrono::steady_clock;

    static constexpr int kCommandDelayMs = 15;  // a command takes effect this much later
    static constexpr int kSeekStepMinMs = 40;   // one channel of a seek every 40 to 60 ms
    static constexpr int kSeekStepMaxMs = 60;
    static constexpr int kListDelayMinMs = 4;   // a list item follows its request this late
    static constexpr int kListDelayMaxMs = 12;
    static constexpr int kPresetGapMinMs = 3;   // gap between the six items of a preset list
    static constexpr int kPresetGapMaxMs = 8;
    static constexpr int kPresetUpdateDelayMs = 30;  // stored preset -> "read the lists again"
    static constexpr int kFirstTextMinMs = 800;      // first dynamic text after tuning
    static constexpr int kFirstTextMaxMs = 1500;
    static constexpr char kNoDataProvided[] = "No Data Provided";  // sent as its 16 characters

    // Time-shift times travel as 16-bit values with their bytes swapped.
    static int swapTime(int value) { return ((value & 0xFF) << 8) | ((value >> 8) & 0xFF); }

    // One notification with the record its reader will fetch.
    struct Note {
        DABNotifyID id;
        int value;
        enum Record { kNone, kDls, kPch, kSvc } record;
        ST_DAB_DLS_TEXT dls;
        ST_DAB_PCH_LIST_ITEM pch;
        ST_DAB_SVC_LIST_DATA svc;
    };
    using Outbox = std::vector<Note>;
    // Work for the callback thread; runs under mStateLock and queues what to report.
    using Action = std::function<void(Outbox*)>;

    enum Operation { kOpIdle, kOpSeek, kOpListUpdate };
    enum ListKind { kListServiceComp, kListPty, kListEnsemble, kListEnsembleComp };

    // Where the tuner is: block plus indexes into the world; -1 when absent.
    struct Station {
        int block = SimWorld::kFirstBlock;
        int ensemble = -1;
        int service = -1;
        int component = -1;
    };

    // Callback thread.
    void threadLoop(uint64_t runId);

    // All *Locked helpers: caller holds mStateLock.
    bool acceptingLocked() const REQUIRES(mStateLock);
    void scheduleLocked(int delayMs, Action action) REQUIRES(mStateLock);
    int randomMsLocked(int low, int high) REQUIRES(mStateLock);
    static void push(Outbox* out, DABNotifyID id, int value);

    const SimWorld::Ensemble* ensembleLocked() const REQUIRES(mStateLock);
    const SimWorld::Service* serviceLocked() const REQUIRES(mStateLock);
    Station stationFor(int block, uint32_t sid, uint32_t scid, bool matchService) const;
    void tuneLocked(const Station& station) REQUIRES(mStateLock);
    void leaveStationLocked() REQUIRES(mStateLock);
    void reportStationLocked(Outbox* out, bool withFrequency) REQUIRES(mStateLock);
    int presetNumberLocked() const REQUIRES(mStateLock);
    int signalLevelLocked() const REQUIRES(mStateLock);
    void endOperationLocked(Outbox* out) REQUIRES(mStateLock);

    void powerOnLocked(Outbox* out) REQUIRES(mStateLock);
    void stepLocked(int direction, Outbox* out) REQUIRES(mStateLock);
    void seekCommandLocked(int direction, Outbox* out) REQUIRES(mStateLock);
    void seekStepLocked(uint64_t gen, Outbox* out) REQUIRES(mStateLock);
    void seekLandLocked(uint64_t gen, Outbox* out) REQUIRES(mStateLock);
    void listUpdateStartLocked(Outbox* out) REQUIRES(mStateLock);
    void listUpdateStepLocked(uint64_t gen, Outbox* out) REQUIRES(mStateLock);
    int listUpdateStepMs() const;
    void listUpdateFinishLocked(Outbox* out) REQUIRES(mStateLock);
    void switchBandLocked(Outbox* out) REQUIRES(mStateLock);
    void recallPresetLocked(int bank, int number, Outbox* out) REQUIRES(mStateLock);
    void presetStepLocked(int direction, Outbox* out) REQUIRES(mStateLock);
    void storePresetLocked(int bank, int number, Outbox* out) REQUIRES(mStateLock);
    void serviceRecallLocked(int block, uint16_t eid, uint32_t sid, uint8_t scid, Outbox* out) REQUIRES(mStateLock);

    void restartDynamicTextLocked(int delayMs) REQUIRES(mStateLock);
    int nextDynamicTextDelayLocked() REQUIRES(mStateLock);
    void dynamicTextTickLocked(uint64_t gen, Outbox* out) REQUIRES(mStateLock);
    void sendDynamicTextLocked(const SimWorld::DynamicText& text, Outbox* out) REQUIRES(mStateLock);

    int tsTotalLocked() const REQUIRES(mStateLock);
    int tsCacheLocked() const REQUIRES(mStateLock);
    int tsDelayLocked() const REQUIRES(mStateLock);
    int tsStatusLocked() const REQUIRES(mStateLock);
    void tsReportLocked(Outbox* out, bool status, bool times, bool delay) REQUIRES(mStateLock);
    void tsTickLocked(uint64_t gen, Outbox* out) REQUIRES(mStateLock);
    void timeShiftCommandLocked(const std::string& name, Outbox* out) REQUIRES(mStateLock);

    bool takeListRequestLocked() REQUIRES(mStateLock);
    int requestListItem(ListKind kind, int position, int param);
    void answerListItemLocked(ListKind kind, int position, int param, Outbox* out) REQUIRES(mStateLock);
    void answerAbcSearchLocked(int position, uint8_t letter, Outbox* out) REQUIRES(mStateLock);
    void answerPresetLocked(int bank, int number, Outbox* out) REQUIRES(mStateLock);

    int scheduleControl(Action action);

    const std::shared_ptr<const SimWorld> mWorld;  // immutable
    // Lists derived from the world; immutable after construction.
    std::vector<SimWorld::ListEntry> mServiceCompList;
    std::vector<SimWorld::ListEntry> mPtyLists[4];
    std::vector<SimWorld::ListEntry> mEnsembleList;

    mutable HostMutex mStateLock;        // guards every field below
    std::condition_variable mStateWake;   // with mStateLock: new work or shutdown

    // Lifecycle.
    DABNotifyCallback mCallback GUARDED_BY(mStateLock) = nullptr;
    void* mCookie GUARDED_BY(mStateLock) = nullptr;
    bool mRunning GUARDED_BY(mStateLock) = false;
    // Changes at every finalize: the callback thread of an older run ends.
    uint64_t mRunId GUARDED_BY(mStateLock) = 0;
    std::thread mThread GUARDED_BY(mStateLock);
    Clock::time_point mPowerOnDue GUARDED_BY(mStateLock);  // no work is due before power-on
    // Due work, in order.
    std::map<std::pair<Clock::time_point, uint64_t>, Action> mTimers GUARDED_BY(mStateLock);
    uint64_t mTimerSeq GUARDED_BY(mStateLock) = 0;
    std::minstd_rand mRandom GUARDED_BY(mStateLock);

    // Reception.
    Station mStation GUARDED_BY(mStateLock);
    int mBand GUARDED_BY(mStateLock) = 1;  // preset bank 1..3
    // Last preset recalled per bank.
    int mBankPreset[SimWorld::kBanks] GUARDED_BY(mStateLock) = {1, 1, 1};
    SimWorld::Preset mPresets[SimWorld::kBanks][SimWorld::kPresetsPerBank] GUARDED_BY(mStateLock);
    int mPchNum GUARDED_BY(mStateLock) = 0;
    int mLogicMode GUARDED_BY(mStateLock) = EN_DAB_LM_NORMAL;
    int mErrorInfo GUARDED_BY(mStateLock) = EN_DAB_ERROR_INFO_NO_ERROR;
    int mAntStatus GUARDED_BY(mStateLock) = 1;
    int mSignalOverride GUARDED_BY(mStateLock) = 0;
    int mConnectStatus GUARDED_BY(mStateLock) = 1;

    // Seek and service-list update.
    Operation mOperation GUARDED_BY(mStateLock) = kOpIdle;
    // A step of an older operation finds it changed and stops.
    uint64_t mOperationGen GUARDED_BY(mStateLock) = 0;
    int mSeekDirection GUARDED_BY(mStateLock) = 1;
    int mSeekStartBlock GUARDED_BY(mStateLock) = SimWorld::kFirstBlock;
    int mUpdateBlock GUARDED_BY(mStateLock) = SimWorld::kFirstBlock;
    Station mUpdateReturn GUARDED_BY(mStateLock);

    // Dynamic label.
    uint64_t mDlsGen GUARDED_BY(mStateLock) = 0;
    size_t mDlsNext GUARDED_BY(mStateLock) = 0;
    bool mDlsOverride GUARDED_BY(mStateLock) = false;
    SimWorld::DynamicText mDlsOverrideText GUARDED_BY(mStateLock);

    // Time-shift.
    bool mListening GUARDED_BY(mStateLock) = false;
    Clock::time_point mListenStart GUARDED_BY(mStateLock);
    bool mTsView GUARDED_BY(mStateLock) = false;
    bool mTsPaused GUARDED_BY(mStateLock) = false;
    int mTsDelayBase GUARDED_BY(mStateLock) = 0;
    Clock::time_point mTsPauseStart GUARDED_BY(mStateLock);
    uint64_t mTsGen GUARDED_BY(mStateLock) = 0;

    // Records of the notification delivered last, per kind.
    ST_DAB_DLS_TEXT mDlsRecord GUARDED_BY(mStateLock);
    ST_DAB_PCH_LIST_ITEM mPchRecord GUARDED_BY(mStateLock);
    ST_DAB_SVC_LIST_DATA mSvcRecord GUARDED_BY(mStateLock);

    // Faults.
    bool mDropNextList GUARDED_BY(mStateLock) = false;
    bool mUnresponsive GUARDED_BY(mStateLock) = false;
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMTUNER_H
