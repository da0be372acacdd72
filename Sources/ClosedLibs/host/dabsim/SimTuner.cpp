#include "SimTuner.h"

#include "HostMutex.h"

#include "SimCharset.h"

#include <log/log_tag_id.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace media_lib_dab {

namespace {

constexpr const char* kLogTag = "DABSim";
constexpr int kLogInfo = 4;
constexpr int kLogError = 6;

constexpr int kPowerOnDelayMs = 50;  // the tuner reports its state this long after start-up

HostMutex gInstallLock;
std::shared_ptr<const SimWorld> gDefaultWorld;  // guarded by gInstallLock

HostMutex gActiveLock;
android::wp<SimTuner> gActive;  // guarded by gActiveLock

android::sp<DABLibBackend> makeDefaultTuner() {
    std::shared_ptr<const SimWorld> world;
    {
        HostMutex::Autolock lock(gInstallLock);
        world = gDefaultWorld;
    }
    if (world == nullptr) world = std::make_shared<SimWorld>(SimWorld::builtIn());
    return new SimTuner(world);
}

}  // namespace

SimTuner::SimTuner(std::shared_ptr<const SimWorld> world)
    : mWorld(world != nullptr ? std::move(world) : std::make_shared<SimWorld>(SimWorld::builtIn())),
      mRandom(20240611u) {
    mServiceCompList = mWorld->serviceComponentList();
    for (int g = 0; g < 4; ++g) mPtyLists[g] = mWorld->ptyList(g + 1);
    mEnsembleList = mWorld->ensembleList();
    for (int b = 0; b < SimWorld::kBanks; ++b) {
        for (int p = 0; p < SimWorld::kPresetsPerBank; ++p) mPresets[b][p] = mWorld->presets[b][p];
    }
    memset(&mDlsRecord, 0, sizeof(mDlsRecord));
    memset(&mPchRecord, 0, sizeof(mPchRecord));
    memset(&mSvcRecord, 0, sizeof(mSvcRecord));
}

SimTuner::~SimTuner() {
    // The callback thread holds a strong reference while it runs, so it has ended or was
    // detached by a finalize on itself; nothing is left to join.
    if (mThread.joinable()) mThread.detach();
}

bool SimTuner::installAsDefault(std::string* error) {
    auto world = std::make_shared<SimWorld>();
    const char* path = getenv("DAB_SIM_SCENARIO");
    if (path != nullptr && path[0] != '\0') {
        std::string why;
        if (!SimWorld::loadScenario(path, world.get(), &why)) {
            __android_log_print_tag_id(kLogError, 0, kLogTag, "scenario refused: %s", why.c_str());
            if (error) *error = why;
            return false;
        }
    } else {
        *world = SimWorld::builtIn();
    }
    __android_log_print_tag_id(kLogInfo, 0, kLogTag, "simulated tuner: %s world, %d ensembles, %d services",
                               world->origin.c_str(), static_cast<int>(world->ensembles.size()),
                               world->serviceCount());
    {
        HostMutex::Autolock lock(gInstallLock);
        gDefaultWorld = world;
    }
    DABLibBackend::setDefaultFactory(&makeDefaultTuner);
    return true;
}

android::sp<SimTuner> SimTuner::active() {
    HostMutex::Autolock lock(gActiveLock);
    return gActive.promote();
}

int SimTuner::initialize(DABNotifyCallback callback, void* cookie) {
    if (callback == nullptr) return -1;
    {
        HostMutex::Autolock lock(mStateLock);
        if (mRunning) return -1;
        mCallback = callback;
        mCookie = cookie;
        mRunning = true;
        const uint64_t runId = mRunId;
        mPowerOnDue = Clock::now() + std::chrono::milliseconds(kPowerOnDelayMs);
        scheduleLocked(0, [this](Outbox* out) REQUIRES(mStateLock) { powerOnLocked(out); });  // at mPowerOnDue
        android::sp<SimTuner> self(this);
        mThread = std::thread([self, runId]() { self->threadLoop(runId); });
    }
    HostMutex::Autolock lock(gActiveLock);
    gActive = this;
    return 0;
}

int SimTuner::finalize() {
    std::thread thread;
    {
        HostMutex::Autolock lock(mStateLock);
        if (!mRunning) return 0;
        mRunning = false;
        ++mRunId;
        mTimers.clear();
        thread = std::move(mThread);
    }
    mStateWake.notify_all();
    {
        HostMutex::Autolock lock(gActiveLock);
        if (gActive.unsafe_get() == this) gActive.clear();
    }
    if (thread.joinable()) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();  // ends when the notification being delivered returns
        } else {
            thread.join();
        }
    }
    return 0;
}

void SimTuner::threadLoop(uint64_t runId) {
    HostMutex::Autolock lock(mStateLock);
    while (mRunId == runId) {
        if (mTimers.empty()) {
            mStateWake.wait(lock.native());
            continue;
        }
        auto first = mTimers.begin();
        // A copy: the node may go while the wait has released the lock.
        const Clock::time_point due = first->first.first;
        if (due > Clock::now()) {
            mStateWake.wait_until(lock.native(), due);
            continue;
        }
        Action action = std::move(first->second);
        mTimers.erase(first);
        Outbox out;
        action(&out);
        if (mUnresponsive) out.clear();
        for (const Note& note : out) {
            if (mRunId != runId) break;
            // The reader of this notification fetches this record.
            switch (note.record) {
                case Note::kDls: mDlsRecord = note.dls; break;
                case Note::kPch: mPchRecord = note.pch; break;
                case Note::kSvc: mSvcRecord = note.svc; break;
                case Note::kNone: break;
            }
            DABNotifyCallback callback = mCallback;
            void* cookie = mCookie;
            lock.unlock();
            callback(cookie, note.id, note.value);
            lock.lock();
        }
    }
}

bool SimTuner::acceptingLocked() const { return mRunning && !mUnresponsive; }

void SimTuner::scheduleLocked(int delayMs, Action action) {
    // Nothing happens before the tuner has powered on; the power-on itself is queued first.
    auto due = std::max(Clock::now() + std::chrono::milliseconds(delayMs), mPowerOnDue);
    bool first = mTimers.empty() || due < mTimers.begin()->first.first;
    mTimers.emplace(std::make_pair(due, mTimerSeq++), std::move(action));
    if (first) mStateWake.notify_all();
}

int SimTuner::randomMsLocked(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(mRandom);
}

void SimTuner::push(Outbox* out, DABNotifyID id, int value) {
    Note note;
    memset(&note, 0, sizeof(note));
    note.id = id;
    note.value = value;
    note.record = Note::kNone;
    out->push_back(note);
}

int SimTuner::command(const char* name) {
    if (name == nullptr) return -1;
    static const char* const kTimeShift[] = {"timeShifeModeOn", "live", "esc", "play", "pause"};
    static const char* const kQuiet[] = {"abcSearchModeOn", "abcSearchModeOff", "abcSearchStop"};
    const std::string cmd(name);

    Action action;
    if (cmd == "manualUp" || cmd == "manualDown") {
        int dir = cmd == "manualUp" ? 1 : -1;
        action = [this, dir](Outbox* out) REQUIRES(mStateLock) { stepLocked(dir, out); };
    } else if (cmd == "seekUp" || cmd == "seekDown") {
        int dir = cmd == "seekUp" ? 1 : -1;
        action = [this, dir](Outbox* out) REQUIRES(mStateLock) { seekCommandLocked(dir, out); };
    } else if (cmd == "switchBand") {
        action = [this](Outbox* out) REQUIRES(mStateLock) { switchBandLocked(out); };
    } else if (cmd.size() == 13 && cmd.compare(0, 6, "preset") == 0 && cmd.compare(7, 6, "Recall") == 0 &&
               cmd[6] >= '1' && cmd[6] <= '6') {
        int number = cmd[6] - '0';
        action = [this, number](Outbox* out) REQUIRES(mStateLock) { recallPresetLocked(mBand, number, out); };
    } else if (cmd == "presetChannelUp" || cmd == "presetChannelDown") {
        int dir = cmd == "presetChannelUp" ? 1 : -1;
        action = [this, dir](Outbox* out) REQUIRES(mStateLock) { presetStepLocked(dir, out); };
    } else if (cmd == "listUpdateStart") {
        action = [this](Outbox* out) REQUIRES(mStateLock) { listUpdateStartLocked(out); };
    } else if (cmd == "listUpdateCancel") {
        action = [this](Outbox* out) REQUIRES(mStateLock) {
            if (mOperation == kOpListUpdate) listUpdateFinishLocked(out);
        };
    } else if (cmd == "dynamicModeOn") {
        action = [this](Outbox*) REQUIRES(mStateLock) {
            if (mListening) restartDynamicTextLocked(0);
        };
    } else {
        bool known = false;
        for (const char* ts : kTimeShift) {
            if (cmd == ts) {
                action = [this, cmd](Outbox* out) REQUIRES(mStateLock) { timeShiftCommandLocked(cmd, out); };
                known = true;
            }
        }
        for (const char* quiet : kQuiet) known = known || cmd == quiet;
        if (!known) return -1;
        if (!action) return 0;  // accepted; the simulated search needs no mode
    }

    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive) return 0;
    scheduleLocked(kCommandDelayMs, std::move(action));
    return 0;
}

int SimTuner::pchMemory(int band, int preset) {
    if (band < 0 || band >= SimWorld::kBanks || preset < 1 || preset > SimWorld::kPresetsPerBank) return -1;
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive) return 0;
    scheduleLocked(kCommandDelayMs, [this, band, preset](Outbox* out) REQUIRES(mStateLock) { storePresetLocked(band + 1, preset, out); });
    return 0;
}

int SimTuner::pchRecall(int band, int preset) {
    if (band < 0 || band >= SimWorld::kBanks || preset < 1 || preset > SimWorld::kPresetsPerBank) return -1;
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive) return 0;
    scheduleLocked(kCommandDelayMs, [this, band, preset](Outbox* out) REQUIRES(mStateLock) {
        endOperationLocked(out);
        if (mBand != band + 1) {
            mBand = band + 1;
            push(out, DAB_NOTIFY_BAND, mBand);
        }
        recallPresetLocked(mBand, preset, out);
    });
    return 0;
}

int SimTuner::serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid, unsigned char scid) {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive) return 0;
    scheduleLocked(kCommandDelayMs, [this, nm, eid, sid, scid](Outbox* out) REQUIRES(mStateLock) {
        serviceRecallLocked(nm, eid, static_cast<uint32_t>(sid), scid, out);
    });
    return 0;
}

int SimTuner::getter(const char* name) {
    if (name == nullptr) return 0;
    const std::string g(name);
    HostMutex::Autolock lock(mStateLock);
    const SimWorld::Service* svc = serviceLocked();
    if (g == "getBand") return mBand;
    if (g == "getPchNum") return mPchNum;
    if (g == "getNmValue") return mStation.block;
    if (g == "getLogicMode") return mLogicMode;
    if (g == "getErrorInfo") return mErrorInfo;
    if (g == "getAntStatus") return mAntStatus;
    if (g == "getSignalLevel") return signalLevelLocked();
    if (g == "getFmLink") return svc != nullptr ? svc->fmLink : 1;
    if (g == "getBitRate") return svc != nullptr ? svc->bitRate : 0;
    if (g == "getComponentTotal") return svc != nullptr ? static_cast<int>(svc->components.size()) : 0;
    if (g == "getComponentNum") return svc != nullptr ? mStation.component + 1 : 0;
    if (g == "getTsStatus") return tsStatusLocked();
    if (g == "getTsAllTime") return swapTime(tsTotalLocked());
    if (g == "getTsDelayTime") return swapTime(tsDelayLocked());
    if (g == "getTsSetTime") return swapTime(tsCacheLocked());
    return 0;
}

int SimTuner::getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) {
    if (out == nullptr || type < EN_DAB_TEXT_TYPE_ENSEMBLE || type > EN_DAB_TEXT_TYPE_COMPONENT) return -1;
    memset(out, 0, sizeof(*out));
    HostMutex::Autolock lock(mStateLock);
    const SimWorld::Ensemble* ens = ensembleLocked();
    const SimWorld::Service* svc = serviceLocked();
    if (ens == nullptr || svc == nullptr) return 0;  // nothing received: no label at all
    const SimWorld::Label* label = &ens->label;
    if (type == EN_DAB_TEXT_TYPE_SERVICE) label = &svc->label;
    if (type == EN_DAB_TEXT_TYPE_COMPONENT) label = &svc->components[mStation.component].label;
    if (label->present) {
        out->charset = static_cast<uint32_t>(label->charset);
        memcpy(out->text, label->bytes.data(), std::min(label->bytes.size(), sizeof(out->text)));
    } else {
        out->charset = 1;
        memcpy(out->text, kNoDataProvided, sizeof(out->text));
    }
    return 0;
}

int SimTuner::getDlsData(ST_DAB_DLS_TEXT* out) {
    if (out == nullptr) return -1;
    HostMutex::Autolock lock(mStateLock);
    *out = mDlsRecord;
    return 0;
}

int SimTuner::getPchListItem(ST_DAB_PCH_LIST_ITEM* out) {
    if (out == nullptr) return -1;
    HostMutex::Autolock lock(mStateLock);
    *out = mPchRecord;
    return 0;
}

int SimTuner::getSvcListItem(ST_DAB_SVC_LIST_DATA* out) {
    if (out == nullptr) return -1;
    HostMutex::Autolock lock(mStateLock);
    *out = mSvcRecord;
    return 0;
}

int SimTuner::scheduleControl(Action action) {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    scheduleLocked(0, std::move(action));
    return 0;
}

int SimTuner::setAntennaStatus(int status) {
    if (status < 1 || status > 5) return -1;
    return scheduleControl([this, status](Outbox* out) REQUIRES(mStateLock) {
        mAntStatus = status;
        push(out, DAB_NOTIFY_ANT_STATUS, status);
    });
}

int SimTuner::setErrorInfo(int error) {
    if (error < 0 || error > 2) return -1;
    return scheduleControl([this, error](Outbox* out) REQUIRES(mStateLock) {
        mErrorInfo = error;
        push(out, DAB_NOTIFY_ERROR_INFO, error);
    });
}

int SimTuner::setSignalLevel(int level) {
    if (level < 0 || level > 7) return -1;
    return scheduleControl([this, level](Outbox* out) REQUIRES(mStateLock) {
        mSignalOverride = level;
        push(out, DAB_NOTIFY_SIGNAL_LEVEL, signalLevelLocked());
    });
}

int SimTuner::setConnectStatus(int status) {
    if (status < 0 || status > 255) return -1;
    return scheduleControl([this, status](Outbox* out) REQUIRES(mStateLock) {
        mConnectStatus = status;
        push(out, DAB_NOTIFY_CONNECT_STATUS, status);
    });
}

int SimTuner::setDynamicText(const std::string& utf8, int charset) {
    SimWorld::DynamicText text;
    text.charset = charset;
    if (!SimCharset::isSupported(charset) || !SimCharset::encode(utf8, charset, &text.bytes, nullptr) ||
        text.bytes.size() > static_cast<size_t>(SimWorld::kDynamicTextBytes)) {
        return -1;
    }
    return scheduleControl([this, text](Outbox* out) REQUIRES(mStateLock) {
        if (text.bytes.empty()) {
            mDlsOverride = false;
            Note clear;
            memset(&clear, 0, sizeof(clear));
            clear.id = DAB_NOTIFY_DLS;
            clear.record = Note::kDls;
            out->push_back(clear);  // first segment, empty text, length 0: the display clears
            if (mListening) restartDynamicTextLocked(nextDynamicTextDelayLocked());
            return;
        }
        mDlsOverride = true;
        mDlsOverrideText = text;
        if (mListening) restartDynamicTextLocked(0);
    });
}

int SimTuner::dropNextListRequest() {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    mDropNextList = true;
    return 0;
}

int SimTuner::setUnresponsive(bool unresponsive) {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    mUnresponsive = unresponsive;
    return 0;
}

bool SimTuner::takeListRequestLocked() {
    if (!mDropNextList) return false;
    mDropNextList = false;
    return true;
}

}  // namespace media_lib_dab
