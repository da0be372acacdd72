// Time-shift commands and queries. Binder threads, no lock: the time fields are single words
// that the notification thread writes as well.
#include "DABPlayerService.h"

#include "DABLog.h"
#include "DABTunerValues.h"

using namespace android;
using namespace media_lib_dab;

namespace {

// The only direction the service moves in: back from live by the given amount.
constexpr EN_DAB_TS_MOVE_DIRECT kTsMoveDirection = EN_DAB_TS_MOVE_BACKWARD;

bool refusedNull(const void* p, const char* operation) {
    if (p != nullptr) return false;
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::%s out pointer NULL", operation);
    return true;
}

}  // namespace

int DABPlayerService::timeShift() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::timeShift");
    if (!mIsActive) return -1;
    mDabLib.timeShifeModeOn();
    return 0;
}

int DABPlayerService::toLive() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::toLive");
    if (!mIsActive) return -1;
    mDabLib.live();
    return 0;
}

int DABPlayerService::toNormalView() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::toNormalView");
    if (!mIsActive) return -1;
    mDabLib.esc();
    return 0;
}

int DABPlayerService::timeShiftPlay() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::timeShiftPlay");
    if (!mIsActive) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in timeShiftPlay mIsActive != 1");
        return -1;
    }
    mDabLib.play();
    return 0;
}

int DABPlayerService::timeShiftPause() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::timeShiftPause");
    if (!mIsActive) {
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService in timeShiftPause mIsActive != 1");
        return -1;
    }
    mDabLib.pause();
    return 0;
}

int DABPlayerService::timeSeek(int time) {
    DAB_LOGD(DAB_TAG_PLAYER, "in timeSeek time=%d", time);
    if (!mIsActive) return -1;
    // Measured against the last known total time; the library is not asked again here. Any
    // client time fits the 64-bit difference, so an extreme one is refused, never overflows.
    const int64_t amount = int64_t{mCurrentTotalTime} - time;
    if (time < 0 || amount < 0) return -1;
    mDabLib.timeShiftMove(kTsMoveDirection, static_cast<unsigned short>(amount));
    return 0;
}

int DABPlayerService::getPlaybackStatus(int* status) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPlaybackStatus");
    if (!mIsActive || refusedNull(status, "getPlaybackStatus")) return -1;
    mCurrentPlaybackStatus = mDabLib.getTsStatus();
    *status = mCurrentPlaybackStatus;
    return *status >= 1 && *status <= 4 ? 0 : -1;
}

int DABPlayerService::getTotalTime(int* time) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getTotalTime");
    if (!mIsActive || refusedNull(time, "getTotalTime")) return -1;
    mCurrentTotalTime = decodeTsTime(mDabLib.getTsAllTime());
    *time = mCurrentTotalTime;
    return *time >= 0 ? 0 : -1;
}

int DABPlayerService::getCacheTime(int* time) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getCacheTime");
    if (!mIsActive || refusedNull(time, "getCacheTime")) return -1;
    mCurrentCacheTime = decodeTsTime(mDabLib.getTsSetTime());
    *time = mCurrentCacheTime;
    return *time >= 0 ? 0 : -1;
}

int DABPlayerService::getPauseTime(int* time) {
    DAB_LOGD(DAB_TAG_PLAYER, "in getPauseTime");
    if (!mIsActive || refusedNull(time, "getPauseTime")) return -1;
    // Delay first, total second: the two reads may straddle a change; the difference is as read.
    const int delay = decodeTsTime(mDabLib.getTsDelayTime());
    mCurrentPauseTime = delay;
    const int total = decodeTsTime(mDabLib.getTsAllTime());
    mCurrentTotalTime = total;
    *time = total - delay;
    return *time >= 0 ? 0 : -1;
}
