#ifndef DAB_PLATFORM_HOST_BINDER_RUNTIME_H
#define DAB_PLATFORM_HOST_BINDER_RUNTIME_H

// The process side of the cross-process binder transport: the runtime directory of service
// sockets, the listening sockets, and the pool threads that read every connection and serve
// incoming calls.
//
// Threads (so that a call costs the same wake-ups as a raw socket exchange, on one thread):
// - pool threads are spawned once the process has a socket, and on demand up to the
//   maximum. One of the idle ones, the leader, waits in the main epoll set holding every
//   listening socket and connection; the others wait in a standby set. Woken, the leader
//   handles its event (accepts, or reads and checks messages, completes waiting calls,
//   queues incoming calls, re-arms the one-shot socket), serves what it queued itself, then
//   leads again: a stream of calls is served by one thread that nobody else wakes, so the
//   scheduler keeps it beside its caller. When a thread leaves to serve with no leader, a
//   one-shot stall timer (1 ms) is started unless running; when it fires, a standby thread
//   becomes the leader if no thread has led since it started (a blocked call never leaves
//   the sockets unwatched for long), starts it again if threads did lead but none leads
//   now, and lets it rest once a leader waits. Work queued from outside the pool
//   wakes the leader or a standby thread through an eventfd; a thread leaving for user code
//   with no standby thread starts one if the maximum allows.
//   Reading never blocks on a peer: every socket is non-blocking.
// - pool threads also run one-way calls, death notifications and the release of objects
//   peers no longer hold: all user code runs there, never while a socket is being read.
// - a thread waiting for a reply reads its connection itself when nobody else is reading it
//   (the connection is taken out of the epoll set meanwhile), and serves the calls nested
//   in its own call, so a callback into a process that waits on the caller cannot deadlock.

#include "HostMutex.h"
#include <binder/IBinder.h>
#include <utils/RefBase.h>

#include <sys/epoll.h>
#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace android {

class BinderConnection;

// Tag and tag id of the transport's own log lines.
constexpr const char kBinderLogTag[] = "binder";
constexpr int kBinderLogTagId = 0;

// Queued outgoing data one connection may hold before its peer is dropped; a peer that reads
// nothing (stopped, hung) reaches it while every other connection goes on.
constexpr size_t kMaxQueuedMessages = 1024;
constexpr size_t kMaxQueuedBytes = 4u << 20;
// Incoming calls from one connection that may wait for a pool thread before the peer is
// dropped: a peer cannot make the process allocate without bound.
constexpr size_t kMaxInboundQueued = 4096;
// Pool threads spawned on demand when no maximum was set.
constexpr size_t kDefaultMaxPoolThreads = 15;
// How long getService waits for a service that is starting.
constexpr int kGetServiceWaitMs = 2000;
// Epoll id of the eventfd that wakes a waiting pool thread for queued work.
constexpr uint64_t kWorkEventId = ~0ull;
// How long the sockets may go unwatched while the leader serves a call before a standby
// thread takes over. The timer runs only while calls are served, so an idle process never
// wakes. Longer than the kernel's tick: a timer due before the next tick makes every call
// reprogram the CPU's timer hardware when it is armed and again when it is cancelled, which
// costs a notification fanned out to 64 processes about a third of its time.
constexpr long kStallTimeoutNs = 5000000;

// One unit of work for a pool thread, or for a waiting thread when it is a nested call.
struct BinderWork {
    std::function<void()> run;
    // Set for a one-way call: calls to one target run one at a time, in arrival order.
    IBinder* onewayTarget = nullptr;
    // Set for an incoming call: counted against that connection until a thread takes it.
    sp<BinderConnection> inboundFrom;
};

// The transport's per-thread state. Only its owner thread touches `stack`; `inbox` is filled
// by whichever thread reads the connection a nested call came on.
struct BinderThreadState {
    struct Served {
        const BinderConnection* connection;
        uint32_t peerThread;  // the thread of the peer waiting for this call's reply
    };

    // Any thread; non-blocking. The calling thread's state.
    static BinderThreadState& self();

    // Owner thread: the eventfd that wakes it while it polls its connection (made on first
    // use).
    int wakeFd();
    // Any thread, lock held: wakes the owner out of its poll.
    void signalWakeLocked() REQUIRES(lock);

    const uint32_t token;                              // immutable, unique in the process
    HostMutex lock;                                   // guards inbox, polling and call states
    std::condition_variable wake;                      // signalled under lock
    std::deque<std::unique_ptr<BinderWork>> inbox GUARDED_BY(lock);     // nested calls
    bool polling GUARDED_BY(lock);                                      // in poll on wakeFd
    bool readingFreed GUARDED_BY(lock);  // a connection it waits on is free to read
    std::vector<Served> stack;                         // owner thread only: calls being served
    bool handlingEvent;                                // owner thread only: in a socket event

private:
    BinderThreadState();
    ~BinderThreadState();
    int mWakeFd;  // owner thread creates it; others write to it under lock
};

class BinderRuntime {
public:
    // Any thread; non-blocking. The process's runtime, created on first use, never destroyed
    // (threads may still run while the process exits).
    static BinderRuntime& instance();

    // Any thread; non-blocking. $DAB_BINDER_DIR, else $XDG_RUNTIME_DIR/dabbinder, else
    // /tmp/dabbinder-<uid>; read at each call so a test can point a fresh one.
    static std::string runtimeDirectory();
    // Any thread; non-blocking. Whether dir may serve as the runtime directory: missing (a
    // server creates it), or a real directory of this user that nobody else can enter. False
    // with *problem saying why (for the user) otherwise.
    static bool checkRuntimeDirectory(const std::string& dir, std::string* problem);
    // Any thread; non-blocking. Whether a service name can be a socket name.
    static bool isValidSocketName(const std::string& name);
    // Any thread; non-blocking. <dir>/<name>.sock.
    static std::string socketPath(const std::string& name);

    // Any thread; non-blocking. Listens on the service's socket; a stale socket nobody answers
    // on is replaced. ALREADY_EXISTS when a live process serves the name.
    status_t listen(const std::string& name);
    // Any thread; non-blocking (connect on a local socket). The connection to the process
    // serving the name, reusing an existing connection to that process; null when nobody
    // listens.
    sp<BinderConnection> connectToService(const std::string& name);

    // Any thread; non-blocking. Hands work to the pool, spawning a thread when none is free.
    void queueWork(std::unique_ptr<BinderWork> work);
    // Any thread; blocks for ever: the calling thread serves the pool.
    void joinPool();
    // Any thread; non-blocking.
    void setMaxPoolThreads(size_t maxThreads);

    // Transport side, any thread: the events a connection's socket is watched for (its
    // socket lock held, socket open).
    void watchConnection(uint64_t id, int fd, uint32_t events);
    // Transport side, any thread: removes a connection whose socket ended and ends it.
    void retireConnection(const sp<BinderConnection>& connection);

    // Host hooks for tests and tools. Any thread; non-blocking.
    // Live connections of this process.
    static size_t connectionCount();
    // Pool threads spawned so far (including one that joined).
    static size_t poolThreadCount();
    // Stops listening on every service socket of this process and removes the socket files.
    static void stopListening();
    // Closes every connection, as if each peer had gone away.
    static void closeAllConnections();

private:
    struct Listener {
        int fd;
        std::string name;
        std::string path;
        dev_t dev;
        ino_t ino;
    };

    BinderRuntime();
    // First use of the runtime: a process whose runtime directory is refused says why on
    // stderr and exits with status 1.
    static void refuseUnsafeDirectory();
    void ensureEpollLocked() REQUIRES(mRegistryLock);
    // A pool thread: one event of the epoll set.
    void handleEvent(const struct epoll_event& event);
    uint64_t registerConnectionLocked(const sp<BinderConnection>& connection)
            REQUIRES(mRegistryLock);
    void acceptLocked(uint64_t id) REQUIRES(mRegistryLock);
    void poolLoop();
    // mWorkLock held: gets a thread to take one more queued item.
    void wakeForWorkLocked() REQUIRES(mWorkLock);
    // mWorkLock held: starts the one-shot timer that makes a standby thread check the lead.
    void armStallTimerLocked() REQUIRES(mWorkLock);
    void disarmStallTimerLocked() REQUIRES(mWorkLock);
    // mWorkLock held: runs the first queued item with the lock released meanwhile.
    void runOneLocked() REQUIRES(mWorkLock);
    bool spawnLocked() REQUIRES(mWorkLock);
    void finishOneway(IBinder* target) REQUIRES(mWorkLock);
    static void unlinkOwnSockets();

    // Guards the registry: connections, listeners and the epoll set.
    mutable HostMutex mRegistryLock;
    int mEpollFd;                       // set once under mRegistryLock, then read freely
    uint64_t mNextId GUARDED_BY(mRegistryLock);
    std::map<uint64_t, sp<BinderConnection>> mConnections GUARDED_BY(mRegistryLock);
    std::map<uint64_t, Listener> mListeners GUARDED_BY(mRegistryLock);
    bool mAtExitRegistered GUARDED_BY(mRegistryLock);

    // Guards the pool: its queue, one-way queues and thread counts.
    HostMutex mWorkLock;
    std::condition_variable mWorkAvailable;                    // signalled under mWorkLock
    std::deque<std::unique_ptr<BinderWork>> mWork GUARDED_BY(mWorkLock);
    // A target with an entry has a one-way call queued or running; the deque holds the ones
    // after it.
    std::map<IBinder*, std::deque<std::unique_ptr<BinderWork>>> mOnewayQueues
            GUARDED_BY(mWorkLock);
    size_t mPoolThreads GUARDED_BY(mWorkLock);
    size_t mMaxPoolThreads GUARDED_BY(mWorkLock);
    int mWorkEventFd;      // set once under mWorkLock: one token per item for epoll waiters
    int mStandbyEpollFd;   // set once under mWorkLock: the standby threads' set
    int mStandbyWorkFd;    // set once under mWorkLock: wakes a standby thread for work
    int mStallTimerFd;     // set once under mWorkLock: wakes a standby thread to lead
    bool mEpollReady GUARDED_BY(mWorkLock);
    bool mLeaderPresent GUARDED_BY(mWorkLock);   // a thread waits in the main set
    bool mStallTimerArmed GUARDED_BY(mWorkLock);
    uint64_t mLeaderTurns GUARDED_BY(mWorkLock);  // times a thread became the leader
    uint64_t mTimerTurns GUARDED_BY(mWorkLock);   // mLeaderTurns when the timer was armed
    size_t mStandbyThreads GUARDED_BY(mWorkLock);  // threads waiting in the standby set
    size_t mRunningWork GUARDED_BY(mWorkLock);     // threads away running a call
};

// The process's context object: handle 0 of every connection, which looks up the services
// this process added. Implemented with the service manager.
sp<IBinder> binderContextObject();

// Host hook for tests: forgets every service added in this process. Any thread; non-blocking.
void clearLocalServices();

}  // namespace android

#endif  // DAB_PLATFORM_HOST_BINDER_RUNTIME_H
