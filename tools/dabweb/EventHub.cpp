#include "EventHub.h"
#include "HostMutex.h"

namespace dabweb {

EventHub::EventHub() : mFirstSeq(1), mClosed(false) {}

uint64_t EventHub::publish(const char* type, const nlohmann::ordered_json& data) {
    // Formatted once, outside the lock; replace keeps a bad byte sequence from throwing.
    std::string body = data.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    uint64_t seq = 0;
    {
        HostMutex::Autolock lock(mEventsLock);
        seq = mFirstSeq + mEvents.size();
        std::string record = "id: " + std::to_string(seq) + "\nevent: " + type + "\ndata: ";
        record += body;
        record += "\n\n";
        mEvents.push_back(std::move(record));
        if (mEvents.size() > kWindow) {
            mEvents.pop_front();
            ++mFirstSeq;
        }
    }
    mChanged.notify_all();
    return seq;
}

uint64_t EventHub::nextSeq() {
    HostMutex::Autolock lock(mEventsLock);
    return mFirstSeq + mEvents.size();
}

EventHub::WaitResult EventHub::waitFrom(uint64_t* next, std::chrono::milliseconds timeout,
                                        size_t maxEvents, std::string* out) {
    out->clear();
    HostMutex::Autolock lock(mEventsLock);
    const bool woken = mChanged.wait_for(lock.native(), timeout, [&]() REQUIRES(mEventsLock) {
        return mClosed || *next < mFirstSeq + mEvents.size();
    });
    if (mClosed) return kClosed;
    if (!woken) return kTimeout;
    if (*next < mFirstSeq) return kBehind;
    size_t i = static_cast<size_t>(*next - mFirstSeq);
    for (size_t n = 0; i < mEvents.size() && n < maxEvents; ++i, ++n) *out += mEvents[i];
    *next = mFirstSeq + i;
    return kEvents;
}

void EventHub::close() {
    {
        HostMutex::Autolock lock(mEventsLock);
        mClosed = true;
    }
    mChanged.notify_all();
}

}  // namespace dabweb
