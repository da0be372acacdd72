// The whole head unit under faults, as separate processes: sixteen watching applications while
// the tuner seeks, delivers lists and changes the signal level thousands of times; one watcher
// stopped until the service drops it, three killed, one application reconnecting 200 times, one
// breaking the wire protocol, and the head-unit simulator killed and restarted. Run on its own
// (ctest label "fault") so that it can be repeated.
#include "HeadUnitProcessFixture.h"

#include "BinderRuntime.h"

#include <binder/IServiceManager.h>
#include <dabplayer/IDABPlayerService.h>
#include <headunit/HeadUnitNames.h>
#include <headunit/ICommandChannel.h>
#include <nlohmann/json.hpp>

#include <dirent.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

using namespace android;
using namespace std::chrono_literals;
using json = nlohmann::json;

namespace {

constexpr int kWatchers = 16;
constexpr int kStopped = 12;              // watchers kStopped.. are the faulty ones
constexpr int kKilledFrom = 13;
constexpr int kSignalChanges = 3000;
constexpr int kSignalLevelChange = 4;     // notify id of a signal level change
constexpr int kPrimerLevel = 7;           // never part of the pattern
// Threads named as the service's binder pool: the pool itself, which may grow to 15, and the
// list worker, started from a pool thread at activation and named after it.
constexpr size_t kMaxPoolNamedThreads = 15 + 1;

// The levels sent: consecutive values always differ, and none equals the primer.
int patternLevel(int i) { return 1 + i % 6; }

struct ProcessCounts {
    int fds = -1;
    int poolThreads = -1;
    int otherThreads = -1;
    bool operator==(const ProcessCounts& o) const {
        return fds == o.fds && poolThreads == o.poolThreads && otherThreads == o.otherThreads;
    }
    // Nothing more than in the other, the binder pool aside: it grows on demand up to its
    // maximum and stays. Threads started by pool threads carry the pool's name (the list
    // worker for good, the sources' reconnection threads until they end), so that count is
    // bounded instead.
    bool noMoreThan(const ProcessCounts& o) const {
        return fds <= o.fds && otherThreads <= o.otherThreads &&
               static_cast<size_t>(poolThreads) <= kMaxPoolNamedThreads;
    }
};

ProcessCounts countsOf(pid_t pid) {
    ProcessCounts c;
    const std::string proc = "/proc/" + std::to_string(pid);
    if (DIR* d = opendir((proc + "/fd").c_str())) {
        c.fds = 0;
        while (struct dirent* e = readdir(d)) c.fds += e->d_name[0] != '.';
        closedir(d);
    }
    if (DIR* d = opendir((proc + "/task").c_str())) {
        c.poolThreads = c.otherThreads = 0;
        while (struct dirent* e = readdir(d)) {
            if (e->d_name[0] == '.') continue;
            std::ifstream comm(proc + "/task/" + e->d_name + "/comm");
            std::string name;
            std::getline(comm, name);
            (name == "binder:pool" ? c.poolThreads : c.otherThreads)++;
        }
        closedir(d);
    }
    return c;
}

// The counts once they have stayed the same for half a second (at most 5 s): start-up leaves
// connections and a replaced list worker closing for a moment.
ProcessCounts settledCounts(pid_t pid) {
    ProcessCounts last = countsOf(pid);
    int same = 0;
    for (int i = 0; i < 50 && same < 5; ++i) {
        std::this_thread::sleep_for(100ms);
        const ProcessCounts now = countsOf(pid);
        same = now == last ? same + 1 : 0;
        last = now;
    }
    return last;
}

std::string describe(const ProcessCounts& c) {
    return "fds " + std::to_string(c.fds) + ", pool threads " + std::to_string(c.poolThreads) +
           ", other threads " + std::to_string(c.otherThreads);
}

// Signal levels a watcher printed, with repeats of the same level collapsed: a station
// report during a seek repeats the level in force.
std::vector<int> signalLevels(const std::string& watchOutput) {
    std::vector<int> levels;
    std::istringstream in(watchOutput);
    std::string line;
    while (std::getline(in, line)) {
        const json j = json::parse(line, nullptr, false);
        if (j.is_discarded() || j["id"] != kSignalLevelChange) continue;
        const int level = j["ext1"];
        if (levels.empty() || levels.back() != level) levels.push_back(level);
    }
    return levels;
}

// Connects to the socket and writes what no peer may send; true when the service closes
// the connection within the time-out.
bool breakWireProtocol(const std::string& socketPath) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_un addr = {};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, socketPath.c_str(), sizeof(addr.sun_path) - 1);
    char garbage[64];
    memset(garbage, 0x5A, sizeof(garbage));
    struct pollfd p = {fd, POLLIN, 0};
    char c;
    const bool closed =
            fd >= 0 && connect(fd, reinterpret_cast<struct sockaddr*>(&addr), sizeof(addr)) == 0 &&
            write(fd, garbage, sizeof(garbage)) == static_cast<ssize_t>(sizeof(garbage)) &&
            poll(&p, 1, 10000) == 1 && read(fd, &c, 1) == 0;
    if (fd >= 0) close(fd);
    return closed;
}

int ms(std::chrono::steady_clock::duration d) {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(d).count());
}

class FaultInjectionTest : public HeadUnitProcessTest {
protected:
    void TearDown() override {
        // The test's own connections to the service and the tuner's control.
        BinderRuntime::closeAllConnections();
        waitUntil([] { return BinderRuntime::connectionCount() == 0; }, 5s);
        HeadUnitProcessTest::TearDown();
    }
    int logCount(const char* text) { return countOf(readFile("service.err"), text); }
    int constructed() { return logCount("DABPlayer construct"); }
    int registered() {
        const std::string log = readFile("service.err");
        return countOf(log, "DABPlayer construct") - countOf(log, "DABPlayer destruct");
    }
    static std::string watcher(int i) { return "watch" + std::to_string(i); }
};

}  // namespace

TEST_F(FaultInjectionTest, HealthyClientsMissNothingAndTheServiceEndsWhereItStarted) {
    startHeadUnit();
    ASSERT_FALSE(HasFatalFailure());
    const ProcessCounts start = settledCounts(servicePid());
    ASSERT_GE(start.fds, 0);

    std::vector<pid_t> watchers;
    const int before = constructed();
    for (int i = 0; i < kWatchers; ++i) {
        watchers.push_back(spawn("tools/dabctl/dabctl", {"--json", "watch"}, watcher(i)));
    }
    ASSERT_TRUE(waitUntil([&] { return constructed() >= before + kWatchers; }, 30s));

    // The test drives the tuner as an application of its own.
    sp<headunit::ICommandChannel> sim = interface_cast<headunit::ICommandChannel>(
            defaultServiceManager()->getService(String16(headunit::kSimControlService)));
    sp<IDABPlayerService> service = interface_cast<IDABPlayerService>(
            defaultServiceManager()->getService(String16("DABPlayer")));
    ASSERT_NE(nullptr, sim);
    ASSERT_NE(nullptr, service);
    sp<IDABPlayer> player = service->createClient(static_cast<int>(getpid()), nullptr);
    ASSERT_NE(nullptr, player);
    String8 simOut;
    auto simCommand = [&](const std::string& line) {
        return sim->execute(String8(line.c_str()), 0, &simOut);
    };

    kill(watchers[kStopped], SIGSTOP);
    const pid_t reconnecting =
            spawn("tools/binder_test_peer/binder_test_peer", {"reconnect", "200"}, "reconnect");
    const auto floodStart = std::chrono::steady_clock::now();
    ASSERT_EQ(0, simCommand("signal " + std::to_string(kPrimerLevel)));
    for (int i = 0; i < kSignalChanges; ++i) {
        ASSERT_EQ(0, simCommand("signal " + std::to_string(patternLevel(i)))) << i;
        if (i % 250 == 0) {
            // The tuner seeks and delivers the service list meanwhile.
            player->presetSeekUp();
            player->requestServiceCompList();
        }
        if (i == kSignalChanges / 3) {
            for (int k = kKilledFrom; k < kWatchers; ++k) kill(watchers[k], SIGKILL);
        }
        if (i == kSignalChanges / 2) {
            EXPECT_TRUE(breakWireProtocol(dir() + "/DABPlayer.sock"))
                    << "the service kept a connection that broke the protocol";
        }
    }
    const auto floodTime = std::chrono::steady_clock::now() - floodStart;

    // Every healthy watcher sees the primer and then every level sent, in order.
    std::vector<int> expected = {kPrimerLevel};
    for (int i = 0; i < kSignalChanges; ++i) expected.push_back(patternLevel(i));
    auto complete = [&](int w) {
        const std::vector<int> seen = signalLevels(readFile(watcher(w) + ".out"));
        return std::search(seen.begin(), seen.end(), expected.begin(), expected.end()) != seen.end();
    };
    // Watchers are checked one at a time, each until it is complete: reading every output
    // again on each look would take the machine from the processes under test.
    int completed = 0;
    waitUntil(
            [&] {
                while (completed < kStopped && complete(completed)) ++completed;
                return completed == kStopped;
            },
            60s);
    for (int w = completed; w < kStopped; ++w) EXPECT_TRUE(complete(w)) << "watcher " << w;
    const auto deliveredTime = std::chrono::steady_clock::now() - floodStart;

    // The stopped watcher was dropped at its queue bound; woken, it says the service is gone.
    const std::string dropped =
            "connection to pid " + std::to_string(watchers[kStopped]) + " dropped: peer not reading";
    EXPECT_TRUE(waitUntil([&] { return readFile("service.err").find(dropped) != std::string::npos; },
                          10s));
    kill(watchers[kStopped], SIGCONT);
    EXPECT_EQ(1, waitExit(watchers[kStopped], 5s));
    EXPECT_NE(std::string::npos,
              readFile(watcher(kStopped) + ".err").find("dabctl: the DAB player service went away"));
    for (int k = kKilledFrom; k < kWatchers; ++k) EXPECT_EQ(-SIGKILL, waitExit(watchers[k], 5s));
    EXPECT_EQ(0, waitExit(reconnecting, 60s)) << "200 reconnections";

    // The head-unit simulator dies and comes back: both sources are registered again.
    kill(simPid(), SIGKILL);
    EXPECT_EQ(-SIGKILL, waitExit(simPid(), 5s));
    const char* const kRetrying = "ReConnectServiceThread::threadLoop() once gap=1000000";
    ASSERT_TRUE(waitUntil([&] { return logCount(kRetrying) >= 2; }, 10s));
    const char* const kBack = "ReConnectServiceThread reconnect Success !!";
    const int reconnected = logCount(kBack);
    startSimulator("sim2");
    const auto simBack = std::chrono::steady_clock::now();
    // The service's log says when both sources are back; the simulator then confirms it.
    EXPECT_TRUE(waitUntil([&] { return logCount(kBack) >= reconnected + 2; }, 10s));
    const auto reRegistered = std::chrono::steady_clock::now() - simBack;
    EXPECT_LT(reRegistered, 1500ms);
    const json sources = json::parse(dabctl({"--json", "hu", "sources"}).out, nullptr, false);
    ASSERT_FALSE(sources.is_discarded());
    ASSERT_EQ(2u, sources["sources"].size()) << sources.dump();
    for (const json& s : sources["sources"]) EXPECT_TRUE(s["registered"].get<bool>()) << s.dump();

    // Everybody leaves: the registry empties and the service is back where it started.
    for (int w = 0; w < kStopped; ++w) kill(watchers[w], SIGINT);
    for (int w = 0; w < kStopped; ++w) EXPECT_EQ(0, waitExit(watchers[w], 5s)) << "watcher " << w;
    player.clear();
    service.clear();
    sim.clear();
    BinderRuntime::closeAllConnections();
    EXPECT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 0; }, 5s));
    EXPECT_TRUE(waitUntil([this] { return registered() == 0; }, 10s))
            << registered() << " client objects left";
    ProcessCounts end;
    EXPECT_TRUE(waitUntil([&] { return (end = countsOf(servicePid())).noMoreThan(start); }, 10s))
            << "start: " << describe(start) << "; end: " << describe(end);

    RecordProperty("flood_ms", ms(floodTime));
    RecordProperty("delivered_ms", ms(deliveredTime));
    RecordProperty("reregistered_ms", ms(reRegistered));
    printf("fault injection: %d signal changes sent in %d ms, all delivered after %d ms; sources "
           "registered %d ms after the simulator was back; service at start %s, at the end %s\n",
           kSignalChanges, ms(floodTime), ms(deliveredTime), ms(reRegistered),
           describe(start).c_str(), describe(end).c_str());
}
