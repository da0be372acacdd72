#include "DABNotifyHistory.h"

#include <time.h>

using namespace android;

namespace {
template <class Record, size_t N>
void pushRing(Record (&ring)[N], size_t* next, size_t* count, const Record& r) {
    ring[*next] = r;
    *next = (*next + 1) % N;
    if (*count < N) ++*count;
}

template <class Record, size_t N>
void copyRing(const Record (&ring)[N], size_t next, size_t count, Vector<Record>* out) {
    out->clear();
    out->setCapacity(count);
    const size_t first = (next + N - count) % N;
    for (size_t i = 0; i < count; ++i) out->add(ring[(first + i) % N]);
}
}  // namespace

DABNotifyHistory::DABNotifyHistory()
    : mTuner(), mTunerNext(0), mTunerCount(0), mClient(), mClientNext(0), mClientCount(0),
      mLogicMode(), mLogicModeNext(0), mLogicModeCount(0) {}

int64_t DABNotifyHistory::nowNs() {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

void DABNotifyHistory::recordTuner(int32_t tunerId, int32_t value) {
    const DABTunerNotifyRecord r = {nowNs(), tunerId, value};
    Mutex::Autolock lock(mTunerLock);
    pushRing(mTuner, &mTunerNext, &mTunerCount, r);
}

void DABNotifyHistory::recordClient(int32_t msg, int32_t ext1, int32_t ext2, int32_t clients,
                                    bool hasParcel) {
    const DABClientNotifyRecord r = {nowNs(), msg, ext1, ext2, clients, hasParcel ? 1 : 0};
    Mutex::Autolock lock(mClientLock);
    pushRing(mClient, &mClientNext, &mClientCount, r);
}

void DABNotifyHistory::recordLogicMode(int32_t from, int32_t to, bool reported) {
    const DABLogicModeRecord r = {nowNs(), from, to, reported ? 1 : 0, DABCallCause::current()};
    Mutex::Autolock lock(mLogicModeLock);
    pushRing(mLogicMode, &mLogicModeNext, &mLogicModeCount, r);
}

void DABNotifyHistory::tunerRecords(Vector<DABTunerNotifyRecord>* out) const {
    Mutex::Autolock lock(mTunerLock);
    copyRing(mTuner, mTunerNext, mTunerCount, out);
}

void DABNotifyHistory::clientRecords(Vector<DABClientNotifyRecord>* out) const {
    Mutex::Autolock lock(mClientLock);
    copyRing(mClient, mClientNext, mClientCount, out);
}

void DABNotifyHistory::logicModeRecords(Vector<DABLogicModeRecord>* out) const {
    Mutex::Autolock lock(mLogicModeLock);
    copyRing(mLogicMode, mLogicModeNext, mLogicModeCount, out);
}
