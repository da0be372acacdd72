#ifndef DAB_TOOLS_DABDESK_NOTIFICATIONLOG_H
#define DAB_TOOLS_DABDESK_NOTIFICATIONLOG_H

#include "HostMutex.h"
#include "NotificationSink.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

// Every notification the desk's client object received, numbered in arrival order, so that a
// command can wait for the notifications that answer it.
class NotificationLog {
public:
    struct Entry {
        uint64_t seq;  // 1 for the first notification
        dabclient::Notification n;
    };

    // Any thread; non-blocking.
    NotificationLog();

    // Binder threads; non-blocking.
    void add(const dabclient::Notification& n);

    // Any thread; non-blocking. The number of the last notification (0 before any).
    uint64_t lastSeq() const;
    // Any thread; non-blocking. The last max notifications, oldest first.
    std::vector<Entry> recent(size_t max) const;
    // Any thread; blocks until a notification numbered above afterSeq satisfies match, or the
    // time-out. True with the first match in *found (may be null), false on time-out.
    bool waitFor(uint64_t afterSeq, const std::function<bool(const dabclient::Notification&)>& match,
                 std::chrono::milliseconds timeout, Entry* found);
    // Any thread; blocks until a notification arrives after afterSeq or the time-out. True when
    // one did.
    bool waitAny(uint64_t afterSeq, std::chrono::milliseconds timeout);

private:
    // Keeps this many notifications; a waiter looks no further back.
    static constexpr size_t kMaxEntries = 4096;

    mutable HostMutex mLogLock;           // guards the fields below
    std::condition_variable mAdded;       // signalled under mLogLock
    std::deque<Entry> mEntries GUARDED_BY(mLogLock);
    uint64_t mLastSeq GUARDED_BY(mLogLock);
};

#endif  // DAB_TOOLS_DABDESK_NOTIFICATIONLOG_H
