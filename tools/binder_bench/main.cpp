// Benchmarks of the cross-process binder transport against a raw Unix socket in the same run
// (absolute times on a small virtual machine mislead):
//   - BM_RawSocketPingPong64: 64 bytes there and back between two processes;
//   - BM_BinderTwoWay64: a two-way call with a 64-byte parcel answered with 64 bytes;
//   - BM_BinderOneway64: one-way calls with a 64-byte parcel (sender's cost; the receiver is
//     waited for every 256 calls so its queue stays within bounds);
// then a fan-out of notifications to 8 client processes, through IDABPlayerClient::notify and
// through raw Unix sockets (64 bytes) in the same run: the median time from the first send to
// the last client's receipt, the throughput, and a check that every client received every
// notification in order;
// then the same fan-out end to end through the real service: a tuner notification from the
// tuner callback through DABPlayerService's dispatch to N client processes (--fanout-clients,
// 8 by default; run again with 64), against the raw sockets in the same run;
// then an idle check: a service with a connected client, left alone, must not wake up.
// BM_ServiceDump16Clients: a whole dump of the service with 16 clients, full caches and full
// histories (median and 99th percentile as counters).
//
//   binder_bench [benchmark flags] [--idle-seconds=N] [--fanout-rounds=N]
//                [--fanout-notifications=N] [--fanout-raw-notifications=N]
// --fanout-rounds: timed single notifications per side (0 skips the fan-out);
// --fanout-notifications: notifications streamed through binder for throughput and the order
// check (100000); --fanout-raw-notifications: the same through the raw sockets (20000: a stream
// socket cannot reorder, so this is only the throughput figure, kept short).
// Exits with 1 when a client missed a notification or received one out of order.
// Only the fan-out: binder_bench --benchmark_filter='^$' --idle-seconds=0
// The process starts copies of itself as the other side (internal flags --raw-peer,
// --binder-peer, --fanout-raw-client and --fanout-binder-client).
#include <benchmark/benchmark.h>

#include "ToolArgs.h"

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <dabplayer/IDABPlayerClient.h>

#include "DABPlayerService.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "FakeClient.h"
#include "FakePlatform.h"
#include "FakeTuner.h"
#include "HostLog.h"
#include "HostMutex.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <deque>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace android;

namespace {

constexpr size_t kPayload = 64;
constexpr uint32_t kEcho = IBinder::FIRST_CALL_TRANSACTION;
constexpr uint32_t kCount = IBinder::FIRST_CALL_TRANSACTION + 1;
constexpr uint32_t kWaitCount = IBinder::FIRST_CALL_TRANSACTION + 2;
const char kServiceName[] = "binder_bench";

std::string gSelf;            // this executable
std::string gDir;             // the runtime directory of this run
pid_t gBinderPeer = -1;
int gRawFd = -1;
pid_t gRawPeer = -1;

// The other side of the binder benchmarks: echoes two-way calls, counts one-way ones.
class BenchNode : public BBinder {
protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        switch (code) {
            case kEcho: {
                const void* bytes = data.readInplace(kPayload);
                return bytes != nullptr ? reply->write(bytes, kPayload) : BAD_VALUE;
            }
            case kCount: {
                HostMutex::Autolock lock(mLock);
                mCount++;
                mChanged.notify_all();
                return NO_ERROR;
            }
            case kWaitCount: {
                const int64_t target = data.readInt64();
                HostMutex::Autolock lock(mLock);
                mChanged.wait(lock.native(), [&]() REQUIRES(mLock) { return mCount >= target; });
                return reply->writeInt64(mCount);
            }
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

private:
    HostMutex mLock;
    std::condition_variable mChanged;
    int64_t mCount = 0;
};

int runRawPeer(int fd) {
    char buf[kPayload];
    for (;;) {
        size_t have = 0;
        while (have < kPayload) {
            const ssize_t n = read(fd, buf + have, kPayload - have);
            if (n <= 0) return 0;
            have += static_cast<size_t>(n);
        }
        if (write(fd, buf, kPayload) != static_cast<ssize_t>(kPayload)) return 0;
    }
}

int runBinderPeer() {
    defaultServiceManager()->addService(String16(kServiceName), new BenchNode());
    ProcessState::self()->startThreadPool();
    IPCThreadState::self()->joinThreadPool(true);
    return 0;
}

pid_t spawn(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(gSelf.c_str()));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

sp<IBinder> benchService() {
    static sp<IBinder> service;
    if (service == nullptr) {
        gBinderPeer = spawn({"--binder-peer"});
        service = defaultServiceManager()->getService(String16(kServiceName));
    }
    return service;
}

void BM_RawSocketPingPong64(benchmark::State& state) {
    if (gRawFd < 0) {
        int sv[2];
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sv);
        // The peer's end must survive exec.
        const int peerFd = dup(sv[1]);
        gRawPeer = spawn({"--raw-peer", std::to_string(peerFd)});
        close(peerFd);
        close(sv[1]);
        gRawFd = sv[0];
    }
    char out[kPayload] = {1};
    char in[kPayload];
    for (auto _ : state) {
        if (write(gRawFd, out, kPayload) != static_cast<ssize_t>(kPayload)) {
            state.SkipWithError("write failed");
            break;
        }
        size_t have = 0;
        while (have < kPayload) {
            const ssize_t n = read(gRawFd, in + have, kPayload - have);
            if (n <= 0) break;
            have += static_cast<size_t>(n);
        }
    }
}

void BM_BinderTwoWay64(benchmark::State& state) {
    sp<IBinder> service = benchService();
    if (service == nullptr) {
        state.SkipWithError("no service");
        return;
    }
    char payload[kPayload] = {1};
    for (auto _ : state) {
        Parcel data;
        Parcel reply;
        data.write(payload, kPayload);
        if (service->transact(kEcho, data, &reply) != NO_ERROR) {
            state.SkipWithError("transact failed");
            break;
        }
    }
}


void BM_BinderOneway64(benchmark::State& state) {
    sp<IBinder> service = benchService();
    if (service == nullptr) {
        state.SkipWithError("no service");
        return;
    }
    char payload[kPayload] = {1};
    int64_t sent = 0;
    static int64_t total = 0;
    for (auto _ : state) {
        Parcel data;
        data.write(payload, kPayload);
        service->transact(kCount, data, nullptr, IBinder::FLAG_ONEWAY);
        sent++;
        // Wait for the receiver now and then so the queue stays within its bound.
        if (sent % 256 == 0) {
            Parcel wait;
            Parcel reply;
            wait.writeInt64(total + sent);
            service->transact(kWaitCount, wait, &reply);
        }
    }
    Parcel wait;
    Parcel reply;
    wait.writeInt64(total + sent);
    service->transact(kWaitCount, wait, &reply);
    total += sent;
}

// A whole dump of the service with 16 clients, full caches and full histories, written to
// /dev/null. The median and the 99th percentile of the iterations are reported as counters.
void BM_ServiceDump16Clients(benchmark::State& state) {
    HostLog::Sink previousSink = HostLog::setSink([](const HostLog::Line&) {});
    sp<FakeTuner> tuner = new FakeTuner();
    sp<FakeSysCtrl> sysCtrl = new FakeSysCtrl();
    sp<FakeMediaData> mediaData = new FakeMediaData();
    sp<FakeProcessSupport> process = new FakeProcessSupport();
    media_lib_dab::DABLibBackend::setCurrent(tuner);
    SysCtrlBackend::setCurrent(sysCtrl);
    MediaDataBackend::setCurrent(mediaData);
    ProcessSupportBackend::setCurrent(process);
    sp<DABPlayerService> service = new DABPlayerService(nullptr, nullptr);
    sysCtrl->resume();
    service->activate(0);
    std::vector<sp<IDABPlayer>> players;
    for (int i = 0; i < 16; ++i) players.push_back(service->createClient(1000 + i, new FakeClient()));
    {
        // Full caches: three preset bands and a 200-entry service list arriving item by item.
        media_lib_dab::ST_DAB_PCH_LIST_ITEM pch;
        for (int band = 1; band <= 3; ++band) {
            for (int i = 1; i <= 6; ++i) {
                memset(&pch, 0, sizeof(pch));
                pch.labelValid = 1;
                pch.band = static_cast<uint32_t>(band);
                pch.pchNum = static_cast<uint8_t>(i);
                pch.nm = 14;
                pch.labelEncode = 1;
                memcpy(pch.label, "Preset station  ", 16);
                tuner->setPchItem(pch);
                tuner->notify(14, 0);
            }
        }
        service->requestServiceCompList();
        media_lib_dab::ST_DAB_SVC_LIST_DATA svc;
        for (int i = 1; i <= 200; ++i) {
            memset(&svc, 0, sizeof(svc));
            svc.valid = 1;
            svc.curnum_all = 200;
            svc.curnum_pos = static_cast<uint8_t>(i);
            svc.codeTyped = 1;
            memcpy(svc.label, "Service station ", 16);
            tuner->setSvcItem(svc);
            tuner->notify(23, 0);
        }
        for (int i = 0; i < 200; ++i) tuner->notify(10, i % 8);
    }
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    Vector<String16> args;
    std::vector<double> times;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        service->dump(fd, args);
        times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    close(fd);
    service->deactivate(0);
    std::sort(times.begin(), times.end());
    state.counters["p50_us"] = times[times.size() / 2];
    state.counters["p99_us"] = times[std::min(times.size() - 1, times.size() * 99 / 100)];
    players.clear();
    service.clear();
    media_lib_dab::DABLibBackend::setCurrent(nullptr);
    SysCtrlBackend::setCurrent(nullptr);
    MediaDataBackend::setCurrent(nullptr);
    ProcessSupportBackend::setCurrent(nullptr);
    HostLog::setSink(previousSink);
}

BENCHMARK(BM_RawSocketPingPong64)->UseRealTime();
BENCHMARK(BM_ServiceDump16Clients)->UseRealTime();
BENCHMARK(BM_BinderTwoWay64)->UseRealTime();
BENCHMARK(BM_BinderOneway64)->UseRealTime();

// CPU time (ticks) and context switches of every thread of a process.
struct ProcessActivity {
    long long cpuTicks = 0;
    long long switches = 0;
};

ProcessActivity activityOf(pid_t pid) {
    ProcessActivity a;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    const size_t close = line.rfind(')');
    if (close != std::string::npos) {
        std::istringstream fields(line.substr(close + 2));
        std::string f;
        for (int i = 3; i <= 15 && fields >> f; ++i) {
            if (i == 14 || i == 15) a.cpuTicks += std::stoll(f);
        }
    }
    const std::string taskDir = "/proc/" + std::to_string(pid) + "/task";
    DIR* d = opendir(taskDir.c_str());
    if (d != nullptr) {
        while (struct dirent* e = readdir(d)) {
            if (e->d_name[0] == '.') continue;
            std::ifstream status(taskDir + "/" + e->d_name + "/status");
            while (std::getline(status, line)) {
                if (line.rfind("voluntary_ctxt_switches:", 0) == 0 ||
                    line.rfind("nonvoluntary_ctxt_switches:", 0) == 0) {
                    a.switches += std::stoll(line.substr(line.find(':') + 1));
                }
            }
        }
        closedir(d);
    }
    return a;
}

void idleCheck(int seconds) {
    sp<IBinder> service = benchService();
    if (service == nullptr || seconds <= 0) return;
    // Settle after the benchmarks, then watch both processes.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const ProcessActivity serviceBefore = activityOf(gBinderPeer);
    const ProcessActivity selfBefore = activityOf(getpid());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const ProcessActivity serviceAfter = activityOf(gBinderPeer);
    const ProcessActivity selfAfter = activityOf(getpid());
    printf("idle %ds, client connected: service CPU ticks +%lld, context switches +%lld; "
           "client CPU ticks +%lld, context switches +%lld (its own sleeping main thread "
           "counts 1)\n",
           seconds, serviceAfter.cpuTicks - serviceBefore.cpuTicks,
           serviceAfter.switches - serviceBefore.switches,
           selfAfter.cpuTicks - selfBefore.cpuTicks, selfAfter.switches - selfBefore.switches);
}

// ---- Fan-out of one notification to many client processes ----

int gFanoutClients = 8;  // main thread sets it before any fan-out
constexpr int kAckEvery = 128;      // streamed notifications: one receipt per this many
constexpr int kWindow = 512;        // streamed notifications in flight, within the queue bounds
constexpr int kAckTimeoutMs = 5000;
constexpr uint32_t kRegister = IBinder::FIRST_CALL_TRANSACTION;
const char kFanoutService[] = "binder_bench_fanout";
const char kFanoutText[] = "ensemble changed";

// The notification's msg says whether the client reports its receipt.
enum FanoutMsg : int32_t { kMsgAck = 1, kMsgNoAck = 2 };
// Through the service: tuner signal level (10) reaches clients as notify id 4, FM link (5)
// as notify id 5, each with the tuner's value.
constexpr int kTunerSignalLevel = 10;
constexpr int kTunerFmLink = 5;
constexpr int32_t kServiceMsgAck = 4;
constexpr int32_t kServiceMsgNoAck = 5;

// A client's receipt: the sequence number just received and the faults seen so far (a sequence
// number other than the one expected, or a wrong payload).
struct Ack {
    int32_t seq;
    int32_t faults;
};

// A raw notification: msg, seq, 0 and a C string, 64 bytes in all.
struct RawNotification {
    int32_t msg;
    int32_t seq;
    int32_t ext2;
    char text[kPayload - 3 * sizeof(int32_t)];
};
static_assert(sizeof(RawNotification) == kPayload, "one 64-byte message");

// A socket whose reader died fails the write instead of killing the writer.
bool writeAll(int fd, const void* buf, size_t len) {
    const char* p = static_cast<const char*>(buf);
    while (len > 0) {
        const ssize_t n = send(fd, p, len, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        len -= static_cast<size_t>(n);
    }
    return true;
}

// Blocks up to timeoutMs (-1: for ever) for the whole buffer.
bool readAll(int fd, void* buf, size_t len, int timeoutMs) {
    char* p = static_cast<char*>(buf);
    while (len > 0) {
        if (timeoutMs >= 0) {
            struct pollfd pfd = {fd, POLLIN, 0};
            const int r = poll(&pfd, 1, timeoutMs);
            if (r < 0 && errno == EINTR) continue;
            if (r <= 0) return false;
        }
        const ssize_t n = read(fd, p, len);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        len -= static_cast<size_t>(n);
    }
    return true;
}

// Checks the order of what one client receives; binder threads or the raw client's only thread.
class SequenceCheck {
public:
    explicit SequenceCheck(int ackFd) : mAckFd(ackFd) {}

    // Any thread; blocks while the receipt is written.
    void received(int32_t msg, int32_t seq, bool payloadOk) {
        Ack ack;
        {
            HostMutex::Autolock lock(mLock);
            if (seq != mExpected || !payloadOk) mFaults++;
            mExpected = seq + 1;
            ack = {seq, mFaults};
        }
        if (msg == kMsgAck) writeAll(mAckFd, &ack, sizeof(ack));
    }

private:
    const int mAckFd;       // immutable
    HostMutex mLock;        // guards the fields below
    int32_t mExpected GUARDED_BY(mLock) = 0;
    int32_t mFaults GUARDED_BY(mLock) = 0;
};

class FanoutClient : public BnDABPlayerClient {
public:
    explicit FanoutClient(int ackFd) : mCheck(ackFd) {}

    // Binder threads, one call at a time (one-way calls to one object are served in order).
    void notify(int msg, int ext1, int ext2, const Parcel* obj) override {
        // Through the player service the two kinds arrive as signal level and FM link, which
        // carry no parcel.
        if (msg == kServiceMsgAck || msg == kServiceMsgNoAck) {
            mCheck.received(msg == kServiceMsgAck ? kMsgAck : kMsgNoAck, ext1,
                            ext2 == 0 && obj == nullptr);
            return;
        }
        const char* text = obj != nullptr ? obj->readCString() : nullptr;
        mCheck.received(msg, ext1, ext2 == 0 && text != nullptr && strcmp(text, kFanoutText) == 0);
    }

private:
    SequenceCheck mCheck;   // has its own lock
};

// The service side: collects the callbacks the clients register.
class FanoutRegistry : public BBinder {
public:
    // Any thread; blocks up to the time-out. The callbacks, once n are registered (else empty).
    std::vector<sp<IDABPlayerClient>> waitClients(size_t n, std::chrono::milliseconds timeout) {
        HostMutex::Autolock lock(mLock);
        if (!mChanged.wait_for(lock.native(), timeout, [&]() REQUIRES(mLock) { return mClients.size() >= n; })) return {};
        return mClients;
    }

    // Any thread. Forgets every callback.
    void clear() {
        std::vector<sp<IDABPlayerClient>> old;
        HostMutex::Autolock lock(mLock);
        old.swap(mClients);
    }

protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (code != kRegister) return BBinder::onTransact(code, data, reply, flags);
        sp<IDABPlayerClient> client = interface_cast<IDABPlayerClient>(data.readStrongBinder());
        if (client == nullptr) return BAD_VALUE;
        HostMutex::Autolock lock(mLock);
        mClients.push_back(client);
        mChanged.notify_all();
        return NO_ERROR;
    }

private:
    HostMutex mLock;                        // guards mClients
    std::condition_variable mChanged;       // signalled under mLock
    std::vector<sp<IDABPlayerClient>> mClients GUARDED_BY(mLock);
};

int runFanoutRawClient(int fd) {
    SequenceCheck check(fd);
    // Takes whatever has arrived in one read, as a raw socket reader would.
    std::vector<char> buf(64 * sizeof(RawNotification));
    size_t have = 0;
    for (;;) {
        const ssize_t n = read(fd, buf.data() + have, buf.size() - have);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return 0;
        have += static_cast<size_t>(n);
        size_t used = 0;
        for (; have - used >= sizeof(RawNotification); used += sizeof(RawNotification)) {
            RawNotification m;
            memcpy(&m, buf.data() + used, sizeof(m));
            m.text[sizeof(m.text) - 1] = '\0';
            check.received(m.msg, m.seq, m.ext2 == 0 && strcmp(m.text, kFanoutText) == 0);
        }
        memmove(buf.data(), buf.data() + used, have - used);
        have -= used;
    }
}

int runFanoutBinderClient(int ackFd) {
    sp<IBinder> service = defaultServiceManager()->getService(String16(kFanoutService));
    if (service == nullptr) return 5;
    ProcessState::self()->startThreadPool();
    sp<FanoutClient> client = new FanoutClient(ackFd);
    Parcel data;
    Parcel reply;
    data.writeStrongBinder(client);
    if (service->transact(kRegister, data, &reply) != NO_ERROR) return 4;
    IPCThreadState::self()->joinThreadPool(true);
    return 0;
}

// One side of the fan-out: sends a notification to every client and reads their receipts.
class FanoutSide {
public:
    virtual ~FanoutSide() = default;
    // The bench's main thread. Sends seq with msg to every client, in client order.
    virtual void send(int32_t msg, int32_t seq) = 0;

    // The bench's main thread; blocks up to the time-out. Reads each client's next receipt and
    // checks that it is for seq; false on a time-out or a receipt for another one.
    bool awaitAll(int32_t seq) {
        for (size_t i = 0; i < ackFds.size(); ++i) {
            Ack ack;
            if (!readAll(ackFds[i], &ack, sizeof(ack), kAckTimeoutMs) || ack.seq != seq) {
                fprintf(stderr, "fan-out: client %zu: receipt for %d missing\n", i, seq);
                return false;
            }
            lastFaults[i] = ack.faults;
        }
        return true;
    }

    std::vector<int> ackFds;          // the bench's end of each client's receipt channel
    std::vector<pid_t> pids;          // the client processes
    std::vector<int32_t> lastFaults;  // per client, from its latest receipt
    int32_t nextSeq = 0;              // the next sequence number to send
    bool failed = false;              // a receipt went missing: figures are void
};

class RawFanout : public FanoutSide {
public:
    void send(int32_t msg, int32_t seq) override {
        RawNotification n = {msg, seq, 0, {}};
        memcpy(n.text, kFanoutText, sizeof(kFanoutText));
        for (int fd : ackFds) writeAll(fd, &n, sizeof(n));
    }
};

class BinderFanout : public FanoutSide {
public:
    BinderFanout() { mObj.writeCString(kFanoutText); }
    void send(int32_t msg, int32_t seq) override {
        for (const sp<IDABPlayerClient>& c : clients) c->notify(msg, seq, 0, &mObj);
    }
    std::vector<sp<IDABPlayerClient>> clients;  // main thread only
private:
    Parcel mObj;                                // immutable after construction
};

// The real service on the scripted tuner: send() is the tuner's callback thread delivering one
// notification, which the dispatch fans out to every client object.
class ServiceFanout : public FanoutSide {
public:
    void send(int32_t msg, int32_t seq) override {
        tuner->notify(msg == kMsgAck ? kTunerSignalLevel : kTunerFmLink, seq);
    }
    sp<FakeTuner> tuner;                 // main thread only
    sp<DABPlayerService> service;        // main thread only
    std::vector<sp<IDABPlayer>> players; // the client objects, held as the applications would
};

// Starts a client with its end of a new socket pair; returns the bench's end.
int spawnWithSocket(const char* flag, pid_t* pid) {
    int sv[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sv) != 0) return -1;
    // The client's end must survive exec.
    const int clientFd = dup(sv[1]);
    *pid = spawn({flag, std::to_string(clientFd)});
    close(clientFd);
    close(sv[1]);
    return sv[0];
}

// The bench's main thread; blocks. Time from the first send to the last receipt.
double timedRound(FanoutSide& side) {
    if (side.failed) return 0;
    const int32_t seq = side.nextSeq++;
    const auto start = std::chrono::steady_clock::now();
    side.send(kMsgAck, seq);
    if (!side.awaitAll(seq)) side.failed = true;
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::micro>(end - start).count();
}

// The bench's main thread; blocks. Streams count notifications, at most kWindow unconfirmed;
// returns notifications per second.
double stream(FanoutSide& side, int count) {
    std::deque<int32_t> awaited;
    int32_t confirmedUpTo = side.nextSeq;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count && !side.failed; ++i) {
        const int32_t seq = side.nextSeq++;
        const bool ack = (i + 1) % kAckEvery == 0 || i + 1 == count;
        side.send(ack ? kMsgAck : kMsgNoAck, seq);
        if (ack) awaited.push_back(seq);
        while (!awaited.empty() && (side.nextSeq - confirmedUpTo >= kWindow || i + 1 == count)) {
            if (!side.awaitAll(awaited.front())) side.failed = true;
            confirmedUpTo = awaited.front() + 1;
            awaited.pop_front();
            if (side.failed) break;
        }
    }
    const auto end = std::chrono::steady_clock::now();
    return count / std::chrono::duration<double>(end - start).count();
}

double percentile(std::vector<double> v, double p) {
    if (v.empty()) return 0;
    const size_t k = std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())));
    std::nth_element(v.begin(), v.begin() + static_cast<ptrdiff_t>(k), v.end());
    return v[k];
}

bool allInOrder(const FanoutSide& side) {
    return !side.failed && std::all_of(side.lastFaults.begin(), side.lastFaults.end(),
                                       [](int32_t f) { return f == 0; });
}

// Faults of each client, or that there were none.
std::string describeOrder(const FanoutSide& side) {
    if (side.failed) return "FAILED: a receipt went missing";
    std::string faults;
    for (size_t i = 0; i < side.lastFaults.size(); ++i) {
        if (side.lastFaults[i] != 0) {
            faults += " client " + std::to_string(i) + ": " + std::to_string(side.lastFaults[i]);
        }
    }
    return faults.empty() ? "every client in order, none missing" : "FAILED, faults:" + faults;
}

void stopClients(FanoutSide& side) {
    for (pid_t pid : side.pids) {
        if (pid > 0) kill(pid, SIGKILL);
    }
    for (pid_t pid : side.pids) {
        if (pid > 0) waitpid(pid, nullptr, 0);
    }
    for (int fd : side.ackFds) close(fd);
}

// False when a client missed a notification or received one out of order.
bool fanoutCheck(int rounds, int notifications, int rawNotifications) {
    if (rounds <= 0) return true;
    RawFanout raw;
    BinderFanout binder;
    ServiceFanout service;
    sp<FanoutRegistry> registry = new FanoutRegistry();
    if (defaultServiceManager()->addService(String16(kFanoutService), registry) != NO_ERROR) {
        fprintf(stderr, "fan-out: service not published\n");
        return false;
    }
    for (int i = 0; i < gFanoutClients; ++i) {
        pid_t pid = -1;
        raw.ackFds.push_back(spawnWithSocket("--fanout-raw-client", &pid));
        raw.pids.push_back(pid);
        binder.ackFds.push_back(spawnWithSocket("--fanout-binder-client", &pid));
        binder.pids.push_back(pid);
    }
    raw.lastFaults.assign(gFanoutClients, 0);
    binder.lastFaults.assign(gFanoutClients, 0);
    service.lastFaults.assign(gFanoutClients, 0);
    binder.clients = registry->waitClients(gFanoutClients, std::chrono::seconds(30));
    bool ok = binder.clients.size() == static_cast<size_t>(gFanoutClients);
    // The service's clients come after: their callbacks are registered in a second round.
    registry->clear();
    for (int i = 0; ok && i < gFanoutClients; ++i) {
        pid_t pid = -1;
        service.ackFds.push_back(spawnWithSocket("--fanout-binder-client", &pid));
        service.pids.push_back(pid);
    }
    std::vector<sp<IDABPlayerClient>> serviceClients =
            ok ? registry->waitClients(gFanoutClients, std::chrono::seconds(30))
               : std::vector<sp<IDABPlayerClient>>();
    ok = ok && serviceClients.size() == static_cast<size_t>(gFanoutClients);
    // The service logs every notification as on the device; the lines are counted, not shown.
    std::atomic<long> logLines(0);
    HostLog::Sink previousSink =
            HostLog::setSink([&logLines](const HostLog::Line&) { logLines.fetch_add(1); });
    if (ok) {
        service.tuner = new FakeTuner();
        media_lib_dab::DABLibBackend::setCurrent(service.tuner);
        service.service = new DABPlayerService(nullptr, nullptr);
        // The bench's main thread stands in for the tuner's callback thread.
        for (const sp<IDABPlayerClient>& c : serviceClients) {
            service.players.push_back(service.service->createClient(0, c));
        }
        // The client objects' order in the registry is the fan-out order; receipts are read
        // per process, so any order works.
    }
    if (!ok) {
        fprintf(stderr, "fan-out: clients did not register\n");
    } else {
        // Warm up both sides, then alternate them so drift on the machine hits both alike.
        for (int i = 0; i < rounds / 10; ++i) {
            timedRound(raw);
            timedRound(binder);
            timedRound(service);
        }
        std::vector<double> rawTimes;
        std::vector<double> binderTimes;
        std::vector<double> serviceTimes;
        const long linesBefore = logLines.load();
        for (int i = 0; i < rounds; ++i) {
            rawTimes.push_back(timedRound(raw));
            binderTimes.push_back(timedRound(binder));
            serviceTimes.push_back(timedRound(service));
        }
        const double linesPerNotification =
                static_cast<double>(logLines.load() - linesBefore) / rounds;
        const double rawRate = stream(raw, rawNotifications);
        const double binderRate = stream(binder, notifications);
        const double serviceRate = stream(service, notifications);
        const double rawMedian = percentile(rawTimes, 0.5);
        const double binderMedian = percentile(binderTimes, 0.5);
        printf("fan-out to %d processes, %d single notifications each side, send to the last "
               "client's receipt, median (90th percentile):\n",
               gFanoutClients, rounds);
        printf("  raw socket, 64 bytes:          %8.1f us (%8.1f us)\n", rawMedian,
               percentile(rawTimes, 0.9));
        printf("  IDABPlayerClient::notify:      %8.1f us (%8.1f us)\n", binderMedian,
               percentile(binderTimes, 0.9));
        printf("  ratio binder/raw: %.2f (within 2: %s)\n", binderMedian / rawMedian,
               binderMedian <= 2 * rawMedian ? "yes" : "NO");
        const double serviceMedian = percentile(serviceTimes, 0.5);
        const double serviceP99 = percentile(serviceTimes, 0.99);
        const double rawP99 = percentile(rawTimes, 0.99);
        const double target = gFanoutClients <= 8 ? 1.3 : 1.5;
        printf("end to end through the service (tuner callback to the last client's receipt, "
               "%.1f log lines each):\n",
               linesPerNotification);
        printf("  raw socket p50 %8.1f us  p99 %8.1f us\n", rawMedian, rawP99);
        printf("  service    p50 %8.1f us  p99 %8.1f us\n", serviceMedian, serviceP99);
        printf("  ratio service/raw: p50 %.2f, p99 %.2f (target %.1f: %s)\n",
               serviceMedian / rawMedian, serviceP99 / rawP99, target,
               serviceMedian <= target * rawMedian ? "met" : "MISSED");
        // A stream cut short by a lost receipt has no rate.
        const auto rate = [](const FanoutSide& side, double r) {
            return side.failed ? std::string("void") : std::to_string(static_cast<long>(r)) + "/s";
        };
        printf("fan-out streamed (receipt every %d, at most %d in flight): raw %s over %d, "
               "binder %s over %d\n",
               kAckEvery, kWindow, rate(raw, rawRate).c_str(), rawNotifications,
               rate(binder, binderRate).c_str(), notifications);
        printf("order, binder: %d notifications per client (%d streamed): %s\n", binder.nextSeq,
               notifications, describeOrder(binder).c_str());
        printf("order, service: %d notifications per client (%d streamed, %s): %s\n",
               service.nextSeq, notifications, rate(service, serviceRate).c_str(),
               describeOrder(service).c_str());
        printf("order, raw: %d notifications per client: %s\n", raw.nextSeq,
               describeOrder(raw).c_str());
        ok = allInOrder(binder) && allInOrder(raw) && allInOrder(service);
    }
    binder.clients.clear();
    service.players.clear();
    serviceClients.clear();
    service.service.clear();
    media_lib_dab::DABLibBackend::setCurrent(nullptr);
    HostLog::setSink(previousSink);
    registry->clear();
    stopClients(raw);
    stopClients(binder);
    stopClients(service);
    return ok;
}

void removeDir(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (struct dirent* e = readdir(d)) {
        if (e->d_name[0] != '.') unlink((dir + "/" + e->d_name).c_str());
    }
    closedir(d);
    rmdir(dir.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    char exe[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    gSelf = n > 0 ? std::string(exe, static_cast<size_t>(n)) : argv[0];
    // Google Benchmark's own options pass through; the rest follow the tools' convention.
    std::vector<char*> benchmarkArgs = {argv[0]};
    std::vector<const char*> ownArgs = {argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--benchmark_", 12) == 0) {
            benchmarkArgs.push_back(argv[i]);
        } else {
            ownArgs.push_back(argv[i]);
        }
    }
    static const char kUsage[] =
            "usage: binder_bench [--idle-seconds S] [--fanout-rounds N] [--fanout-notifications N]\n"
            "                    [--fanout-raw-notifications N] [--fanout-clients N] [--benchmark_...]";
    ToolArgs args("binder_bench");
    std::string error;
    int idleSeconds = 10;
    int fanoutRounds = 2000;
    int fanoutNotifications = 100000;
    int fanoutRawNotifications = 20000;
    int peer = -1;
    if (!args.parse(static_cast<int>(ownArgs.size()), ownArgs.data(),
                    {{"--idle-seconds", "S"},
                     {"--fanout-rounds", "N"},
                     {"--fanout-notifications", "N"},
                     {"--fanout-raw-notifications", "N"},
                     {"--fanout-clients", "N"},
                     {"--raw-peer", "FD"},
                     {"--binder-peer", nullptr},
                     {"--fanout-raw-client", "FD"},
                     {"--fanout-binder-client", "FD"}},
                    &error) ||
        !args.intOption("--idle-seconds", 0, 3600, &idleSeconds, &error) ||
        !args.intOption("--fanout-rounds", 1, 1000000, &fanoutRounds, &error) ||
        !args.intOption("--fanout-notifications", 1, 10000000, &fanoutNotifications, &error) ||
        !args.intOption("--fanout-raw-notifications", 1, 10000000, &fanoutRawNotifications,
                        &error) ||
        !args.intOption("--fanout-clients", 1, 256, &gFanoutClients, &error) ||
        !args.intOption("--raw-peer", 0, 1 << 20, &peer, &error) ||
        !args.intOption("--fanout-raw-client", 0, 1 << 20, &peer, &error) ||
        !args.intOption("--fanout-binder-client", 0, 1 << 20, &peer, &error)) {
        return args.usageError(error, kUsage);
    }
    if (args.help()) return ToolArgs::printHelp(kUsage);
    if (!args.positional().empty()) {
        return args.usageError("unexpected argument \"" + args.positional()[0] + "\"", kUsage);
    }
    // The peers are this program started again by the benchmarks; they die with it.
    if (args.has("--raw-peer")) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runRawPeer(peer);
    }
    if (args.has("--binder-peer")) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runBinderPeer();
    }
    if (args.has("--fanout-raw-client")) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runFanoutRawClient(peer);
    }
    if (args.has("--fanout-binder-client")) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runFanoutBinderClient(peer);
    }
    char pattern[] = "/tmp/binder-bench-XXXXXX";
    if (mkdtemp(pattern) == nullptr) return 1;
    gDir = pattern;
    setenv("DAB_BINDER_DIR", pattern, 1);
    ProcessState::self()->startThreadPool();

    int count = static_cast<int>(benchmarkArgs.size());
    benchmark::Initialize(&count, benchmarkArgs.data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const bool fanoutOk = fanoutCheck(fanoutRounds, fanoutNotifications, fanoutRawNotifications);
    idleCheck(idleSeconds);

    if (gBinderPeer > 0) kill(gBinderPeer, SIGKILL);
    if (gRawPeer > 0) kill(gRawPeer, SIGKILL);
    if (gBinderPeer > 0) waitpid(gBinderPeer, nullptr, 0);
    if (gRawPeer > 0) waitpid(gRawPeer, nullptr, 0);
    removeDir(gDir);
    return fanoutOk ? 0 : 1;
}
