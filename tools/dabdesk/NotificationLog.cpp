#include "NotificationLog.h"
#include "HostMutex.h"

#include <algorithm>

NotificationLog::NotificationLog() : mLastSeq(0) {}

void NotificationLog::add(const dabclient::Notification& n) {
    HostMutex::Autolock lock(mLogLock);
    mEntries.push_back(Entry{++mLastSeq, n});
    while (mEntries.size() > kMaxEntries) mEntries.pop_front();
    mAdded.notify_all();
}

uint64_t NotificationLog::lastSeq() const {
    HostMutex::Autolock lock(mLogLock);
    return mLastSeq;
}

std::vector<NotificationLog::Entry> NotificationLog::recent(size_t max) const {
    HostMutex::Autolock lock(mLogLock);
    const size_t n = std::min(max, mEntries.size());
    return std::vector<Entry>(mEntries.end() - static_cast<std::ptrdiff_t>(n), mEntries.end());
}

bool NotificationLog::waitFor(uint64_t afterSeq,
                              const std::function<bool(const dabclient::Notification&)>& match,
                              std::chrono::milliseconds timeout, Entry* found) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    HostMutex::Autolock lock(mLogLock);
    uint64_t checked = afterSeq;
    for (;;) {
        for (const Entry& e : mEntries) {
            if (e.seq <= checked) continue;
            checked = e.seq;
            if (match(e.n)) {
                if (found != nullptr) *found = e;
                return true;
            }
        }
        if (mAdded.wait_until(lock.native(), deadline) == std::cv_status::timeout &&
            (mEntries.empty() || mEntries.back().seq <= checked)) {
            return false;
        }
    }
}

bool NotificationLog::waitAny(uint64_t afterSeq, std::chrono::milliseconds timeout) {
    HostMutex::Autolock lock(mLogLock);
    return mAdded.wait_for(lock.native(), timeout, [this, afterSeq]() REQUIRES(mLogLock) { return mLastSeq > afterSeq; });
}
