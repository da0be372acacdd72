#ifndef DAB_PLATFORM_HOST_BINDER_CONNECTION_H
#define DAB_PLATFORM_HOST_BINDER_CONNECTION_H

#include "HostMutex.h"
#include "BinderWire.h"

#include <binder/BpBinder.h>
#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <utils/RefBase.h>

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace android {

struct BinderThreadState;

// One Unix stream socket to one peer process, used in both directions. It holds the table of
// this process's objects the peer was given (kept alive while the peer holds them), the table
// of the peer's objects this process holds proxies for, and the calls waiting for replies.
//
// Reading: one thread at a time reads the socket: a pool thread woken by the epoll set (the
// socket is one-shot there), or a thread waiting for a reply that took it out of the set.
//
// Locks: mLock (tables, waiting calls, death) may be held while taking mSocketLock (the
// outgoing queue, the socket's writes, who reads it) and a waiting thread's lock; never the
// reverse. No binder reference is dropped while mLock is held (a proxy's destructor takes
// it).
class BinderConnection : public RefBase {
public:
    // Any thread; non-blocking. Takes the socket (connected, non-blocking) and reads the
    // peer's credentials.
    static sp<BinderConnection> create(int fd);

    // Any thread; non-blocking. Peer credentials (immutable).
    pid_t peerPid() const { return mPeerPid; }
    uid_t peerUid() const { return mPeerUid; }
    // Any thread; non-blocking.
    bool isDead() const;

    // Any thread. Sends a call to the peer's object `handle`; blocks until the reply unless
    // one-way, serving nested calls meanwhile. DEAD_OBJECT when the connection is gone.
    status_t transact(uint32_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);
    // Any thread; non-blocking. The proxy of the peer's object `handle` (0: its context
    // object), the one that exists if any.
    sp<BpBinder> proxyForHandle(uint32_t handle);
    // Any thread (a proxy's destructor); non-blocking. Sends the release of the handle unless
    // a newer proxy took its place.
    void proxyDestroyed(BpBinder* proxy, uint32_t handle);
    // Any thread; non-blocking. Makes the reader see the end of the connection.
    void shutdownSocket();

    // The reader only: the socket is readable. False when the connection must end (the
    // reason is logged).
    bool onReadable();
    // Any thread: writes what is queued while the socket takes it.
    void onWritable();
    // The reader only: ends the connection: fails waiting calls, closes the socket, and hands
    // the obituaries and the release of the peer's references to the pool.
    void die();
    // A pool thread with an event: takes the reading; false when a waiting thread has it.
    bool beginEventRead();
    void endEventRead();
    // A pool thread after an event: watched again for what is wanted now (one-shot).
    void rearm();

    // Runtime side. The registry id (set once before the socket is watched) and the socket.
    void setId(uint64_t id) { mId = id; }
    uint64_t id() const { return mId; }
    // Read without mSocketLock: only the reader closes the socket, and the runtime reads it
    // before the socket is watched or on the reader's thread before die().
    int fd() const NO_THREAD_SAFETY_ANALYSIS { return mFd; }
    // Pool side: an incoming call of this connection left the queue.
    void inboundStarted() { mInboundQueued.fetch_sub(1); }

    // Any thread; non-blocking. Fills the empty parcel from a checked message body: the data,
    // objects[i] in place of binder entry i of its object table, and the descriptors of fds in
    // order for its descriptor entries (each taken is set to -1: the parcel owns it).
    static void fillParcel(const binderwire::MessageHeader& header, const uint8_t* body,
                           const std::vector<binderwire::ObjectEntry>& table,
                           const std::vector<sp<IBinder>>& objects, std::vector<int>* fds,
                           Parcel* out);

    // Test hooks. Any thread; non-blocking.
    size_t exportedCount() const;
    size_t importedCount() const;
    // Any thread; non-blocking. What the peer has not read yet: whole messages waiting in
    // this process and bytes in this queue and the socket's send buffer together.
    void outgoingBacklog(size_t* messages, size_t* bytes) const;

protected:
    ~BinderConnection() override;

private:
    struct Export {
        sp<IBinder> object;
        uint64_t refs;  // references sent minus references the peer released
    };
    struct Import {
        BpBinder* proxy;  // the live proxy, or one being destroyed
        wp<BpBinder> weak;
        uint64_t count;   // times the peer sent the handle since it was last released
    };
    struct PendingCall {
        BinderThreadState* thread;
        Parcel* reply;    // the caller's parcel, written by the reader before `done`
        bool done;        // guarded by thread->lock
        status_t status;  // guarded by thread->lock
    };

    // One encoded message with the descriptors that travel with its first byte; it closes
    // what it still holds.
    struct OutMessage {
        OutMessage() = default;
        OutMessage(OutMessage&& other) noexcept;
        OutMessage& operator=(OutMessage&& other) noexcept;
        OutMessage(const OutMessage&) = delete;
        OutMessage& operator=(const OutMessage&) = delete;
        ~OutMessage();
        void closeFds();
        std::vector<uint8_t> bytes;
        std::vector<int> fds;
    };

    BinderConnection(int fd, pid_t pid, uid_t uid);

    // mLock held. Builds a message with the parcel's data and object table; registers the
    // objects it sends. FAILED_TRANSACTION when it does not fit.
    status_t encodeLocked(binderwire::MessageHeader header, const Parcel& parcel,
                          OutMessage* out) REQUIRES(mLock);
    // mLock held. Fills the empty parcel from a message body; refuses (false, nothing built)
    // when it names an object of this process the peer does not hold.
    bool decodeLocked(const binderwire::MessageHeader& header, const uint8_t* body,
                      const std::vector<binderwire::ObjectEntry>& table, Parcel* out)
            REQUIRES(mLock);
    uint32_t exportLocked(const sp<IBinder>& object) REQUIRES(mLock);
    sp<IBinder> importLocked(uint32_t handle) REQUIRES(mLock);
    // mLock held. Queues or writes a whole message; DEAD_OBJECT when the socket is gone or
    // the queue bound is passed (then the connection is dropped, with one log line).
    status_t sendLocked(OutMessage&& message) REQUIRES(mLock);
    // mSocketLock held: one non-blocking send of the message from offset; the descriptors go
    // with the first byte and are closed once sent.
    ssize_t sendPartLocked(OutMessage& message, size_t offset) REQUIRES(mSocketLock);
    void sendReply(uint32_t txnId, status_t status, const Parcel& reply);
    void sendErrorReply(uint32_t txnId, status_t status);
    // A waiting thread: takes the reading out of the epoll set; false when someone reads.
    bool tryOwnReading(uint32_t token);
    void releaseReading();
    // mSocketLock held: tells epoll what the socket is watched for now.
    void updateEventsLocked() REQUIRES(mSocketLock);
    // A waiting thread that owns the reading: waits for the socket or its wake fd once.
    // False when the connection ended.
    bool pollOwned(BinderThreadState& self);
    // The reader: one checked message.
    bool handleMessage(const binderwire::MessageHeader& header, const uint8_t* body,
                       const std::vector<binderwire::ObjectEntry>& table);
    void handleCall(const binderwire::MessageHeader& header, const uint8_t* body,
                    const std::vector<binderwire::ObjectEntry>& table);
    bool handleReply(const binderwire::MessageHeader& header, const uint8_t* body,
                     const std::vector<binderwire::ObjectEntry>& table);
    void handleRelease(const binderwire::MessageHeader& header);
    void protocolError(const char* reason);
    // A pool or waiting thread: runs one incoming call and answers it.
    void serve(const sp<IBinder>& target, const Parcel& data, uint32_t code, uint32_t flags,
               uint32_t txnId, uint32_t senderThread);

    const pid_t mPeerPid;  // immutable
    const uid_t mPeerUid;  // immutable
    uint64_t mId;          // set once before the socket is watched

    mutable HostMutex mLock;
    bool mDead GUARDED_BY(mLock);
    uint32_t mNextHandle GUARDED_BY(mLock);
    uint32_t mNextTxnId GUARDED_BY(mLock);
    std::map<uint32_t, Export> mExports GUARDED_BY(mLock);
    std::map<IBinder*, uint32_t> mExportHandles GUARDED_BY(mLock);
    std::map<uint32_t, Import> mImports GUARDED_BY(mLock);
    std::map<uint32_t, PendingCall*> mPending GUARDED_BY(mLock);
    // Threads waiting for a reply on this connection, with their nesting depth.
    std::map<uint32_t, std::pair<BinderThreadState*, int>> mWaiters GUARDED_BY(mLock);

    mutable HostMutex mSocketLock;
    int mFd GUARDED_BY(mSocketLock);                                       // -1 once closed
    bool mDropped GUARDED_BY(mSocketLock);
    std::deque<OutMessage> mOutQueue GUARDED_BY(mSocketLock);
    size_t mOutFrontOffset GUARDED_BY(mSocketLock);
    size_t mOutBytes GUARDED_BY(mSocketLock);
    uint32_t mReadOwner GUARDED_BY(mSocketLock);                           // waiting thread
    bool mEventReading GUARDED_BY(mSocketLock);                            // a pool thread

    // The reader only (handed over under mSocketLock): bytes read and not yet handled.
    std::vector<uint8_t> mIn;
    size_t mInStart;
    size_t mInEnd;
    bool mProtocolError;  // the reader only: the reason was logged
    // The reader only: descriptors received and not yet claimed by their message, and those
    // of the message being handled (closed after it unless its parcel took them).
    std::deque<int> mInFds;
    std::vector<int> mMsgFds;

    std::atomic<size_t> mInboundQueued;  // incoming calls waiting for a pool thread
};

}  // namespace android

#endif  // DAB_PLATFORM_HOST_BINDER_CONNECTION_H
