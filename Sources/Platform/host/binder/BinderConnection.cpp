#include "BinderConnection.h"

#include "BinderHostHooks.h"
#include "BinderRuntime.h"
#include "HostMutex.h"
#include "HostParcel.h"

#include <binder/IPCThreadState.h>
#include <log/log_tag_id.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <linux/sockios.h>
#include <unistd.h>

namespace android {

using namespace binderwire;

namespace {

constexpr int kLogWarn = 5;
constexpr int kLogError = 6;
// Bytes read from a socket at a time; a longer message grows the buffer up to its size.
constexpr size_t kReadChunk = 64 * 1024;

}  // namespace

sp<BinderConnection> BinderConnection::create(int fd) {
    struct ucred cred;
    socklen_t len = sizeof(cred);
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "cannot read peer credentials: %s", strerror(errno));
        close(fd);
        return nullptr;
    }
    return new BinderConnection(fd, cred.pid, cred.uid);
}

BinderConnection::BinderConnection(int fd, pid_t pid, uid_t uid)
    : mPeerPid(pid),
      mPeerUid(uid),
      mId(0),
      mDead(false),
      mNextHandle(1),
      mNextTxnId(1),
      mFd(fd),
      mDropped(false),
      mOutFrontOffset(0),
      mOutBytes(0),
      mReadOwner(0),
      mEventReading(false),
      mInStart(0),
      mInEnd(0),
      mProtocolError(false),
      mInboundQueued(0) {}

BinderConnection::~BinderConnection() {
    if (mFd >= 0) close(mFd);
    for (int fd : mInFds) close(fd);
    for (int fd : mMsgFds) close(fd);
}

BinderConnection::OutMessage::OutMessage(OutMessage&& other) noexcept
    : bytes(std::move(other.bytes)), fds(std::move(other.fds)) {
    other.fds.clear();
}

BinderConnection::OutMessage& BinderConnection::OutMessage::operator=(OutMessage&& other) noexcept {
    if (this != &other) {
        closeFds();
        bytes = std::move(other.bytes);
        fds = std::move(other.fds);
        other.fds.clear();
    }
    return *this;
}

BinderConnection::OutMessage::~OutMessage() { closeFds(); }

void BinderConnection::OutMessage::closeFds() {
    for (int fd : fds) close(fd);
    fds.clear();
}

void BinderConnection::outgoingBacklog(size_t* messages, size_t* bytes) const {
    HostMutex::Autolock out(mSocketLock);
    *messages = mOutQueue.size();
    int unread = 0;
    if (mFd < 0 || ioctl(mFd, SIOCOUTQ, &unread) != 0 || unread < 0) unread = 0;
    *bytes = mOutBytes + static_cast<size_t>(unread);
}

bool BinderConnection::isDead() const {
    HostMutex::Autolock lock(mLock);
    return mDead;
}

size_t BinderConnection::exportedCount() const {
    HostMutex::Autolock lock(mLock);
    return mExports.size();
}

size_t BinderConnection::importedCount() const {
    HostMutex::Autolock lock(mLock);
    return mImports.size();
}

// ---- Outgoing ----

uint32_t BinderConnection::exportLocked(const sp<IBinder>& object) {
    auto known = mExportHandles.find(object.get());
    if (known != mExportHandles.end()) {
        mExports[known->second].refs++;
        return known->second;
    }
    uint32_t handle = mNextHandle;
    while (handle == kContextHandle || mExports.count(handle) != 0) handle++;
    mNextHandle = handle + 1;
    mExports[handle] = Export{object, 1};
    mExportHandles[object.get()] = handle;
    return handle;
}

status_t BinderConnection::encodeLocked(MessageHeader header, const Parcel& parcel,
                                        OutMessage* out) {
    const std::vector<sp<IBinder>>& objects = HostParcel::objects(parcel);
    const std::vector<size_t>& positions = HostParcel::objectPositions(parcel);
    const size_t fdCount = HostParcel::fdCount(parcel);
    const size_t entryCount = objects.size() + fdCount;
    const uint64_t dataSize = parcel.dataSize();
    const uint64_t total = sizeof(MessageHeader) + ((dataSize + 3) & ~uint64_t(3)) +
                           entryCount * sizeof(ObjectEntry);
    if (total > kMaxMessageSize || positions.size() != objects.size() ||
        fdCount > kMaxFdsPerMessage) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "transaction of %llu bytes to pid %d not sent: over the limit",
                                   static_cast<unsigned long long>(total), mPeerPid);
        return FAILED_TRANSACTION;
    }
    // Binder objects and descriptors share the table, in the order of their positions; an
    // entry's index tells which of the parcel's lists it came from.
    std::vector<std::pair<size_t, size_t>> order;  // (position, index; descriptors after objects)
    order.reserve(entryCount);
    for (size_t i = 0; i < objects.size(); ++i) order.emplace_back(positions[i], i);
    for (size_t i = 0; i < fdCount; ++i) {
        size_t position = 0;
        HostParcel::fdAt(parcel, i, &position);
        order.emplace_back(position, objects.size() + i);
    }
    std::sort(order.begin(), order.end());
    std::vector<ObjectEntry> entries(entryCount);
    for (size_t i = 0; i < entryCount; ++i) {
        entries[i].position = static_cast<uint32_t>(order[i].first);
        entries[i].kind = order[i].second < objects.size() ? kObjectSenderLocal
                                                           : kObjectFileDescriptor;
        entries[i].handle = 0;
        entries[i].reserved = 0;
    }
    // The peer would drop the connection over a bad table: refuse it here instead.
    if (checkObjects(entries.data(), static_cast<uint32_t>(entries.size()),
                     static_cast<uint32_t>(dataSize)) != nullptr) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "transaction to pid %d not sent: binder objects overlap",
                                   mPeerPid);
        return FAILED_TRANSACTION;
    }
    std::vector<int> copies;
    for (size_t i = 0; i < entryCount; ++i) {
        if (entries[i].kind == kObjectFileDescriptor) {
            // The parcel may be freed before the message leaves: it travels with a copy.
            size_t position = 0;
            const int fd = HostParcel::fdAt(parcel, order[i].second - objects.size(), &position);
            const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
            if (copy < 0) {
                for (int fd : copies) close(fd);
                __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                           "transaction to pid %d not sent: bad descriptor",
                                           mPeerPid);
                return FAILED_TRANSACTION;
            }
            copies.push_back(copy);
        }
    }
    for (size_t i = 0; i < entryCount; ++i) {
        if (entries[i].kind == kObjectFileDescriptor) continue;
        const sp<IBinder>& object = objects[order[i].second];
        BpBinder* proxy = object->remoteBinder();
        if (proxy != nullptr && proxy->connection().get() == this) {
            entries[i].kind = kObjectReceiverLocal;
            entries[i].handle = proxy->handle();
        } else {
            // A local object, or a proxy to a third process that the peer then reaches
            // through this process.
            entries[i].handle = exportLocked(object);
        }
    }
    header.magic = kMagic;
    header.version = kProtocolVersion;
    header.size = static_cast<uint32_t>(total);
    header.dataSize = static_cast<uint32_t>(dataSize);
    header.objectCount = static_cast<uint32_t>(entryCount);
    header.reserved = 0;
    out->closeFds();
    out->fds = std::move(copies);
    out->bytes.assign(total, 0);
    memcpy(out->bytes.data(), &header, sizeof(header));
    if (dataSize > 0) memcpy(out->bytes.data() + sizeof(header), parcel.data(), dataSize);
    if (!entries.empty()) {
        memcpy(out->bytes.data() + sizeof(header) + padded(static_cast<uint32_t>(dataSize)),
               entries.data(), entries.size() * sizeof(ObjectEntry));
    }
    return NO_ERROR;
}

ssize_t BinderConnection::sendPartLocked(OutMessage& message, size_t offset) {
    if (offset > 0 || message.fds.empty()) {
        return send(mFd, message.bytes.data() + offset, message.bytes.size() - offset,
                    MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    struct iovec iov;
    iov.iov_base = message.bytes.data();
    iov.iov_len = message.bytes.size();
    char control[CMSG_SPACE(sizeof(int) * kMaxFdsPerMessage)];
    memset(control, 0, sizeof(control));
    struct msghdr msg;
    memset(&msg, 0, sizeof(msg));
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = CMSG_SPACE(sizeof(int) * message.fds.size());
    struct cmsghdr* cmsg = CMSG_FIRSTHDR(&msg);
    cmsg->cmsg_level = SOL_SOCKET;
    cmsg->cmsg_type = SCM_RIGHTS;
    cmsg->cmsg_len = CMSG_LEN(sizeof(int) * message.fds.size());
    memcpy(CMSG_DATA(cmsg), message.fds.data(), sizeof(int) * message.fds.size());
    const ssize_t n = sendmsg(mFd, &msg, MSG_DONTWAIT | MSG_NOSIGNAL);
    // Once any byte has gone, the descriptors are the peer's.
    if (n > 0) message.closeFds();
    return n;
}

status_t BinderConnection::sendLocked(OutMessage&& message) {
    HostMutex::Autolock out(mSocketLock);
    if (mFd < 0 || mDropped) return DEAD_OBJECT;
    size_t offset = 0;
    if (mOutQueue.empty()) {
        while (offset < message.bytes.size()) {
            const ssize_t n = sendPartLocked(message, offset);
            if (n > 0) {
                offset += static_cast<size_t>(n);
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
            // The peer is gone: the reader sees the end and cleans up.
            mDropped = true;
            shutdown(mFd, SHUT_RDWR);
            return DEAD_OBJECT;
        }
        if (offset == message.bytes.size()) return NO_ERROR;
    }
    const size_t remaining = message.bytes.size() - offset;
    if (mOutQueue.size() + 1 > kMaxQueuedMessages || mOutBytes + remaining > kMaxQueuedBytes) {
        __android_log_print_tag_id(kLogWarn, kBinderLogTagId, kBinderLogTag,
                                   "connection to pid %d dropped: peer not reading, %zu messages "
                                   "(%zu bytes) queued",
                                   mPeerPid, mOutQueue.size(), mOutBytes);
        mDropped = true;
        shutdown(mFd, SHUT_RDWR);
        return DEAD_OBJECT;
    }
    const bool wasEmpty = mOutQueue.empty();
    mOutQueue.push_back(std::move(message));
    mOutBytes += remaining;
    if (wasEmpty) {
        mOutFrontOffset = offset;
        updateEventsLocked();
    }
    return NO_ERROR;
}

void BinderConnection::onWritable() {
    HostMutex::Autolock out(mSocketLock);
    if (mFd < 0) return;
    while (!mOutQueue.empty()) {
        OutMessage& front = mOutQueue.front();
        const ssize_t n = sendPartLocked(front, mOutFrontOffset);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        if (n <= 0) {
            mDropped = true;
            shutdown(mFd, SHUT_RDWR);
            return;
        }
        mOutFrontOffset += static_cast<size_t>(n);
        mOutBytes -= static_cast<size_t>(n);
        if (mOutFrontOffset == front.bytes.size()) {
            mOutQueue.pop_front();
            mOutFrontOffset = 0;
        }
    }
    updateEventsLocked();
}

void BinderConnection::updateEventsLocked() {
    if (mFd < 0 || mId == 0) return;
    uint32_t events = 0;
    if (mReadOwner == 0 && !mEventReading) events |= EPOLLIN | EPOLLRDHUP;
    if (!mOutQueue.empty()) events |= EPOLLOUT;
    BinderRuntime::instance().watchConnection(mId, mFd, events);
}

bool BinderConnection::tryOwnReading(uint32_t token) {
    HostMutex::Autolock lock(mSocketLock);
    if (mFd < 0 || mReadOwner != 0 || mEventReading) return false;
    mReadOwner = token;
    updateEventsLocked();
    return true;
}

void BinderConnection::releaseReading() {
    {
        HostMutex::Autolock lock(mSocketLock);
        mReadOwner = 0;
        updateEventsLocked();
    }
    // Other threads waiting on this connection may take the reading over: the pool may be
    // too busy to read their replies for them.
    HostMutex::Autolock lock(mLock);
    for (auto& waiter : mWaiters) {
        BinderThreadState* thread = waiter.second.first;
        if (thread == &BinderThreadState::self()) continue;
        HostMutex::Autolock threadLock(thread->lock);
        thread->readingFreed = true;
        thread->wake.notify_one();
    }
}

bool BinderConnection::beginEventRead() {
    HostMutex::Autolock lock(mSocketLock);
    if (mFd < 0 || mReadOwner != 0) return false;
    mEventReading = true;
    return true;
}

void BinderConnection::endEventRead() {
    HostMutex::Autolock lock(mSocketLock);
    mEventReading = false;
}

void BinderConnection::rearm() {
    HostMutex::Autolock lock(mSocketLock);
    updateEventsLocked();
}

bool BinderConnection::pollOwned(BinderThreadState& self) {
    struct pollfd fds[2];
    fds[0].fd = fd();  // only this thread closes it while it owns the reading
    fds[0].events = POLLIN;
    fds[0].revents = 0;
    fds[1].fd = self.wakeFd();
    fds[1].events = POLLIN;
    fds[1].revents = 0;
    {
        HostMutex::Autolock lock(mSocketLock);
        if (!mOutQueue.empty()) fds[0].events |= POLLOUT;
    }
    const int n = poll(fds, 2, -1);
    if (n < 0) return true;
    if ((fds[1].revents & POLLIN) != 0) {
        uint64_t count;
        ssize_t ignored = read(fds[1].fd, &count, sizeof(count));
        (void)ignored;
    }
    if ((fds[0].revents & POLLOUT) != 0) onWritable();
    if ((fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) return onReadable();
    return true;
}

void BinderConnection::shutdownSocket() {
    HostMutex::Autolock out(mSocketLock);
    if (mFd >= 0) {
        mDropped = true;
        shutdown(mFd, SHUT_RDWR);
    }
}

status_t BinderConnection::transact(uint32_t handle, uint32_t code, const Parcel& data,
                                    Parcel* reply, uint32_t flags) {
    MessageHeader header = {};
    header.handle = handle;
    header.code = code;
    header.flags = flags;
    if ((flags & IBinder::FLAG_ONEWAY) != 0) {
        header.type = kOneway;
        HostMutex::Autolock lock(mLock);
        if (mDead) return DEAD_OBJECT;
        OutMessage message;
        status_t err = encodeLocked(header, data, &message);
        if (err != NO_ERROR) return err;
        return sendLocked(std::move(message));
    }

    BinderThreadState& self = BinderThreadState::self();
    Parcel scratch;
    Parcel* replyParcel = reply != nullptr ? reply : &scratch;
    // Cleared here: a reference it held must not be dropped under the connection's lock.
    replyParcel->freeData();
    PendingCall call{&self, replyParcel, false, NO_ERROR};
    uint32_t txnId = 0;
    // Take the reading before the call goes out: a quick reply then wakes this thread, not a
    // pool thread that would hand it over.
    self.wakeFd();  // made before `polling` can be seen by others
    bool owning = tryOwnReading(self.token);
    {
        HostMutex::Autolock lock(mLock);
        // Ends the call early: the scope's lock is released here, before the reading.
        auto fail = [&](status_t err) NO_THREAD_SAFETY_ANALYSIS {
            lock.unlock();
            if (owning) releaseReading();
            return err;
        };
        if (mDead) return fail(DEAD_OBJECT);
        txnId = mNextTxnId;
        while (txnId == 0 || mPending.count(txnId) != 0) txnId++;
        mNextTxnId = txnId + 1;
        header.type = kTransaction;
        header.txnId = txnId;
        header.senderThread = self.token;
        // A call made while serving a call of this same peer goes back to the thread of the
        // peer that waits for it, as nested calls do on the platform.
        for (auto it = self.stack.rbegin(); it != self.stack.rend(); ++it) {
            if (it->connection == this) {
                header.targetThread = it->peerThread;
                break;
            }
        }
        OutMessage message;
        status_t err = encodeLocked(header, data, &message);
        if (err != NO_ERROR) return fail(err);
        mPending[txnId] = &call;
        auto& waiter = mWaiters[self.token];
        waiter.first = &self;
        waiter.second++;
        err = sendLocked(std::move(message));
        if (err != NO_ERROR) {
            mPending.erase(txnId);
            if (--waiter.second == 0) mWaiters.erase(self.token);
            return fail(err);
        }
    }

    // Wait: read the socket here when nobody else does, so the reply wakes this thread
    // directly; serve nested calls without holding the reading, which others may need.
    for (;;) {
        HostMutex::Autolock lock(self.lock);
        if (!self.inbox.empty()) {
            std::unique_ptr<BinderWork> nested = std::move(self.inbox.front());
            self.inbox.pop_front();
            lock.unlock();
            if (owning) {
                releaseReading();
                owning = false;
            }
            nested->run();
            nested.reset();
            continue;
        }
        if (call.done) break;
        if (!owning) {
            lock.unlock();
            owning = tryOwnReading(self.token);
            lock.lock();
            if (!owning) {
                if (self.inbox.empty() && !call.done && !self.readingFreed) self.wake.wait(lock.native());
                self.readingFreed = false;
                continue;
            }
            if (!self.inbox.empty() || call.done) continue;
        }
        self.polling = true;
        lock.unlock();
        const bool alive = pollOwned(self);
        lock.lock();
        self.polling = false;
        lock.unlock();
        if (!alive) {
            owning = false;
            BinderRuntime::instance().retireConnection(this);
        }
    }
    if (owning) releaseReading();
    {
        HostMutex::Autolock lock(mLock);
        auto waiter = mWaiters.find(self.token);
        if (waiter != mWaiters.end() && --waiter->second.second == 0) mWaiters.erase(waiter);
    }
    if (call.status == NO_ERROR) replyParcel->setDataPosition(0);
    return call.status;
}

void BinderConnection::sendReply(uint32_t txnId, status_t status, const Parcel& reply) {
    MessageHeader header = {};
    header.type = kReply;
    header.txnId = txnId;
    HostMutex::Autolock lock(mLock);
    if (mDead) return;
    OutMessage message;
    if (status == NO_ERROR) {
        if (encodeLocked(header, reply, &message) != NO_ERROR) {
            status = FAILED_TRANSACTION;
        }
    }
    if (status != NO_ERROR) {
        Parcel empty;
        header.code = static_cast<uint32_t>(status);
        encodeLocked(header, empty, &message);
    }
    sendLocked(std::move(message));
}

void BinderConnection::sendErrorReply(uint32_t txnId, status_t status) {
    sendReply(txnId, status, Parcel());
}

// ---- Proxies ----

sp<IBinder> BinderConnection::importLocked(uint32_t handle) {
    auto it = mImports.find(handle);
    sp<BpBinder> proxy;
    if (it != mImports.end()) {
        proxy = it->second.weak.promote();
        if (proxy == nullptr) {
            // The old proxy is being destroyed: its destructor sees it was replaced and leaves
            // the count to this one.
            proxy = new BpBinder(this, handle);
            it->second.proxy = proxy.get();
            it->second.weak = proxy;
        }
        it->second.count++;
    } else {
        proxy = new BpBinder(this, handle);
        mImports[handle] = Import{proxy.get(), proxy, 1};
    }
    return proxy;
}

sp<BpBinder> BinderConnection::proxyForHandle(uint32_t handle) {
    HostMutex::Autolock lock(mLock);
    auto it = mImports.find(handle);
    if (it != mImports.end()) {
        sp<BpBinder> proxy = it->second.weak.promote();
        if (proxy != nullptr) return proxy;
        proxy = new BpBinder(this, handle);
        it->second.proxy = proxy.get();
        it->second.weak = proxy;
        return proxy;
    }
    sp<BpBinder> proxy = new BpBinder(this, handle);
    mImports[handle] = Import{proxy.get(), proxy, 0};
    return proxy;
}

void BinderConnection::proxyDestroyed(BpBinder* proxy, uint32_t handle) {
    HostMutex::Autolock lock(mLock);
    auto it = mImports.find(handle);
    if (it == mImports.end() || it->second.proxy != proxy) return;
    const uint64_t count = it->second.count;
    mImports.erase(it);
    if (mDead || handle == kContextHandle || count == 0) return;
    // Counts beyond 32 bits go out in several releases.
    uint64_t left = count;
    while (left > 0) {
        const uint32_t part = left > 0xffffffffull ? 0xffffffffu : static_cast<uint32_t>(left);
        left -= part;
        MessageHeader header = {};
        header.type = kRelease;
        header.handle = handle;
        header.code = part;
        OutMessage message;
        encodeLocked(header, Parcel(), &message);
        if (sendLocked(std::move(message)) != NO_ERROR) return;
    }
}

// ---- Incoming ----

void BinderConnection::fillParcel(const MessageHeader& header, const uint8_t* body,
                                  const std::vector<ObjectEntry>& table,
                                  const std::vector<sp<IBinder>>& objects, std::vector<int>* fds,
                                  Parcel* out) {
    out->setData(body, header.dataSize);
    size_t nextFd = 0;
    int32_t binderIndex = 0;
    for (size_t i = 0; i < table.size() && i < objects.size(); ++i) {
        out->setDataPosition(table[i].position);
        if (table[i].kind == kObjectFileDescriptor) {
            if (nextFd >= fds->size()) break;
            out->writeInt32(static_cast<int32_t>(nextFd));
            HostParcel::appendFdForTransport(out, (*fds)[nextFd], table[i].position);
            (*fds)[nextFd++] = -1;
            continue;
        }
        out->writeInt32(binderIndex++);
        HostParcel::appendObjectForTransport(out, objects[i], table[i].position);
    }
    out->setDataPosition(0);
}

bool BinderConnection::decodeLocked(const MessageHeader& header, const uint8_t* body,
                                    const std::vector<ObjectEntry>& table, Parcel* out) {
    // First pass: every object of this process it names must be one the peer holds.
    for (const ObjectEntry& e : table) {
        if (e.kind == kObjectReceiverLocal && mExports.count(e.handle) == 0) {
            __android_log_print_tag_id(kLogWarn, kBinderLogTagId, kBinderLogTag,
                                       "unknown handle %u from pid %d refused", e.handle,
                                       mPeerPid);
            return false;
        }
    }
    std::vector<sp<IBinder>> objects;
    objects.reserve(table.size());
    for (const ObjectEntry& e : table) {
        if (e.kind == kObjectFileDescriptor) {
            objects.push_back(nullptr);
            continue;
        }
        objects.push_back(e.kind == kObjectReceiverLocal ? mExports[e.handle].object
                                                         : importLocked(e.handle));
    }
    // onReadable gave this message exactly as many descriptors as its table names.
    fillParcel(header, body, table, objects, &mMsgFds, out);
    return true;
}

bool BinderConnection::onReadable() {
    if (mIn.size() < kReadChunk) mIn.resize(kReadChunk);
    if (mInStart > 0 && mInStart == mInEnd) mInStart = mInEnd = 0;
    if (mIn.size() - mInEnd < kReadChunk / 4 && mInStart > 0) {
        memmove(mIn.data(), mIn.data() + mInStart, mInEnd - mInStart);
        mInEnd -= mInStart;
        mInStart = 0;
    }
    struct iovec iov;
    iov.iov_base = mIn.data() + mInEnd;
    iov.iov_len = mIn.size() - mInEnd;
    char control[CMSG_SPACE(sizeof(int) * kMaxFdsPerMessage)];
    struct msghdr msg;
    memset(&msg, 0, sizeof(msg));
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = sizeof(control);
    const ssize_t n = recvmsg(fd(), &msg, MSG_CMSG_CLOEXEC);
    if (n > 0) {
        for (struct cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
            const size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            for (size_t k = 0; k < count; ++k) {
                int fd = -1;
                memcpy(&fd, CMSG_DATA(c) + k * sizeof(int), sizeof(int));
                mInFds.push_back(fd);
            }
        }
        // A peer may not flood this process with descriptors no message claims.
        if ((msg.msg_flags & MSG_CTRUNC) != 0 || mInFds.size() > 4 * kMaxFdsPerMessage) {
            protocolError("too many descriptors");
            return false;
        }
    }
    if (n == 0) {
        if (mInEnd > mInStart) protocolError("truncated message");
        return false;
    }
    if (n < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return true;
        return false;
    }
    mInEnd += static_cast<size_t>(n);
    std::vector<ObjectEntry> table;
    for (;;) {
        const size_t have = mInEnd - mInStart;
        if (have < sizeof(MessageHeader)) break;
        MessageHeader header;
        const char* bad = nullptr;
        const ReadResult found = readMessage(mIn.data() + mInStart, have, &header, &table, &bad);
        if (found == ReadResult::kBad) {
            protocolError(bad);
            return false;
        }
        if (found == ReadResult::kNeedMore) {
            // Room for the whole message, bounded by the message size limit.
            if (mIn.size() - mInStart < header.size) {
                memmove(mIn.data(), mIn.data() + mInStart, have);
                mInStart = 0;
                mInEnd = have;
                if (mIn.size() < header.size) mIn.resize(header.size);
            }
            break;
        }
        const uint8_t* body = mIn.data() + mInStart + sizeof(MessageHeader);
        // The descriptors came with the message's first byte, so they are here by now.
        const uint32_t fdCount = table.empty() ? 0 : countFds(table.data(), header.objectCount);
        if (fdCount > mInFds.size()) {
            protocolError("descriptor missing");
            return false;
        }
        for (uint32_t k = 0; k < fdCount; ++k) {
            mMsgFds.push_back(mInFds.front());
            mInFds.pop_front();
        }
        mInStart += header.size;
        const bool handled = handleMessage(header, body, table);
        // Whatever the message's parcel did not take (a refused call) is closed here.
        for (int fd : mMsgFds) {
            if (fd >= 0) close(fd);
        }
        mMsgFds.clear();
        if (!handled) return false;
    }
    // A buffer grown for a large message goes back to its usual size once empty.
    if (mInStart == mInEnd && mIn.size() > kReadChunk) {
        mIn.resize(kReadChunk);
        mIn.shrink_to_fit();
        mInStart = mInEnd = 0;
    }
    return true;
}

void BinderConnection::protocolError(const char* reason) {
    if (mProtocolError) return;
    mProtocolError = true;
    __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                               "connection to pid %d closed: %s", mPeerPid, reason);
}

bool BinderConnection::handleMessage(const MessageHeader& header, const uint8_t* body,
                                     const std::vector<ObjectEntry>& table) {
    switch (header.type) {
        case kTransaction:
        case kOneway:
            handleCall(header, body, table);
            if (mInboundQueued.load() > kMaxInboundQueued) {
                protocolError("too many calls waiting to be served");
                return false;
            }
            return true;
        case kReply:
            return handleReply(header, body, table);
        case kRelease:
            handleRelease(header);
            return true;
        default:
            protocolError("unknown message type");
            return false;
    }
}

void BinderConnection::handleCall(const MessageHeader& header, const uint8_t* body,
                                  const std::vector<ObjectEntry>& table) {
    const bool oneway = header.type == kOneway;
    const uint32_t txnId = header.txnId;
    const uint32_t code = header.code;
    const uint32_t flags = oneway ? (header.flags | IBinder::FLAG_ONEWAY)
                                  : (header.flags & ~static_cast<uint32_t>(IBinder::FLAG_ONEWAY));
    const uint32_t senderThread = header.senderThread;
    std::shared_ptr<Parcel> data = std::make_shared<Parcel>();
    sp<IBinder> target;
    BinderThreadState* nestedThread = nullptr;
    bool refused = false;
    std::unique_ptr<BinderWork> work(new BinderWork());
    {
        HostMutex::Autolock lock(mLock);
        if (mDead) return;
        if (header.handle == kContextHandle) {
            target = binderContextObject();
        } else {
            auto it = mExports.find(header.handle);
            if (it != mExports.end()) target = it->second.object;
        }
        if (target == nullptr) {
            __android_log_print_tag_id(kLogWarn, kBinderLogTagId, kBinderLogTag,
                                       "transaction to unknown handle %u from pid %d refused",
                                       header.handle, mPeerPid);
            refused = true;
        } else if (!decodeLocked(header, body, table, data.get())) {
            refused = true;
        }
        if (!refused) {
            sp<BinderConnection> self(this);
            work->run = [self, target, data, code, flags, txnId, senderThread]() {
                self->serve(target, *data, code, flags, txnId, senderThread);
            };
            if (!oneway && header.targetThread != 0) {
                auto waiter = mWaiters.find(header.targetThread);
                if (waiter != mWaiters.end()) nestedThread = waiter->second.first;
            }
            if (nestedThread != nullptr) {
                HostMutex::Autolock threadLock(nestedThread->lock);
                nestedThread->inbox.push_back(std::move(work));
                nestedThread->wake.notify_one();
                if (nestedThread->polling) nestedThread->signalWakeLocked();
                return;
            }
        }
    }
    if (refused) {
        if (!oneway) sendErrorReply(txnId, FAILED_TRANSACTION);
        // The references built for the call are dropped by the pool, never on this thread.
        if (target != nullptr || HostParcel::objects(*data).size() > 0) {
            std::unique_ptr<BinderWork> drop(new BinderWork());
            sp<IBinder> keepTarget = target;
            drop->run = [keepTarget, data]() {};
            target.clear();
            BinderRuntime::instance().queueWork(std::move(drop));
        }
        return;
    }
    if (oneway) work->onewayTarget = target.get();
    work->inboundFrom = this;
    mInboundQueued.fetch_add(1);
    target.clear();
    data.reset();
    BinderRuntime::instance().queueWork(std::move(work));
}

bool BinderConnection::handleReply(const MessageHeader& header, const uint8_t* body,
                                   const std::vector<ObjectEntry>& table) {
    HostMutex::Autolock lock(mLock);
    auto it = mPending.find(header.txnId);
    if (it == mPending.end()) {
        protocolError("reply to no waiting call");
        return false;
    }
    PendingCall* call = it->second;
    mPending.erase(it);
    status_t status = static_cast<status_t>(static_cast<int32_t>(header.code));
    if (status == NO_ERROR && !decodeLocked(header, body, table, call->reply)) status = BAD_VALUE;
    HostMutex::Autolock threadLock(call->thread->lock);
    call->status = status;
    call->done = true;
    call->thread->wake.notify_one();
    return true;
}

void BinderConnection::handleRelease(const MessageHeader& header) {
    sp<IBinder> released;
    {
        HostMutex::Autolock lock(mLock);
        auto it = mExports.find(header.handle);
        if (header.handle == kContextHandle) return;
        if (it == mExports.end() || header.code == 0 || header.code > it->second.refs) {
            __android_log_print_tag_id(kLogWarn, kBinderLogTagId, kBinderLogTag,
                                       "release of unknown handle %u from pid %d ignored",
                                       header.handle, mPeerPid);
            return;
        }
        it->second.refs -= header.code;
        if (it->second.refs > 0) return;
        released = it->second.object;
        mExportHandles.erase(released.get());
        mExports.erase(it);
    }
    // The last reference may run the object's destructor: that is user code, for the pool.
    std::unique_ptr<BinderWork> drop(new BinderWork());
    drop->run = [released]() {};
    released.clear();
    BinderRuntime::instance().queueWork(std::move(drop));
}

void BinderConnection::serve(const sp<IBinder>& target, const Parcel& data, uint32_t code,
                             uint32_t flags, uint32_t txnId, uint32_t senderThread) {
    BinderThreadState& self = BinderThreadState::self();
    IPCThreadState* ipc = IPCThreadState::self();
    const int64_t identity = ipc->clearCallingIdentity();
    setCallingIdentity(mPeerUid, mPeerPid);
    self.stack.push_back(BinderThreadState::Served{this, senderThread});
    Parcel reply;
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    const status_t status = target->transact(code, data, oneway ? nullptr : &reply, flags);
    self.stack.pop_back();
    ipc->restoreCallingIdentity(identity);
    if (!oneway) sendReply(txnId, status, reply);
}

void BinderConnection::die() {
    std::vector<sp<BpBinder>> proxies;
    std::vector<sp<IBinder>> exports;
    {
        HostMutex::Autolock lock(mLock);
        if (mDead) return;
        mDead = true;
        for (auto& pending : mPending) {
            PendingCall* call = pending.second;
            HostMutex::Autolock threadLock(call->thread->lock);
            call->status = DEAD_OBJECT;
            call->done = true;
            call->thread->wake.notify_one();
        }
        mPending.clear();
        for (auto& entry : mExports) exports.push_back(entry.second.object);
        mExports.clear();
        mExportHandles.clear();
        for (auto& entry : mImports) {
            sp<BpBinder> proxy = entry.second.weak.promote();
            if (proxy != nullptr) proxies.push_back(proxy);
        }
        // Proxies keep their entries so that their destructors find nothing to release.
        HostMutex::Autolock out(mSocketLock);
        if (mFd >= 0) {
            close(mFd);
            mFd = -1;
        }
        mOutQueue.clear();
        mOutBytes = 0;
    }
    std::vector<uint8_t>().swap(mIn);
    mInStart = mInEnd = 0;
    for (int fd : mInFds) close(fd);
    mInFds.clear();
    // Obituaries and the release of what the peer held run on the pool: both are user code.
    std::unique_ptr<BinderWork> work(new BinderWork());
    auto shared = std::make_shared<std::pair<std::vector<sp<BpBinder>>, std::vector<sp<IBinder>>>>(
            std::move(proxies), std::move(exports));
    work->run = [shared]() {
        for (const sp<BpBinder>& proxy : shared->first) proxy->sendObituary();
        shared->first.clear();
        shared->second.clear();
    };
    BinderRuntime::instance().queueWork(std::move(work));
}

}  // namespace android
