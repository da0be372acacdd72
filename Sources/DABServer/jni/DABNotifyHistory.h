#ifndef DAB_SERVER_DABNOTIFYHISTORY_H
#define DAB_SERVER_DABNOTIFYHISTORY_H

#include "DABCallCause.h"

#include <stdint.h>

#include <type_traits>

#include <utils/Mutex.h>
#include <utils/Vector.h>

// One tuner notification as it reached the service.
struct DABTunerNotifyRecord {
    int64_t timeNs;  // monotonic clock
    int32_t tunerId;
    int32_t value;
};

// One fan-out to the clients.
struct DABClientNotifyRecord {
    int64_t timeNs;  // monotonic clock
    int32_t msg;
    int32_t ext1;
    int32_t ext2;
    int32_t clients;    // registry entries at the time
    int32_t hasParcel;  // 1 when a parcel went with it
};

// One change of the logic mode: stored (the service's own mode changed) or reported (sent
// to the clients), with what caused it.
struct DABLogicModeRecord {
    int64_t timeNs;  // monotonic clock
    int32_t from;    // stored: the previous mode; reported: -1
    int32_t to;
    int32_t reported;  // 0 stored, 1 reported
    DABCallCause cause;
};

static_assert(std::is_trivially_copyable<DABTunerNotifyRecord>::value, "plain record");
static_assert(std::is_trivially_copyable<DABClientNotifyRecord>::value, "plain record");
static_assert(std::is_trivially_copyable<DABLogicModeRecord>::value, "plain record");

// The service's recent history for its dump: the last tuner notifications, the last client
// notifications and the last logic-mode changes, each in a fixed ring under a lock of its
// own that is held only to copy one record in or the ring out.
class DABNotifyHistory {
public:
    static constexpr size_t kTunerCapacity = 100;
    static constexpr size_t kClientCapacity = 100;
    static constexpr size_t kLogicModeCapacity = 20;

    // Any thread; non-blocking.
    DABNotifyHistory();

    // Tuner callback thread; takes mTunerLock for one copy.
    void recordTuner(int32_t tunerId, int32_t value);
    // Any thread that fans out; takes mClientLock for one copy.
    void recordClient(int32_t msg, int32_t ext1, int32_t ext2, int32_t clients, bool hasParcel);
    // Any thread; takes mLogicModeLock for one copy. The cause is the calling thread's.
    void recordLogicMode(int32_t from, int32_t to, bool reported);

    // Any thread; each takes its ring's lock for one copy. Oldest first.
    void tunerRecords(android::Vector<DABTunerNotifyRecord>* out) const;
    void clientRecords(android::Vector<DABClientNotifyRecord>* out) const;
    void logicModeRecords(android::Vector<DABLogicModeRecord>* out) const;

    // Any thread; pure. The monotonic clock in nanoseconds.
    static int64_t nowNs();

private:
    DABNotifyHistory(const DABNotifyHistory&) = delete;
    DABNotifyHistory& operator=(const DABNotifyHistory&) = delete;

    mutable android::Mutex mTunerLock;             // guards mTuner, mTunerNext, mTunerCount
    DABTunerNotifyRecord mTuner[kTunerCapacity] GUARDED_BY(mTunerLock);
    size_t mTunerNext GUARDED_BY(mTunerLock);
    size_t mTunerCount GUARDED_BY(mTunerLock);

    mutable android::Mutex mClientLock;              // guards mClient, mClientNext, mClientCount
    DABClientNotifyRecord mClient[kClientCapacity] GUARDED_BY(mClientLock);
    size_t mClientNext GUARDED_BY(mClientLock);
    size_t mClientCount GUARDED_BY(mClientLock);

    mutable android::Mutex mLogicModeLock;  // guards mLogicMode, mLogicModeNext, mLogicModeCount
    DABLogicModeRecord mLogicMode[kLogicModeCapacity] GUARDED_BY(mLogicModeLock);
    size_t mLogicModeNext GUARDED_BY(mLogicModeLock);
    size_t mLogicModeCount GUARDED_BY(mLogicModeLock);
};

#endif  // DAB_SERVER_DABNOTIFYHISTORY_H
