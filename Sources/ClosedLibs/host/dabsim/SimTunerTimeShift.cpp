// Time-shift of the simulated tuner. The buffer records while a service is heard: the total
// time is what can be played back (at most the capacity of the world), the cache time all
// that was recorded since tuning; both grow by one per second. The delay is how far playback
// is behind live; it grows while paused. All times are in seconds and travel byte-swapped.
#include "SimTuner.h"

#include "HostMutex.h"

#include <algorithm>

namespace media_lib_dab {

namespace {

constexpr int kTickMs = 1000;  // times are reported once a second while the view is open
constexpr int kMaxTime = 0xFFFF;

}  // namespace

int SimTuner::tsCacheLocked() const {
    if (!mListening) return 0;
    auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - mListenStart).count();
    return static_cast<int>(std::min<int64_t>(seconds, kMaxTime));
}

int SimTuner::tsTotalLocked() const { return std::min(tsCacheLocked(), mWorld->timeShiftCapacitySeconds); }

int SimTuner::tsDelayLocked() const {
    int64_t delay = mTsDelayBase;
    if (mTsPaused) {
        delay += std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - mTsPauseStart).count();
    }
    return static_cast<int>(std::min<int64_t>(delay, tsTotalLocked()));
}

// 1 live, 2 playing behind live, 4 paused.
int SimTuner::tsStatusLocked() const {
    if (mTsPaused) return 4;
    return tsDelayLocked() > 0 ? 2 : 1;
}

void SimTuner::tsReportLocked(Outbox* out, bool status, bool times, bool delay) {
    if (status) push(out, DAB_NOTIFY_TS_STATUS, tsStatusLocked());
    if (times) {
        push(out, DAB_NOTIFY_TS_TOTAL_TIME, swapTime(tsTotalLocked()));
        push(out, DAB_NOTIFY_TS_CACHE_TIME, swapTime(tsCacheLocked()));
    }
    if (delay) push(out, DAB_NOTIFY_TS_PAUSE_TIME, swapTime(tsDelayLocked()));
}

void SimTuner::tsTickLocked(uint64_t gen, Outbox* out) {
    if (gen != mTsGen || !mTsView) return;
    tsReportLocked(out, false, true, mTsPaused);
    scheduleLocked(kTickMs, [this, gen](Outbox* o) REQUIRES(mStateLock) { tsTickLocked(gen, o); });
}

void SimTuner::timeShiftCommandLocked(const std::string& name, Outbox* out) {
    if (name == "timeShifeModeOn") {
        mTsView = true;
        const uint64_t gen = ++mTsGen;
        tsReportLocked(out, true, true, true);
        scheduleLocked(kTickMs, [this, gen](Outbox* o) REQUIRES(mStateLock) { tsTickLocked(gen, o); });
    } else if (name == "esc") {
        mTsView = false;
        ++mTsGen;
    } else if (name == "pause") {
        if (!mTsPaused) {
            mTsDelayBase = tsDelayLocked();
            mTsPaused = true;
            mTsPauseStart = Clock::now();
        }
        tsReportLocked(out, true, false, true);
    } else if (name == "play") {
        if (mTsPaused) {
            mTsDelayBase = tsDelayLocked();
            mTsPaused = false;
        }
        tsReportLocked(out, true, false, true);
    } else if (name == "live") {
        mTsPaused = false;
        mTsDelayBase = 0;
        tsReportLocked(out, true, false, true);
    }
}

int SimTuner::timeShiftMove(int direction, unsigned short amount) {
    if (direction != EN_DAB_TS_MOVE_BACKWARD) return -1;
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive) return 0;
    scheduleLocked(kCommandDelayMs, [this, amount](Outbox* out) REQUIRES(mStateLock) {
        // The amount is how far behind live playback goes on.
        mTsDelayBase = std::min<int>(amount, tsTotalLocked());
        mTsPauseStart = Clock::now();
        tsReportLocked(out, true, false, true);
    });
    return 0;
}

}  // namespace media_lib_dab
