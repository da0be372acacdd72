#include "BinderRuntime.h"

#include "HostMutex.h"

#include "BinderConnection.h"

#include <log/log_tag_id.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <unistd.h>

namespace android {

namespace {

constexpr int kLogError = 6;
constexpr int kListenBacklog = 64;
constexpr size_t kMaxNameLength = 64;

std::atomic<uint32_t> gNextThreadToken{1};

bool makeAddress(const std::string& path, struct sockaddr_un* addr) {
    memset(addr, 0, sizeof(*addr));
    addr->sun_family = AF_UNIX;
    if (path.size() >= sizeof(addr->sun_path)) return false;
    memcpy(addr->sun_path, path.c_str(), path.size() + 1);
    return true;
}

void logRefusedDirectory(const std::string& dir, const std::string& problem) {
    __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                               "runtime directory %s refused: %s", dir.c_str(), problem.c_str());
}

// Creates the runtime directory when missing (private to this user); refuses one that is not.
bool ensureDirectory(const std::string& dir) {
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "cannot create %s: %s", dir.c_str(), strerror(errno));
        return false;
    }
    std::string problem;
    if (!BinderRuntime::checkRuntimeDirectory(dir, &problem)) {
        logRefusedDirectory(dir, problem);
        return false;
    }
    return true;
}

// Whether a server's uid may be trusted with this process's calls: its own, or root's.
bool trustedPeerUid(uid_t uid) { return uid == geteuid() || uid == 0; }

void setNonBlocking(int fd) {
    const int flags = fcntl(fd, F_GETFL, 0);
    if (flags >= 0) fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

// Connects to a socket path; -1 when nobody listens there.
int connectTo(const std::string& path) {
    struct sockaddr_un addr;
    if (!makeAddress(path, &addr)) return -1;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    int rc;
    do {
        rc = connect(fd, reinterpret_cast<struct sockaddr*>(&addr), sizeof(addr));
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

void* runThread(void* arg) {
    std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(arg));
    (*body)();
    return nullptr;
}

// Starts a detached thread; false when the system refuses one.
bool startThread(const char* name, std::function<void()> body) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    auto* arg = new std::function<void()>(std::move(body));
    pthread_t thread;
    const int rc = pthread_create(&thread, &attr, runThread, arg);
    pthread_attr_destroy(&attr);
    if (rc != 0) {
        delete arg;
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "cannot start thread %s: %s", name, strerror(rc));
        return false;
    }
    pthread_setname_np(thread, name);
    return true;
}

}  // namespace

// ---- Per-thread state ----

BinderThreadState::BinderThreadState()
    : token(gNextThreadToken.fetch_add(1)),
      polling(false),
      readingFreed(false),
      handlingEvent(false),
      mWakeFd(-1) {}

BinderThreadState::~BinderThreadState() {
    if (mWakeFd >= 0) close(mWakeFd);
}

int BinderThreadState::wakeFd() {
    if (mWakeFd < 0) {
        const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        HostMutex::Autolock guard(lock);
        mWakeFd = fd;
    }
    return mWakeFd;
}

void BinderThreadState::signalWakeLocked() {
    if (mWakeFd < 0) return;
    const uint64_t one = 1;
    ssize_t ignored = write(mWakeFd, &one, sizeof(one));
    (void)ignored;
}

BinderThreadState& BinderThreadState::self() {
    static thread_local BinderThreadState state;
    return state;
}

// ---- Runtime ----

BinderRuntime& BinderRuntime::instance() {
    static BinderRuntime* runtime = [] {
        refuseUnsafeDirectory();
        return new BinderRuntime();
    }();
    return *runtime;
}

bool BinderRuntime::checkRuntimeDirectory(const std::string& dir, std::string* problem) {
    problem->clear();
    struct stat st;
    if (lstat(dir.c_str(), &st) != 0) {
        if (errno == ENOENT) return true;
        *problem = std::string("cannot be examined: ") + strerror(errno);
        return false;
    }
    char text[128];
    if (S_ISLNK(st.st_mode)) {
        snprintf(text, sizeof(text), "it is a symbolic link");
    } else if (!S_ISDIR(st.st_mode)) {
        snprintf(text, sizeof(text), "it is not a directory");
    } else if (st.st_uid != geteuid()) {
        snprintf(text, sizeof(text), "it belongs to uid %u, not to uid %u",
                 static_cast<unsigned>(st.st_uid), static_cast<unsigned>(geteuid()));
    } else if ((st.st_mode & 077) != 0) {
        snprintf(text, sizeof(text), "other users have access to it (mode %04o, 0700 needed)",
                 static_cast<unsigned>(st.st_mode & 07777));
    } else {
        return true;
    }
    *problem = text;
    return false;
}

void BinderRuntime::refuseUnsafeDirectory() {
    const std::string dir = runtimeDirectory();
    std::string problem;
    if (checkRuntimeDirectory(dir, &problem)) return;
    fprintf(stderr, "%s: the binder runtime directory %s is refused: %s\n",
            program_invocation_short_name, dir.c_str(), problem.c_str());
    fflush(nullptr);
    // Nothing of this process has used binder yet: leave before anything does.
    _exit(1);
}

BinderRuntime::BinderRuntime()
    : mEpollFd(-1),
      mNextId(1),
      mAtExitRegistered(false),
      mPoolThreads(0),
      mMaxPoolThreads(kDefaultMaxPoolThreads),
      mWorkEventFd(-1),
      mStandbyEpollFd(-1),
      mStandbyWorkFd(-1),
      mStallTimerFd(-1),
      mEpollReady(false),
      mLeaderPresent(false),
      mStallTimerArmed(false),
      mLeaderTurns(0),
      mTimerTurns(0),
      mStandbyThreads(0),
      mRunningWork(0) {}

std::string BinderRuntime::runtimeDirectory() {
    const char* dir = getenv("DAB_BINDER_DIR");
    if (dir != nullptr && dir[0] != '\0') return dir;
    const char* xdg = getenv("XDG_RUNTIME_DIR");
    if (xdg != nullptr && xdg[0] != '\0') return std::string(xdg) + "/dabbinder";
    return "/tmp/dabbinder-" + std::to_string(getuid());
}

bool BinderRuntime::isValidSocketName(const std::string& name) {
    if (name.empty() || name.size() > kMaxNameLength || name[0] == '.') return false;
    for (char c : name) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                        c == '.' || c == '_' || c == '-';
        if (!ok) return false;
    }
    return true;
}

std::string BinderRuntime::socketPath(const std::string& name) {
    return runtimeDirectory() + "/" + name + ".sock";
}

status_t BinderRuntime::listen(const std::string& name) {
    if (!isValidSocketName(name)) return BAD_VALUE;
    {
        HostMutex::Autolock lock(mRegistryLock);
        for (const auto& entry : mListeners) {
            if (entry.second.name == name) return NO_ERROR;
        }
    }
    const std::string dir = runtimeDirectory();
    if (!ensureDirectory(dir)) return PERMISSION_DENIED;
    const std::string path = socketPath(name);
    struct sockaddr_un addr;
    if (!makeAddress(path, &addr)) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "socket path %s too long", path.c_str());
        return BAD_VALUE;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return NO_MEMORY;
    if (bind(fd, reinterpret_cast<struct sockaddr*>(&addr), sizeof(addr)) != 0) {
        const int probe = errno == EADDRINUSE ? connectTo(path) : -1;
        if (probe >= 0) {
            close(probe);
            close(fd);
            __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                       "service %s is already served at %s", name.c_str(),
                                       path.c_str());
            return ALREADY_EXISTS;
        }
        // Nobody answers: a socket left by a process that is gone.
        unlink(path.c_str());
        if (bind(fd, reinterpret_cast<struct sockaddr*>(&addr), sizeof(addr)) != 0) {
            __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                       "cannot bind %s: %s", path.c_str(), strerror(errno));
            close(fd);
            return PERMISSION_DENIED;
        }
    }
    struct stat st;
    if (::listen(fd, kListenBacklog) != 0 || stat(path.c_str(), &st) != 0) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "cannot listen on %s: %s", path.c_str(), strerror(errno));
        close(fd);
        unlink(path.c_str());
        return PERMISSION_DENIED;
    }
    HostMutex::Autolock lock(mRegistryLock);
    ensureEpollLocked();
    const uint64_t id = mNextId++;
    mListeners[id] = Listener{fd, name, path, st.st_dev, st.st_ino};
    struct epoll_event ev;
    memset(&ev, 0, sizeof(ev));
    ev.events = EPOLLIN;
    ev.data.u64 = id;
    epoll_ctl(mEpollFd, EPOLL_CTL_ADD, fd, &ev);
    if (!mAtExitRegistered) {
        mAtExitRegistered = true;
        atexit(&BinderRuntime::unlinkOwnSockets);
    }
    return NO_ERROR;
}

sp<BinderConnection> BinderRuntime::connectToService(const std::string& name) {
    if (!isValidSocketName(name)) return nullptr;
    const std::string dir = runtimeDirectory();
    std::string problem;
    if (!checkRuntimeDirectory(dir, &problem)) {
        logRefusedDirectory(dir, problem);
        return nullptr;
    }
    const std::string path = socketPath(name);
    const int fd = connectTo(path);
    if (fd < 0) return nullptr;
    // Nothing is sent before the server is known to run as this user or as root.
    struct ucred cred;
    socklen_t len = sizeof(cred);
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0) {
        close(fd);
        return nullptr;
    }
    if (!trustedPeerUid(cred.uid)) {
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "%s refused: served by uid %u (pid %d), neither this user (uid %u) nor root",
                                   path.c_str(), static_cast<unsigned>(cred.uid), cred.pid,
                                   static_cast<unsigned>(geteuid()));
        close(fd);
        return nullptr;
    }
    setNonBlocking(fd);
    HostMutex::Autolock lock(mRegistryLock);
    // One connection per pair of processes: a second service of a process already connected
    // is reached over the same socket.
    for (const auto& entry : mConnections) {
        if (entry.second->peerPid() == cred.pid && !entry.second->isDead()) {
            close(fd);
            return entry.second;
        }
    }
    ensureEpollLocked();
    sp<BinderConnection> connection = BinderConnection::create(fd);
    if (connection == nullptr) return nullptr;
    registerConnectionLocked(connection);
    return connection;
}

void BinderRuntime::ensureEpollLocked() {
    if (mEpollFd >= 0) return;
    const int epollFd = epoll_create1(EPOLL_CLOEXEC);
    const int workFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    const int standbyFd = epoll_create1(EPOLL_CLOEXEC);
    const int standbyWorkFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    const int timerFd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    if (epollFd < 0 || workFd < 0 || standbyFd < 0 || standbyWorkFd < 0 || timerFd < 0) {
        for (int fd : {epollFd, workFd, standbyFd, standbyWorkFd, timerFd}) {
            if (fd >= 0) close(fd);
        }
        __android_log_print_tag_id(kLogError, kBinderLogTagId, kBinderLogTag,
                                   "cannot create the epoll sets: %s", strerror(errno));
        return;
    }
    struct epoll_event ev;
    memset(&ev, 0, sizeof(ev));
    ev.events = EPOLLIN;
    ev.data.u64 = kWorkEventId;
    epoll_ctl(epollFd, EPOLL_CTL_ADD, workFd, &ev);
    ev.data.u64 = 0;
    epoll_ctl(standbyFd, EPOLL_CTL_ADD, standbyWorkFd, &ev);
    ev.data.u64 = 1;
    epoll_ctl(standbyFd, EPOLL_CTL_ADD, timerFd, &ev);
    mEpollFd = epollFd;
    // From now on pool threads wait in epoll: wake the ones waiting for it, or start one.
    HostMutex::Autolock lock(mWorkLock);
    mWorkEventFd = workFd;
    mStandbyEpollFd = standbyFd;
    mStandbyWorkFd = standbyWorkFd;
    mStallTimerFd = timerFd;
    mEpollReady = true;
    mWorkAvailable.notify_all();
    spawnLocked();
}

uint64_t BinderRuntime::registerConnectionLocked(const sp<BinderConnection>& connection) {
    const uint64_t id = mNextId++;
    connection->setId(id);
    mConnections[id] = connection;
    struct epoll_event ev;
    memset(&ev, 0, sizeof(ev));
    ev.events = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;
    ev.data.u64 = id;
    epoll_ctl(mEpollFd, EPOLL_CTL_ADD, connection->fd(), &ev);
    return id;
}

void BinderRuntime::watchConnection(uint64_t id, int fd, uint32_t events) {
    struct epoll_event ev;
    memset(&ev, 0, sizeof(ev));
    ev.events = events | EPOLLONESHOT;
    ev.data.u64 = id;
    epoll_ctl(mEpollFd, EPOLL_CTL_MOD, fd, &ev);
}

void BinderRuntime::acceptLocked(uint64_t id) {
    auto listener = mListeners.find(id);
    if (listener == mListeners.end()) return;
    for (;;) {
        const int fd = accept4(listener->second.fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            return;
        }
        sp<BinderConnection> connection = BinderConnection::create(fd);
        if (connection != nullptr) registerConnectionLocked(connection);
    }
}

void BinderRuntime::handleEvent(const struct epoll_event& event) {
    const uint64_t id = event.data.u64;
    if (id == kWorkEventId) {
        // One token per queued item (a semaphore): taking it is all this wake-up was for.
        uint64_t token;
        ssize_t ignored = read(mWorkEventFd, &token, sizeof(token));
        (void)ignored;
        return;
    }
    sp<BinderConnection> connection;
    {
        HostMutex::Autolock lock(mRegistryLock);
        if (mListeners.count(id) != 0) {
            acceptLocked(id);
            return;
        }
        auto it = mConnections.find(id);
        if (it == mConnections.end()) return;
        connection = it->second;
    }
    const uint32_t events = event.events;
    if ((events & EPOLLOUT) != 0) connection->onWritable();
    bool alive = true;
    if ((events & (EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0 &&
        connection->beginEventRead()) {
        alive = connection->onReadable();
        connection->endEventRead();
    }
    if (alive) {
        // One-shot: watched again only now that nobody reads it here.
        connection->rearm();
    } else {
        retireConnection(connection);
    }
}

void BinderRuntime::retireConnection(const sp<BinderConnection>& connection) {
    {
        HostMutex::Autolock lock(mRegistryLock);
        epoll_ctl(mEpollFd, EPOLL_CTL_DEL, connection->fd(), nullptr);
        mConnections.erase(connection->id());
    }
    connection->die();
}

// ---- Pool ----

bool BinderRuntime::spawnLocked() {
    if (mPoolThreads >= mMaxPoolThreads) return false;
    if (!startThread("binder:pool", [this]() { poolLoop(); })) return false;
    mPoolThreads++;
    return true;
}

void BinderRuntime::armStallTimerLocked() {
    mStallTimerArmed = true;
    mTimerTurns = mLeaderTurns;
    struct itimerspec timer;
    memset(&timer, 0, sizeof(timer));
    timer.it_value.tv_nsec = kStallTimeoutNs;
    timerfd_settime(mStallTimerFd, 0, &timer, nullptr);
}

void BinderRuntime::disarmStallTimerLocked() {
    mStallTimerArmed = false;
    struct itimerspec timer;
    memset(&timer, 0, sizeof(timer));
    timerfd_settime(mStallTimerFd, 0, &timer, nullptr);
}

void BinderRuntime::wakeForWorkLocked() {
    const uint64_t one = 1;
    ssize_t ignored = 0;
    if (mLeaderPresent) {
        ignored = write(mWorkEventFd, &one, sizeof(one));
    } else if (mStandbyThreads > 0) {
        ignored = write(mStandbyWorkFd, &one, sizeof(one));
    } else if (!spawnLocked()) {
        // All threads are busy: the first to finish takes it.
        mWorkAvailable.notify_one();
    }
    (void)ignored;
}

void BinderRuntime::queueWork(std::unique_ptr<BinderWork> work) {
    HostMutex::Autolock lock(mWorkLock);
    if (work->onewayTarget != nullptr) {
        auto busy = mOnewayQueues.find(work->onewayTarget);
        if (busy != mOnewayQueues.end()) {
            busy->second.push_back(std::move(work));
            return;
        }
        mOnewayQueues[work->onewayTarget];
    }
    mWork.push_back(std::move(work));
    // A pool thread handling a socket event takes what it queued itself, afterwards.
    if (BinderThreadState::self().handlingEvent) return;
    wakeForWorkLocked();
}

void BinderRuntime::finishOneway(IBinder* target) {
    auto queue = mOnewayQueues.find(target);
    if (queue == mOnewayQueues.end()) return;
    if (queue->second.empty()) {
        mOnewayQueues.erase(queue);
        return;
    }
    // The finishing thread comes back to the queue at once and takes it.
    mWork.push_back(std::move(queue->second.front()));
    queue->second.pop_front();
}

void BinderRuntime::joinPool() {
    {
        HostMutex::Autolock lock(mWorkLock);
        mPoolThreads++;
    }
    poolLoop();
}

void BinderRuntime::runOneLocked() {
    std::unique_ptr<BinderWork> work = std::move(mWork.front());
    mWork.pop_front();
    // Nobody watches the sockets while this thread is away in user code: if it stays away
    // long, the stall timer makes a standby thread the leader.
    if (mEpollReady && !mLeaderPresent) {
        if (mStandbyThreads == 0) spawnLocked();
        if (!mStallTimerArmed) armStallTimerLocked();
    }
    mRunningWork++;
    mWorkLock.unlock();
    if (work->inboundFrom != nullptr) work->inboundFrom->inboundStarted();
    work->run();
    IBinder* target = work->onewayTarget;
    // References the call held go here, outside every lock: destructors may run.
    work.reset();
    mWorkLock.lock();
    // Nobody is away in user code any more: a timer left armed would only wake a standby
    // thread for nothing, once per call in every process a notification reaches.
    if (--mRunningWork == 0 && mStallTimerArmed) disarmStallTimerLocked();
    if (target != nullptr) finishOneway(target);
}

void BinderRuntime::poolLoop() {
    BinderThreadState& self = BinderThreadState::self();
    HostMutex::Autolock lock(mWorkLock);
    for (;;) {
        if (!mWork.empty()) {
            runOneLocked();
            continue;
        }
        if (!mEpollReady) {
            // No socket yet: nothing can arrive but the first one.
            mWorkAvailable.wait(lock.native());
            continue;
        }
        if (mLeaderPresent) {
            // Standby: woken only for work queued while no leader waits, or by the stall
            // timer when the leader stays away in a call; never by socket events, so a stream
            // of calls is served by one thread that nobody else wakes.
            mStandbyThreads++;
            lock.unlock();
            struct epoll_event event;
            const int n = epoll_wait(mStandbyEpollFd, &event, 1, -1);
            uint64_t value;
            ssize_t ignored = 0;
            if (n == 1) ignored = read(event.data.u64 == 1 ? mStallTimerFd : mStandbyWorkFd, &value,
                                       sizeof(value));
            (void)ignored;
            lock.lock();
            mStandbyThreads--;
            if (n == 1 && event.data.u64 == 1) {
                mStallTimerArmed = false;
                // Calls still come and go with threads taking turns: look again later. No
                // turn since the timer was armed: the leader is stuck in a call, lead here.
                if (!mLeaderPresent && mLeaderTurns != mTimerTurns) armStallTimerLocked();
            }
            continue;
        }
        // Leader: the one thread waiting in the main set. It handles what it is woken for and
        // serves what that queued, then leads again.
        mLeaderPresent = true;
        mLeaderTurns++;
        lock.unlock();
        struct epoll_event event;
        const int n = epoll_wait(mEpollFd, &event, 1, -1);
        lock.lock();
        mLeaderPresent = false;
        if (n != 1) continue;
        lock.unlock();
        self.handlingEvent = true;
        handleEvent(event);
        self.handlingEvent = false;
        lock.lock();
        // Queued more than this thread takes: wake or start others for the rest.
        for (size_t i = 1; i < mWork.size(); ++i) wakeForWorkLocked();
    }
}

void BinderRuntime::setMaxPoolThreads(size_t maxThreads) {
    HostMutex::Autolock lock(mWorkLock);
    // One thread may be the leader: at least one more serves.
    mMaxPoolThreads = maxThreads > 2 ? maxThreads : 2;
}

// ---- Host hooks ----

size_t BinderRuntime::connectionCount() {
    BinderRuntime& self = instance();
    HostMutex::Autolock lock(self.mRegistryLock);
    return self.mConnections.size();
}

size_t BinderRuntime::poolThreadCount() {
    BinderRuntime& self = instance();
    HostMutex::Autolock lock(self.mWorkLock);
    return self.mPoolThreads;
}

void BinderRuntime::stopListening() {
    BinderRuntime& self = instance();
    HostMutex::Autolock lock(self.mRegistryLock);
    for (auto& entry : self.mListeners) {
        const Listener& listener = entry.second;
        epoll_ctl(self.mEpollFd, EPOLL_CTL_DEL, listener.fd, nullptr);
        close(listener.fd);
        struct stat st;
        if (stat(listener.path.c_str(), &st) == 0 && st.st_dev == listener.dev &&
            st.st_ino == listener.ino) {
            unlink(listener.path.c_str());
        }
    }
    self.mListeners.clear();
}

void BinderRuntime::unlinkOwnSockets() {
    BinderRuntime& self = instance();
    HostMutex::Autolock lock(self.mRegistryLock);
    for (const auto& entry : self.mListeners) {
        const Listener& listener = entry.second;
        struct stat st;
        if (stat(listener.path.c_str(), &st) == 0 && st.st_dev == listener.dev &&
            st.st_ino == listener.ino) {
            unlink(listener.path.c_str());
        }
    }
}

void BinderRuntime::closeAllConnections() {
    std::vector<sp<BinderConnection>> connections;
    {
        BinderRuntime& self = instance();
        HostMutex::Autolock lock(self.mRegistryLock);
        for (const auto& entry : self.mConnections) connections.push_back(entry.second);
    }
    for (const sp<BinderConnection>& connection : connections) connection->shutdownSocket();
}

}  // namespace android
