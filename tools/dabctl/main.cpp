// dabctl: an ordinary application of the DAB player service, for shells and scripts. It gets
// its own client object from "DABPlayer", calls any of the player's operations, prints the
// result and every output, watches notifications, and drives the head-unit simulator and the
// simulated tuner.
#include "ControlClient.h"
#include "NotifyNames.h"
#include "PlayerConnection.h"
#include "PlayerOperations.h"
#include "RadioSnapshot.h"

#include <headunit/HeadUnitNames.h>
#include <nlohmann/json.hpp>

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using namespace dabclient;
using json = nlohmann::ordered_json;

namespace {

enum ExitCode {
    kExitOk = 0,
    kExitNoService = 1,
    kExitUsage = 2,
    kExitRefused = 3,
};

constexpr int kDefaultWaitActiveSeconds = 10;
constexpr auto kPollInterval = std::chrono::milliseconds(100);

bool gJson = false;  // main thread sets it before any other thread runs

const char kUsage[] =
        "usage: dabctl [--json] COMMAND [ARGS...]\n"
        "\n"
        "Commands:\n"
        "  status                        one-screen snapshot of the radio\n"
        "  watch [--count N] [--seconds S]\n"
        "                                print every notification as it arrives, until\n"
        "                                interrupted (or N notifications, or S seconds)\n"
        "  wait-active [SECONDS]         wait until the service answers as an active source\n"
        "                                (default 10 s)\n"
        "  ops                           list the player operations and their arguments\n"
        "  hu COMMAND [ARGS...]          drive the head-unit simulator; \"dabctl hu help\"\n"
        "                                lists its commands (activate dab, infobar, suspend,\n"
        "                                resume, restart-mm, errors, ...)\n"
        "  sim COMMAND [ARGS...]         drive the simulated tuner: antenna N, error N,\n"
        "                                signal N, connect N, dls TEXT, droplist,\n"
        "                                unresponsive on|off, status\n"
        "  OPERATION [ARGS...]           call one player operation, for example manualUp,\n"
        "                                recall 2, getServiceLabel, getPresetListItem 1 0\n"
        "\n"
        "--json prints one JSON object per line.\n"
        "Exit status: 0 done (an operation's own result is printed), 1 service not running or\n"
        "lost, 2 usage, 3 refused by the head-unit simulator or the simulated tuner.\n";

// The whole command list for a command line that names nothing known; one line for a known
// command used wrongly.
int usage(const std::string& problem, bool full = false) {
    if (!problem.empty()) fprintf(stderr, "dabctl: %s\n", problem.c_str());
    if (full || problem.empty()) {
        fputs(kUsage, stderr);
    } else {
        fputs("(dabctl help lists every command)\n", stderr);
    }
    return kExitUsage;
}

// A decimal int with an optional sign; false for anything else.
bool parseInt(const char* text, int* out) {
    if (text == nullptr || *text == '\0') return false;
    errno = 0;
    char* end = nullptr;
    const long v = strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || v < INT_MIN || v > INT_MAX || end == text) return false;
    // strtol also skips leading blanks; a value is digits only.
    const char* p = text;
    if (*p == '-' || *p == '+') ++p;
    for (; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9') return false;
    }
    *out = static_cast<int>(v);
    return true;
}

std::string dump(const json& j) { return j.dump(-1, ' ', false, json::error_handler_t::replace); }

std::string timeOfDay() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm local;
    localtime_r(&tv.tv_sec, &local);
    char buf[32];
    snprintf(buf, sizeof(buf), "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
             static_cast<int>(tv.tv_usec / 1000));
    return buf;
}

// Prints whole lines from any thread.
std::mutex gPrintLock;
void printLine(const std::string& line) {
    std::lock_guard<std::mutex> lock(gPrintLock);
    fputs(line.c_str(), stdout);
    fputc('\n', stdout);
    fflush(stdout);
}

int serviceLost() {
    fprintf(stderr, "dabctl: the DAB player service went away during the call\n");
    return kExitNoService;
}

sp<PlayerConnection> connectOrExplain(int* exitCode) {
    sp<PlayerConnection> connection = new PlayerConnection();
    std::string error;
    if (connection->connect(&error) != PlayerConnection::CONNECTED) {
        fprintf(stderr, "dabctl: %s\n", error.c_str());
        *exitCode = kExitNoService;
        return nullptr;
    }
    return connection;
}

std::string outputText(const OpOutput& o) {
    switch (o.kind) {
        case OpOutput::kInt: return o.name + "=" + std::to_string(o.value);
        case OpOutput::kField: return o.name + "=\"" + o.field + "\"";
        case OpOutput::kText:
            if (o.text.converted) return o.name + "=\"" + o.text.utf8 + "\"";
            return o.name + "=<" + o.text.hex + "> (not converted)";
    }
    return o.name;
}

void addOutputJson(json* j, const OpOutput& o) {
    switch (o.kind) {
        case OpOutput::kInt: (*j)[o.name] = o.value; break;
        case OpOutput::kField: (*j)[o.name] = o.field; break;
        case OpOutput::kText:
            if (o.text.converted) {
                (*j)[o.name] = o.text.utf8;
            } else {
                (*j)[o.name] = nullptr;
                (*j)[o.name + "Hex"] = o.text.hex;
            }
            break;
    }
}

int runOperation(const PlayerOperation& op, const std::vector<std::string>& args) {
    if (args.size() != op.args.size()) {
        std::string form = std::string("usage: dabctl ") + op.name;
        for (const char* a : op.args) {
            form += " ";
            for (const char* c = a; *c != '\0'; ++c) form += static_cast<char>(toupper(*c));
        }
        return usage(form);
    }
    std::vector<int> values;
    for (size_t i = 0; i < args.size(); ++i) {
        int v = 0;
        if (!parseInt(args[i].c_str(), &v)) {
            return usage(std::string(op.name) + ": " + op.args[i] + " \"" + args[i] +
                         "\" is not a number");
        }
        values.push_back(v);
    }
    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    const OpResult r = op.call(*connection->player(), values);
    if (isTransportError(r.result)) return serviceLost();
    if (gJson) {
        json j = {{"op", op.name}};
        json a = json::object();
        for (size_t i = 0; i < values.size(); ++i) a[op.args[i]] = values[i];
        j["args"] = a;
        j["result"] = r.result;
        for (const OpOutput& o : r.outputs) addOutputJson(&j, o);
        printLine(dump(j));
    } else {
        std::string line = std::string(op.name) + ": " + std::to_string(r.result);
        for (const OpOutput& o : r.outputs) line += "  " + outputText(o);
        printLine(line);
    }
    return kExitOk;
}

int runStatus(const std::vector<std::string>& args) {
    if (!args.empty()) return usage("usage: dabctl status");
    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    const RadioSnapshot s = RadioSnapshot::take(*connection->player());
    if (s.transportFailed) return serviceLost();
    printLine(gJson ? dump(s.toJson()) : s.text());
    return kExitOk;
}

void printNotification(const Notification& n) {
    const char* name = notifyName(n.id);
    if (gJson) {
        json j = {{"time", timeOfDay()},
                  {"id", n.id},
                  {"name", name != nullptr ? json(name) : json(nullptr)},
                  {"ext1", n.ext1},
                  {"ext2", n.ext2}};
        j["text"] = n.hasParcel ? json(n.text) : json(nullptr);
        printLine(dump(j));
        return;
    }
    std::string line = timeOfDay() + "  " + (name != nullptr ? name : "UNKNOWN") + " (" +
                       std::to_string(n.id) + ")  ext1=" + std::to_string(n.ext1) +
                       "  ext2=" + std::to_string(n.ext2);
    if (n.hasParcel) line += "  text=\"" + n.text + "\"";
    printLine(line);
}

int runWatch(const std::vector<std::string>& args) {
    int count = -1;
    int seconds = -1;
    for (size_t i = 0; i < args.size(); ++i) {
        int* target = args[i] == "--count" ? &count : args[i] == "--seconds" ? &seconds : nullptr;
        if (target == nullptr || i + 1 >= args.size() || !parseInt(args[i + 1].c_str(), target) ||
            *target < 0) {
            return usage("usage: dabctl watch [--count N] [--seconds S]");
        }
        ++i;
    }
    // The signals reach only the wait below; every thread started later inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    std::atomic<int> received(0);
    connection->sink()->setHandler([&received, count](const Notification& n) {
        // Lines past the count are not printed: the caller asked for exactly N.
        const int seq = ++received;
        if (count < 0 || seq <= count) printNotification(n);
    });
    if (!gJson) fprintf(stderr, "dabctl: watching notifications; Ctrl-C ends\n");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (;;) {
        if (count >= 0 && received.load() >= count) break;
        if (seconds >= 0 && std::chrono::steady_clock::now() >= deadline) break;
        if (connection->serviceDied()) {
            fprintf(stderr, "dabctl: the DAB player service went away\n");
            exitCode = kExitNoService;
            break;
        }
        struct timespec wait = {0, static_cast<long>(
                                           std::chrono::nanoseconds(kPollInterval).count())};
        if (sigtimedwait(&stopSignals, nullptr, &wait) > 0) break;
    }
    connection->sink()->setHandler(nullptr);
    return exitCode;
}

int runWaitActive(const std::vector<std::string>& args) {
    int seconds = kDefaultWaitActiveSeconds;
    if (args.size() > 1 || (args.size() == 1 && (!parseInt(args[0].c_str(), &seconds) || seconds < 0))) {
        return usage("usage: dabctl wait-active [SECONDS]");
    }
    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (;;) {
        int band = 0;
        const int r = connection->player()->getBand(&band);
        if (isTransportError(r)) return serviceLost();
        if (r == 0) {
            printLine(gJson ? dump(json{{"active", true}, {"band", band}}) : "active, band " + std::to_string(band));
            return kExitOk;
        }
        if (std::chrono::steady_clock::now() >= deadline) break;
        std::this_thread::sleep_for(kPollInterval);
    }
    fprintf(stderr, "dabctl: the DAB player service is not active after %d s\n", seconds);
    return kExitNoService;
}

int runOps(const std::vector<std::string>& args) {
    if (!args.empty()) return usage("usage: dabctl ops");
    int n = 0;
    for (const PlayerOperation& op : playerOperations()) {
        ++n;
        if (gJson) {
            json a = json::array();
            for (const char* arg : op.args) a.push_back(arg);
            printLine(dump(json{{"slot", n}, {"op", op.name}, {"args", a}}));
        } else {
            std::string line = std::to_string(n) + "\t" + op.name;
            for (const char* arg : op.args) line += std::string(" ") + arg;
            printLine(line);
        }
    }
    return kExitOk;
}

int runControl(const char* service, const char* what, const char* subcommand,
               const std::vector<std::string>& args) {
    if (args.empty()) {
        return usage(std::string("usage: dabctl ") + subcommand + " COMMAND [ARGS...]");
    }
    std::string line;
    for (const std::string& a : args) line += (line.empty() ? "" : " ") + a;
    std::string output;
    const int status = ControlClient::execute(service, line, gJson, &output);
    if (status == ControlClient::NOT_RUNNING) {
        fprintf(stderr, "dabctl: %s (\"%s\") is not running\n", what, service);
        return kExitNoService;
    }
    if (status == ControlClient::LOST) {
        fprintf(stderr, "dabctl: %s went away during the call\n", what);
        return kExitNoService;
    }
    if (!output.empty()) {
        if (status != 0 && !gJson) {
            fprintf(stderr, "dabctl: %s\n", output.c_str());
        } else {
            printLine(output);
        }
    }
    return status == 0 ? kExitOk : kExitRefused;
}

}  // namespace

int main(int argc, char** argv) {
    int i = 1;
    for (; i < argc && argv[i][0] == '-' && argv[i][1] == '-'; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            gJson = true;
        } else if (strcmp(argv[i], "--help") == 0) {
            fputs(kUsage, stdout);
            return kExitOk;
        } else {
            return usage(std::string("unknown option \"") + argv[i] + "\"", true);
        }
    }
    if (i >= argc) return usage("");
    const std::string command = argv[i];
    const std::vector<std::string> args(argv + i + 1, argv + argc);

    int code = kExitUsage;
    if (command == "status") {
        code = runStatus(args);
    } else if (command == "watch") {
        code = runWatch(args);
    } else if (command == "wait-active") {
        code = runWaitActive(args);
    } else if (command == "ops") {
        code = runOps(args);
    } else if (command == "help") {
        fputs(kUsage, stdout);
        code = kExitOk;
    } else if (command == "hu") {
        code = runControl(headunit::kControlService, "the head-unit simulator", "hu", args);
    } else if (command == "sim") {
        code = runControl(headunit::kSimControlService, "the simulated tuner control", "sim", args);
    } else if (const PlayerOperation* op = findOperation(command)) {
        code = runOperation(*op, args);
    } else {
        code = usage("unknown command \"" + command + "\"", true);
    }
    fflush(stdout);
    fflush(stderr);
    // Binder threads may still be running: leave without tearing down what they use.
    _exit(code);
}
