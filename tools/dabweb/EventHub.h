#ifndef DAB_TOOLS_DABWEB_EVENTHUB_H
#define DAB_TOOLS_DABWEB_EVENTHUB_H

#include "HostMutex.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace dabweb {

// The Server-Sent Events stream shared by every browser: events numbered from 1, kept in a
// bounded window so that each stream reads at its own pace. A stream that falls behind the
// window is told so and ends; the browser reconnects and starts from a fresh state.
class EventHub {
public:
    enum WaitResult {
        kEvents,   // *out holds the next events
        kTimeout,  // nothing new within the time-out
        kBehind,   // events before the window were dropped: the stream must end
        kClosed,   // the hub is shutting down
    };
    static constexpr size_t kWindow = 8192;

    EventHub();

    // Any thread; non-blocking. Appends one event of that type and wakes the streams. The
    // event's number.
    uint64_t publish(const char* type, const nlohmann::ordered_json& data);

    // Any thread; non-blocking. The number the next event will get.
    uint64_t nextSeq();

    // HTTP worker threads; blocks up to timeout. The formatted events numbered from next on
    // (at most maxEvents); *next moves past them.
    WaitResult waitFrom(uint64_t* next, std::chrono::milliseconds timeout, size_t maxEvents,
                        std::string* out);

    // Any thread; non-blocking. Wakes every waiting stream for good.
    void close();

private:
    HostMutex mEventsLock;               // guards every field below
    std::condition_variable mChanged;    // with mEventsLock: an event arrived or the hub closed
    std::deque<std::string> mEvents GUARDED_BY(mEventsLock);  // the window, formatted as SSE records
    uint64_t mFirstSeq GUARDED_BY(mEventsLock);  // the number of mEvents.front()
    bool mClosed GUARDED_BY(mEventsLock);
};

}  // namespace dabweb

#endif  // DAB_TOOLS_DABWEB_EVENTHUB_H
