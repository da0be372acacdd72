// Benchmarks of the cross-process binder transport against a raw Unix socket in the same run
// (absolute times on a small virtual machine mislead):
//   - BM_RawSocketPingPong64: 64 bytes there and back between two processes;
//   - BM_BinderTwoWay64: a two-way call with a 64-byte parcel answered with 64 bytes;
//   - BM_BinderOneway64: one-way calls with a 64-byte parcel (sender's cost; the receiver is
//     waited for every 256 calls so its queue stays within bounds);
// then an idle check: a service with a connected client, left alone, must not wake up.
//
//   binder_bench [benchmark flags] [--idle-seconds=N]
// The process starts copies of itself as the other side (internal flags --raw-peer and
// --binder-peer).
#include <benchmark/benchmark.h>

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>

#include <dirent.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
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
                std::lock_guard<std::mutex> lock(mLock);
                mCount++;
                mChanged.notify_all();
                return NO_ERROR;
            }
            case kWaitCount: {
                const int64_t target = data.readInt64();
                std::unique_lock<std::mutex> lock(mLock);
                mChanged.wait(lock, [&] { return mCount >= target; });
                return reply->writeInt64(mCount);
            }
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

private:
    std::mutex mLock;
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

BENCHMARK(BM_RawSocketPingPong64)->UseRealTime();
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
    if (argc >= 3 && strcmp(argv[1], "--raw-peer") == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runRawPeer(atoi(argv[2]));
    }
    if (argc >= 2 && strcmp(argv[1], "--binder-peer") == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return runBinderPeer();
    }
    int idleSeconds = 10;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (strncmp(argv[i], "--idle-seconds=", 15) == 0) {
            idleSeconds = atoi(argv[i] + 15);
        } else {
            args.push_back(argv[i]);
        }
    }
    char pattern[] = "/tmp/binder-bench-XXXXXX";
    if (mkdtemp(pattern) == nullptr) return 1;
    gDir = pattern;
    setenv("DAB_BINDER_DIR", pattern, 1);
    ProcessState::self()->startThreadPool();

    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    idleCheck(idleSeconds);

    if (gBinderPeer > 0) kill(gBinderPeer, SIGKILL);
    if (gRawPeer > 0) kill(gRawPeer, SIGKILL);
    if (gBinderPeer > 0) waitpid(gBinderPeer, nullptr, 0);
    if (gRawPeer > 0) waitpid(gRawPeer, nullptr, 0);
    removeDir(gDir);
    return 0;
}
