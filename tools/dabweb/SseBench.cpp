// dabweb_bench: event-stream clients against a running dabweb. The simulated tuner is told
// to report a new signal level N times (through its control channel); every client must
// receive each of those notifications as one event, none lost, in order. Prints the delay
// from the tuner command to each event's arrival (p50, p90, p99, max).
//
//   dabweb_bench --port P [--clients 10] [--notifications 1000] [--interval-ms 5]
//                [--max-p99-ms MS]
// Exit status: 0 nothing lost or reordered (and p99 within the limit when one is given),
// 1 something was, 2 usage.
#include "ControlClient.h"
#include "HostMutex.h"
#include "ToolArgs.h"

#include <headunit/HeadUnitNames.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using json = nlohmann::json;

constexpr int kSignalLevelNotify = 4;  // DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE

struct Options {
    int port = 0;
    int clients = 10;
    int notifications = 1000;
    int intervalMs = 5;
    double maxP99Ms = -1;
};

// One event-stream client: the signal levels it received and when.
struct StreamClient {
    HostMutex lock;  // guards every field below
    bool connected GUARDED_BY(lock) = false;
    std::vector<int> levels GUARDED_BY(lock);
    std::vector<Clock::time_point> arrivals GUARDED_BY(lock);
    std::string buffer GUARDED_BY(lock);
};

std::atomic<bool> gStop(false);
HostMutex gWakeLock;
std::condition_variable gWake;  // a client connected or received

void wake() {
    HostMutex::Autolock lock(gWakeLock);
    gWake.notify_all();
}

// Parses whole SSE records out of the buffer; keeps an incomplete one.
void consume(StreamClient& c, const Clock::time_point now) REQUIRES(c.lock) {
    size_t end;
    while ((end = c.buffer.find("\n\n")) != std::string::npos) {
        const std::string record = c.buffer.substr(0, end);
        c.buffer.erase(0, end + 2);
        std::string event;
        std::string data;
        size_t pos = 0;
        while (pos < record.size()) {
            size_t eol = record.find('\n', pos);
            if (eol == std::string::npos) eol = record.size();
            const std::string line = record.substr(pos, eol - pos);
            if (line.compare(0, 7, "event: ") == 0) event = line.substr(7);
            if (line.compare(0, 6, "data: ") == 0) data = line.substr(6);
            pos = eol + 1;
        }
        if (event == "state") c.connected = true;
        if (event != "notify") continue;
        const json j = json::parse(data, nullptr, false);
        if (j.is_discarded() || !j.contains("notify")) continue;
        const json& n = j["notify"];
        if (n.value("id", 0) != kSignalLevelNotify) continue;
        c.levels.push_back(n.value("ext1", -1));
        c.arrivals.push_back(now);
    }
}

void runClient(int port, StreamClient* c) {
    while (!gStop.load()) {
        httplib::Client client("127.0.0.1", port);
        client.set_read_timeout(2, 0);
        client.Get("/api/events", httplib::Headers(), [c](const char* data, size_t len) {
            const Clock::time_point now = Clock::now();
            {
                HostMutex::Autolock lock(c->lock);
                c->buffer.append(data, len);
                consume(*c, now);
            }
            wake();
            return !gStop.load();
        });
        // A stream that ended is a failure unless we stopped it: what it missed counts as lost.
        if (!gStop.load()) {
            HostMutex::Autolock lock(c->lock);
            if (c->connected) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

const char kUsageLine[] =
        "usage: dabweb_bench --port P [--clients N] [--notifications N] [--interval-ms MS] "
        "[--max-p99-ms MS]";

double percentile(std::vector<double> v, double p) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    size_t i = static_cast<size_t>(p * static_cast<double>(v.size() - 1) + 0.5);
    return v[std::min(i, v.size() - 1)];
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    ToolArgs args("dabweb_bench");
    std::string error;
    if (!args.parse(argc, argv, {{"--port", "P"}, {"--clients", "N"}, {"--notifications", "N"},
                                 {"--interval-ms", "MS"}, {"--max-p99-ms", "MS"}},
                    &error)) {
        return args.usageError(error, kUsageLine);
    }
    if (args.help()) return ToolArgs::printHelp(std::string(kUsageLine) + "\n");
    int maxP99 = -1;
    if (!args.intOption("--port", 1, 65535, &o.port, &error) ||
        !args.intOption("--clients", 1, 30, &o.clients, &error) ||
        !args.intOption("--notifications", 1, 1000000, &o.notifications, &error) ||
        !args.intOption("--interval-ms", 0, 1000, &o.intervalMs, &error) ||
        !args.intOption("--max-p99-ms", 0, 100000, &maxP99, &error)) {
        return args.usageError(error, kUsageLine);
    }
    if (!args.has("--port") || !args.positional().empty()) {
        return args.usageError("--port is required and nothing else", kUsageLine);
    }
    o.maxP99Ms = maxP99;

    std::vector<StreamClient> clients(static_cast<size_t>(o.clients));
    std::vector<std::thread> threads;
    for (StreamClient& c : clients) threads.emplace_back(runClient, o.port, &c);
    auto allConnected = [&] {
        for (StreamClient& c : clients) {
            HostMutex::Autolock lock(c.lock);
            if (!c.connected) return false;
        }
        return true;
    };
    {
        HostMutex::Autolock lock(gWakeLock);
        gWake.wait_for(lock.native(), std::chrono::seconds(20), [&]() REQUIRES(gWakeLock) {
            gWakeLock.unlock();
            const bool all = allConnected();
            gWakeLock.lock();
            return all;
        });
    }
    int exitCode = 0;
    std::vector<Clock::time_point> sent;
    if (!allConnected()) {
        fprintf(stderr, "dabweb_bench: not every client received the state within 20 s\n");
        exitCode = 1;
    } else {
        // Each level differs from the one before, so that the order can be checked.
        auto next = Clock::now();
        for (int k = 0; k < o.notifications; ++k) {
            std::string out;
            sent.push_back(Clock::now());
            const int status = dabclient::ControlClient::execute(
                    headunit::kSimControlService, "signal " + std::to_string(k % 7 + 1), false, &out);
            if (status != 0) {
                fprintf(stderr, "dabweb_bench: the simulated tuner refused: %s (%d)\n", out.c_str(), status);
                exitCode = 1;
                break;
            }
            next += std::chrono::milliseconds(o.intervalMs);
            std::this_thread::sleep_until(next);
        }
        auto allReceived = [&] {
            for (StreamClient& c : clients) {
                HostMutex::Autolock lock(c.lock);
                if (c.levels.size() < sent.size()) return false;
            }
            return true;
        };
        HostMutex::Autolock lock(gWakeLock);
        gWake.wait_for(lock.native(), std::chrono::seconds(20), [&]() REQUIRES(gWakeLock) {
            gWakeLock.unlock();
            const bool all = allReceived();
            gWakeLock.lock();
            return all;
        });
    }
    gStop.store(true);
    for (std::thread& t : threads) t.join();

    // Levels set before the run may still be in flight at its start: each client's events
    // are matched from the end, the last one being the last level sent.
    std::vector<double> delays;
    int lost = 0;
    int reordered = 0;
    for (StreamClient& c : clients) {
        HostMutex::Autolock lock(c.lock);  // the client threads are joined; keeps the analysis whole
        const size_t got = c.levels.size();
        if (got < sent.size()) {
            lost += static_cast<int>(sent.size() - got);
            continue;
        }
        const size_t offset = got - sent.size();
        for (size_t k = 0; k < sent.size(); ++k) {
            if (c.levels[offset + k] != static_cast<int>(k % 7 + 1)) {
                ++reordered;
                continue;
            }
            delays.push_back(std::chrono::duration<double, std::milli>(c.arrivals[offset + k] - sent[k]).count());
        }
    }
    const double p99 = percentile(delays, 0.99);
    printf("dabweb_bench: clients=%d notifications=%zu events=%zu lost=%d reordered=%d\n", o.clients,
           sent.size(), delays.size(), lost, reordered);
    printf("dabweb_bench: tuner command to event, ms: p50=%.2f p90=%.2f p99=%.2f max=%.2f\n",
           percentile(delays, 0.5), percentile(delays, 0.9), p99, percentile(delays, 1.0));
    if (lost != 0 || reordered != 0) exitCode = 1;
    if (o.maxP99Ms >= 0 && p99 > o.maxP99Ms) {
        printf("dabweb_bench: p99 %.2f ms above the limit of %.0f ms\n", p99, o.maxP99Ms);
        exitCode = 1;
    }
    fflush(stdout);
    _exit(exitCode);
}
