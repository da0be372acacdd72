// dabctl: an ordinary application of the DAB player service, for shells and scripts. It gets
// its own client object from "DABPlayer", calls any of the player's operations, prints the
// result and every output, watches notifications, and drives the head-unit simulator and the
// simulated tuner.
#include "ControlClient.h"
#include "HostMutex.h"
#include "ListFetcher.h"
#include "NotifyNames.h"
#include "PlayerConnection.h"
#include "PlayerOperations.h"
#include "RadioSnapshot.h"
#include "ServiceDump.h"
#include "ToolArgs.h"
#include "WallClock.h"

#include <headunit/HeadUnitNames.h>
#include <nlohmann/json.hpp>

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using namespace dabclient;
using json = nlohmann::ordered_json;

namespace {

constexpr int kExitOk = ToolArgs::kExitOk;
constexpr int kExitNoService = ToolArgs::kExitNotRunning;
constexpr int kExitUsage = ToolArgs::kExitUsage;
constexpr int kExitRefused = 3;  // the head-unit simulator or the simulated tuner said no

constexpr int kDefaultWaitActiveSeconds = 10;
constexpr auto kPollInterval = std::chrono::milliseconds(100);

bool gJson = false;  // main thread sets it before any other thread runs

const char kUsage[] =
        "usage: dabctl [--json] COMMAND [ARGS...]   (options may come anywhere)\n"
        "\n"
        "Commands:\n"
        "  status                        one-screen snapshot of the radio\n"
        "  watch [--count N] [--seconds S]\n"
        "                                print every notification as it arrives, until\n"
        "                                interrupted (or N notifications, or S seconds)\n"
        "  wait-active [SECONDS]         wait until the service answers as an active source\n"
        "                                (default 10 s)\n"
        "  ops                           list the player operations and their arguments\n"
        "  dump [SECTION...]             the service's state dump (all sections, or those\n"
        "                                named; an unknown name lists the known ones)\n"
        "  list KIND [ARG]               a whole list, one row per entry: service,\n"
        "                                pty-popular, pty-classics, pty-newsinfo, pty-others,\n"
        "                                ensemble, ensemble-comp INDEX, preset BAND\n"
        "  hu COMMAND [ARGS...]          drive the head-unit simulator; \"dabctl hu help\"\n"
        "                                lists its commands (activate dab, infobar, suspend,\n"
        "                                resume, restart-mm, errors, ...)\n"
        "  sim COMMAND [ARGS...]         drive the simulated tuner: antenna N, error N,\n"
        "                                signal N, connect N, dls TEXT, droplist,\n"
        "                                unresponsive on|off, status\n"
        "  OPERATION [ARGS...]           call one player operation, for example manualUp,\n"
        "                                recall 2, getServiceLabel, getPresetListItem 1 0\n"
        "\n"
        "--json prints one JSON object per line; COMMAND --help shows one command's form.\n"
        "Exit status: 0 done (an operation's own result is printed), 1 service not running or\n"
        "lost, 2 usage, 3 refused by the head-unit simulator or the simulated tuner.\n";

ToolArgs gArgs("dabctl");  // main thread only

// The whole command list for a command line that names nothing known; the command's form for
// a known command used wrongly.
int usage(const std::string& problem, bool full = false) {
    if (problem.empty()) {
        fputs(kUsage, stderr);
        return kExitUsage;
    }
    return gArgs.usageError(problem, full ? kUsage : "(dabctl --help lists every command)");
}

std::string dump(const json& j) { return j.dump(-1, ' ', false, json::error_handler_t::replace); }

// Prints whole lines from any thread.
HostMutex gPrintLock;
void printLine(const std::string& line) {
    HostMutex::Autolock lock(gPrintLock);
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

std::string operationForm(const PlayerOperation& op) {
    std::string form = std::string("usage: dabctl ") + op.name;
    for (const char* a : op.args) {
        form += " ";
        for (const char* c = a; *c != '\0'; ++c) form += static_cast<char>(toupper(*c));
    }
    return form;
}

int runOperation(const PlayerOperation& op, const std::vector<std::string>& args) {
    const std::string form = operationForm(op);
    if (args.size() != op.args.size()) {
        return gArgs.usageError(std::string(op.name) + " takes " + std::to_string(op.args.size()) +
                                        " argument(s)", form);
    }
    std::vector<int> values;
    std::string error;
    for (size_t i = 0; i < args.size(); ++i) {
        int v = 0;
        if (!ToolArgs::parseInt(args[i], INT_MIN, INT_MAX, std::string(op.name) + ": " + op.args[i],
                                &v, &error)) {
            return gArgs.usageError(error, form);
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

constexpr const char kStatusForm[] = "usage: dabctl status";
constexpr const char kWatchForm[] = "usage: dabctl watch [--count N] [--seconds S]";
constexpr const char kWaitActiveForm[] = "usage: dabctl wait-active [SECONDS]";
constexpr const char kOpsForm[] = "usage: dabctl ops";
constexpr const char kDumpForm[] = "usage: dabctl dump [SECTION...]";
constexpr const char kListForm[] =
        "usage: dabctl list service|pty-popular|pty-classics|pty-newsinfo|pty-others|ensemble|"
        "ensemble-comp INDEX|preset BAND";
constexpr const char kHuForm[] =
        "usage: dabctl hu COMMAND [ARGS...]   (dabctl hu help lists the commands)";
constexpr const char kSimForm[] =
        "usage: dabctl sim COMMAND [ARGS...]   (dabctl sim help lists the commands)";

int runStatus(const std::vector<std::string>& args) {
    if (!args.empty()) return gArgs.usageError("status takes no arguments", kStatusForm);
    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    // One dump and the six presets instead of every query: the status costs the service no
    // log line beyond the preset reads.
    const RadioSnapshot s = RadioSnapshot::fromDump(*connection->player());
    if (s.transportFailed) return serviceLost();
    printLine(gJson ? dump(s.toJson()) : s.text());
    return kExitOk;
}

void printNotification(const Notification& n) {
    const char* name = notifyName(n.id);
    if (gJson) {
        json j = {{"time", wallClockText()},
                  {"id", n.id},
                  {"name", name != nullptr ? json(name) : json(nullptr)},
                  {"ext1", n.ext1},
                  {"ext2", n.ext2}};
        j["text"] = n.hasParcel ? json(n.text) : json(nullptr);
        printLine(dump(j));
        return;
    }
    std::string line = wallClockText() + "  " + (name != nullptr ? name : "UNKNOWN") + " (" +
                       std::to_string(n.id) + ")  ext1=" + std::to_string(n.ext1) +
                       "  ext2=" + std::to_string(n.ext2);
    if (n.hasParcel) line += "  text=\"" + n.text + "\"";
    printLine(line);
}

int runWatch(const std::vector<std::string>& args) {
    int count = -1;
    int seconds = -1;
    std::string error;
    if (!args.empty()) return gArgs.usageError("watch takes only options", kWatchForm);
    if (!gArgs.intOption("--count", 0, 1000000, &count, &error) ||
        !gArgs.intOption("--seconds", 0, 86400, &seconds, &error)) {
        return gArgs.usageError(error, kWatchForm);
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
    std::string error;
    if (args.size() > 1) return gArgs.usageError("wait-active takes one argument", kWaitActiveForm);
    if (args.size() == 1 && !ToolArgs::parseInt(args[0], 0, 3600, "SECONDS", &seconds, &error)) {
        return gArgs.usageError(error, kWaitActiveForm);
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
    if (!args.empty()) return gArgs.usageError("ops takes no arguments", kOpsForm);
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

int runDump(const std::vector<std::string>& args) {
    std::vector<std::string> dumpArgs = args;
    if (gJson) dumpArgs.push_back("--json");
    std::string output;
    const int status = ServiceDump::take(dumpArgs, &output);
    if (status == ServiceDump::NO_SERVICE) {
        fprintf(stderr, "dabctl: %s\n", output.c_str());
        return kExitNoService;
    }
    if (status == ServiceDump::REFUSED) {
        // The service names the known sections in its answer.
        fprintf(stderr, "dabctl: %s", output.c_str());
        return output.compare(0, 17, "Permission Denial") == 0 ? kExitNoService : kExitUsage;
    }
    fputs(output.c_str(), stdout);
    return kExitOk;
}

int runList(const std::vector<std::string>& args) {
    ListKind kind = ListKind::kService;
    bool needsArg = false;
    if (args.empty()) return gArgs.usageError("list needs a kind", kListForm);
    if (!ListFetcher::parseKind(args[0], &kind, &needsArg)) {
        return gArgs.usageError("unknown list \"" + args[0] + "\"", kListForm);
    }
    if (args.size() != (needsArg ? 2u : 1u)) {
        return gArgs.usageError("list " + args[0] + (needsArg ? " takes one argument" : " takes no argument"),
                                kListForm);
    }
    int arg = 0;
    std::string error;
    if (needsArg && !ToolArgs::parseInt(args[1], kind == ListKind::kPreset ? 1 : 0,
                                        kind == ListKind::kPreset ? 3 : 254,
                                        kind == ListKind::kPreset ? "BAND" : "INDEX", &arg, &error)) {
        return gArgs.usageError(error, kListForm);
    }
    int exitCode = kExitOk;
    sp<PlayerConnection> connection = connectOrExplain(&exitCode);
    if (connection == nullptr) return exitCode;
    ListFetcher fetcher(connection);
    std::vector<ListRow> rows;
    const bool tty = isatty(STDERR_FILENO) != 0;
    const int r = fetcher.fetch(kind, arg, &rows,
                                [tty](int received, int size) {
                                    fprintf(stderr, tty ? "\r%d / %d items" : "%d / %d items\n",
                                            received, size);
                                    if (tty && received == size) fputc('\n', stderr);
                                },
                                &error);
    if (r != ListFetcher::OK) {
        fprintf(stderr, "dabctl: %s\n", error.c_str());
        return kExitNoService;
    }
    for (const ListRow& row : rows) {
        if (gJson) {
            json j = {{"index", row.index}};
            if (row.result != 0) {
                j["label"] = nullptr;
                j["noData"] = true;
            } else if (row.label.converted) {
                j["label"] = row.label.utf8;
            } else {
                j["label"] = nullptr;
                j["labelHex"] = row.label.hex;
            }
            j["code"] = row.code;
            if (kind == ListKind::kPreset) j["stationLabel"] = row.labelAvail == 1;
            printLine(dump(j));
            continue;
        }
        std::string line = std::to_string(row.index) + "\t";
        if (row.result != 0) {
            line += "(no label)";
        } else if (row.label.converted) {
            line += row.label.utf8;
        } else {
            line += "<" + row.label.hex + "> (label not convertible)";
        }
        if (kind == ListKind::kPreset && row.result == 0 && row.labelAvail == 0) {
            line += "  (no station label: frequency or channel)";
        }
        printLine(line);
    }
    return kExitOk;
}

int runControl(const char* service, const char* what, const char* form,
               const std::vector<std::string>& args) {
    if (args.empty()) return gArgs.usageError("a command is missing", form);
    std::string line;
    for (const std::string& a : args) line += (line.empty() ? "" : " ") + a;
    std::string output;
    const int status = ControlClient::execute(service, line, gJson, &output);
    if (status == ControlClient::NOT_RUNNING) {
        fprintf(stderr, "dabctl: %s\n", ToolArgs::notRunning(what, service).c_str());
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
    if (status == headunit::kCommandUsage) return kExitUsage;
    return status == 0 ? kExitOk : kExitRefused;
}

}  // namespace

int main(int argc, char** argv) {
    ToolArgs& args = gArgs;
    std::string error;
    if (!args.parse(argc, argv,
                    {{"--json", nullptr}, {"--count", "N"}, {"--seconds", "S"}}, &error)) {
        return usage(error);
    }
    gJson = args.has("--json");
    const std::vector<std::string>& words = args.positional();
    if (words.empty()) return args.help() ? ToolArgs::printHelp(kUsage) : usage("", true);
    const std::string command = words[0];
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (command != "watch" && (args.has("--count") || args.has("--seconds"))) {
        return usage("--count and --seconds belong to watch");
    }

    // "COMMAND --help" shows the command's form; for hu and sim, their own command list.
    const PlayerOperation* op = findOperation(command);
    const char* form = command == "status" ? kStatusForm
                       : command == "watch" ? kWatchForm
                       : command == "wait-active" ? kWaitActiveForm
                       : command == "ops" ? kOpsForm
                       : command == "dump" ? kDumpForm
                       : command == "list" ? kListForm
                       : command == "hu" ? kHuForm
                       : command == "sim" ? kSimForm
                       : command == "help" ? kUsage
                       : nullptr;
    if (form == nullptr && op == nullptr) {
        return usage("unknown command \"" + command + "\"", true);
    }
    const bool forwardHelp = (command == "hu" || command == "sim") && args.help();
    if (args.help() && !forwardHelp) {
        return ToolArgs::printHelp(form != nullptr ? std::string(form) : operationForm(*op));
    }

    int code = kExitUsage;
    if (command == "status") {
        code = runStatus(rest);
    } else if (command == "watch") {
        code = runWatch(rest);
    } else if (command == "wait-active") {
        code = runWaitActive(rest);
    } else if (command == "ops") {
        code = runOps(rest);
    } else if (command == "dump") {
        code = runDump(rest);
    } else if (command == "list") {
        code = runList(rest);
    } else if (command == "help") {
        code = ToolArgs::printHelp(kUsage);
    } else if (command == "hu" || command == "sim") {
        const std::vector<std::string> line = forwardHelp ? std::vector<std::string>{"help"} : rest;
        code = command == "hu"
                       ? runControl(headunit::kControlService, "the head-unit simulator", kHuForm, line)
                       : runControl(headunit::kSimControlService, "the simulated tuner control",
                                    kSimForm, line);
    } else {
        code = runOperation(*op, rest);
    }
    fflush(stdout);
    fflush(stderr);
    // Binder threads may still be running: leave without tearing down what they use.
    _exit(code);
}
