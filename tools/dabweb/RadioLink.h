#ifndef DAB_TOOLS_DABWEB_RADIOLINK_H
#define DAB_TOOLS_DABWEB_RADIOLINK_H

#include "EventHub.h"
#include "HostMutex.h"
#include "PlayerConnection.h"
#include "RadioModel.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <thread>

namespace dabweb {

// dabweb's connection to the radio: its own client object of the player service. One thread
// (the link thread) connects, reconnects after the service went away, applies every
// notification to the model in order and publishes it to the browsers, and reads what a
// notification announces (a preset, a list item, the information bar). The service's getters
// are read only at (re)connection and for what a notification announces; nothing is polled.
class RadioLink {
public:
    // Main thread; non-blocking.
    RadioLink(RadioModel& model, EventHub& hub);
    // Main thread; blocks until the link thread has ended.
    ~RadioLink();

    // Main thread, once; non-blocking. Starts the link thread.
    void start();
    // Main thread; blocks until the link thread has ended.
    void stop();

    // Any thread; non-blocking. The client object, null while the service is not connected.
    android::sp<android::IDABPlayer> player();

private:
    struct Queued {
        unsigned generation;  // the connection it came from
        dabclient::Notification n;
    };

    void threadLoop();
    bool connect();                          // link thread
    void resync();                           // link thread: the whole state, read once
    void handle(const dabclient::Notification& n);  // link thread
    void refreshInfobar();                   // link thread
    void readPresets(bool lastPass);         // link thread: the presets announced meanwhile
    void disconnected();                     // link thread
    bool waitForStop(std::chrono::milliseconds d);  // link thread

    RadioModel& mModel;  // immutable; locks of its own
    EventHub& mHub;      // immutable; locks of its own
    std::thread mThread;  // main thread only

    HostMutex mQueueLock;              // guards the four fields below
    std::condition_variable mQueueChanged;  // with mQueueLock
    std::deque<Queued> mQueue GUARDED_BY(mQueueLock);  // notifications not yet applied
    bool mStopping GUARDED_BY(mQueueLock);
    bool mDied GUARDED_BY(mQueueLock);  // the connected service went away
    unsigned mGeneration GUARDED_BY(mQueueLock);  // counts connections; stale notifications are dropped

    HostMutex mConnectionLock;  // guards mConnection
    android::sp<dabclient::PlayerConnection> mConnection GUARDED_BY(mConnectionLock);  // null while not connected

    // Link thread only.
    uint64_t mNotifySeq;
    bool mNeedResync;
    bool mInfobarDirty;
    std::chrono::steady_clock::time_point mLastInfobar;
    // Presets announced and not yet read (bit band * 8 + index), and when to read them: the
    // service announces a preset before it caches it, so the read waits a little, and is
    // repeated once later for a machine too busy for the first.
    uint32_t mPresetsDue;
    uint32_t mPresetsRecheck;
    std::chrono::steady_clock::time_point mPresetsDueAt;
    std::chrono::steady_clock::time_point mPresetsRecheckAt;
};

}  // namespace dabweb

#endif  // DAB_TOOLS_DABWEB_RADIOLINK_H
