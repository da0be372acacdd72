// dabdesk: the head unit's radio on a terminal. It is an application of the DAB player
// service with its own client object: a live view of the radio (station, labels, dynamic
// text, signal, presets, the information bar the media manager received) and a command
// prompt (seek up, step down, band, preset 2, list services, search A, ts pause, hu ..., sim
// ..., quit).
//
//   dabdesk            live view on a terminal; without one, commands are read line by line
//                      from standard input and answered on standard output
//   dabdesk --demo     a scripted tour that checks the radio's answers; exit 0 when all passed
//   dabdesk --reconnect
//                      when the service goes away, waits for it to come back instead of
//                      leaving with status 1 (live view only)
#include "DeskCommands.h"
#include "DeskView.h"
#include "DemoTour.h"
#include "NotificationLog.h"
#include "PlayerConnection.h"
#include "Terminal.h"
#include "ToolArgs.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

using namespace android;

namespace {

constexpr auto kConnectTimeout = std::chrono::seconds(10);
// The view is redrawn at most this often while notifications arrive; the information bar is
// read from the head unit at least this often. The radio's state comes from one dump of the
// service and then from the notifications; a fresh dump now and then catches what no
// notification tells (a deactivation), without a single query to the service.
constexpr auto kMinRefresh = std::chrono::milliseconds(150);
constexpr auto kMaxRefresh = std::chrono::milliseconds(1000);
constexpr auto kDumpResync = std::chrono::seconds(5);
constexpr int kPollMs = 100;
constexpr const char kPrompt[] = "desk> ";
constexpr auto kReconnectInterval = std::chrono::milliseconds(200);
// Exit status when the service is not running or went away.
constexpr int kExitLost = 1;

int gSignalPipe[2] = {-1, -1};
Terminal* gTerminal = nullptr;  // main thread sets it; the fatal-signal path only restores

void onStopSignal(int) {
    const char c = 's';
    if (write(gSignalPipe[1], &c, 1) < 0) {
        // Nothing to do: a stop is already pending.
    }
}

void onResize(int) {
    const char c = 'w';
    if (write(gSignalPipe[1], &c, 1) < 0) {
    }
}

std::string usageText() {
    return std::string("usage: dabdesk [--demo] [--reconnect]\n\nCommands:\n") +
           DeskCommands::helpText();
}

sp<dabclient::PlayerConnection> connectWithin(std::chrono::seconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string error;
    for (;;) {
        sp<dabclient::PlayerConnection> c = new dabclient::PlayerConnection();
        if (c->connect(&error) == dabclient::PlayerConnection::CONNECTED) return c;
        if (std::chrono::steady_clock::now() >= deadline) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    fprintf(stderr, "dabdesk: %s\n", error.c_str());
    return nullptr;
}

// Connects again once the service is back; null when a stop signal came first.
sp<dabclient::PlayerConnection> reconnectUntilStopped() {
    fprintf(stderr, "dabdesk: waiting for the DAB player service to come back (Ctrl-C leaves)\n");
    std::string error;
    for (;;) {
        sp<dabclient::PlayerConnection> c = new dabclient::PlayerConnection();
        if (c->connect(&error) == dabclient::PlayerConnection::CONNECTED) return c;
        struct pollfd fd = {gSignalPipe[0], POLLIN, 0};
        const int waitMs = static_cast<int>(kReconnectInterval.count());
        if (poll(&fd, 1, waitMs) > 0) {
            char keys[16];
            const ssize_t n = read(gSignalPipe[0], keys, sizeof(keys));
            for (ssize_t i = 0; i < n; ++i) {
                if (keys[i] == 's') return nullptr;
            }
        }
    }
}

// Without a terminal: one command per line, each answer on standard output.
int runLines(DeskCommands& commands, const sp<IDABPlayer>& player, NotificationLog& log) {
    DeskView view;
    std::string line;
    while (std::getline(std::cin, line)) {
        if (line == "view") {
            view.loadRadioFromDump(*player);
            view.refreshHeadUnit();
            view.setRecent(log.recent(4));
            for (const std::string& l : view.render(100, 0)) printf("%s\n", l.c_str());
            fflush(stdout);
            continue;
        }
        const DeskCommands::Result r = commands.run(line);
        if (!r.text.empty()) printf("%s\n", r.text.c_str());
        fflush(stdout);
        if (r.quit) break;
    }
    return 0;
}

int runTerminal(Terminal& terminal, DeskCommands& commands, const sp<IDABPlayer>& player,
                NotificationLog& log, const sp<dabclient::PlayerConnection>& connection) {
    DeskView view;
    view.setResult("Type help for the commands; quit or Ctrl-C leaves.");
    uint64_t seenSeq = log.lastSeq();
    view.loadRadioFromDump(*player);
    auto lastDump = std::chrono::steady_clock::now();
    auto lastRefresh = std::chrono::steady_clock::now() - kMaxRefresh;
    bool redraw = true;
    for (;;) {
        const auto now = std::chrono::steady_clock::now();
        const uint64_t seq = log.lastSeq();
        if ((seq != seenSeq && now - lastRefresh >= kMinRefresh) || now - lastRefresh >= kMaxRefresh) {
            if (now - lastDump >= kDumpResync || !view.catchUp(*player, log, &seenSeq)) {
                // Too many to catch up with, or time for a check: start again from a dump.
                seenSeq = seq;
                view.loadRadioFromDump(*player);
                lastDump = now;
            }
            view.refreshHeadUnit();
            view.setRecent(log.recent(4));
            lastRefresh = now;
            redraw = true;
        }
        if (connection->serviceDied()) {
            terminal.restore();
            fprintf(stderr, "dabdesk: the DAB player service went away\n");
            return kExitLost;
        }
        if (redraw) {
            int width = 80;
            int height = 24;
            terminal.size(&width, &height);
            terminal.draw(view.render(width, height - 1), kPrompt);
            redraw = false;
        }
        struct pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {gSignalPipe[0], POLLIN, 0}};
        if (poll(fds, 2, kPollMs) <= 0) continue;
        if (fds[1].revents & POLLIN) {
            char c[16];
            const ssize_t n = read(gSignalPipe[0], c, sizeof(c));
            for (ssize_t i = 0; i < n; ++i) {
                if (c[i] == 's') return 0;
            }
            redraw = true;
        }
        if (fds[0].revents & (POLLIN | POLLHUP)) {
            std::vector<std::string> lines;
            bool eof = false;
            terminal.readKeys(&lines, &eof);
            if (eof) return 0;
            for (const std::string& line : lines) {
                // Paging stays in the view: the result on screen is not run again.
                if (line == "more" || line == "back") {
                    if (line == "more") view.nextResultPage();
                    else view.previousResultPage();
                    continue;
                }
                view.setResult("desk> " + line + "\n" + DeskCommands::helpText());
                const DeskCommands::Result r = commands.run(line);
                if (r.quit) return 0;
                view.setResult("desk> " + line + "\n" + r.text);
                lastRefresh = std::chrono::steady_clock::now() - kMaxRefresh;
            }
            redraw = true;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    ToolArgs args("dabdesk");
    std::string error;
    if (!args.parse(argc, argv, {{"--demo", nullptr}, {"--reconnect", nullptr}}, &error)) {
        return args.usageError(error, usageText());
    }
    if (args.help()) return ToolArgs::printHelp(usageText());
    if (!args.positional().empty()) {
        return args.usageError("unexpected argument \"" + args.positional()[0] + "\"", usageText());
    }
    const bool demo = args.has("--demo");
    const bool reconnect = args.has("--reconnect");
    if (pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return 1;
    struct sigaction stop = {};
    stop.sa_handler = onStopSignal;
    sigaction(SIGINT, &stop, nullptr);
    sigaction(SIGTERM, &stop, nullptr);
    sigaction(SIGHUP, &stop, nullptr);
    struct sigaction resize = {};
    resize.sa_handler = onResize;
    resize.sa_flags = SA_RESTART;
    sigaction(SIGWINCH, &resize, nullptr);

    sp<dabclient::PlayerConnection> connection = connectWithin(kConnectTimeout);
    if (connection == nullptr) return kExitLost;
    NotificationLog log;
    connection->sink()->setHandler([&log](const dabclient::Notification& n) { log.add(n); });
    sp<IDABPlayer> player = connection->player();
    auto commands = std::make_unique<DeskCommands>(player, &log);

    int code = 0;
    Terminal terminal;
    if (demo || !terminal.open()) {
        // Nothing on this path waits for the service: its death ends the process at once.
        connection->setOnDeath([] {
            fprintf(stderr, "dabdesk: the DAB player service went away\n");
            fflush(nullptr);
            _exit(kExitLost);
        });
        if (demo) {
            DemoTour tour(player, &log, commands.get());
            code = tour.run();
        } else {
            code = runLines(*commands, player, log);
        }
    } else {
        gTerminal = &terminal;
        for (;;) {
            code = runTerminal(terminal, *commands, player, log, connection);
            terminal.restore();
            if (code != kExitLost || !reconnect) break;
            connection->sink()->setHandler(nullptr);
            connection = reconnectUntilStopped();
            if (connection == nullptr) {
                code = 0;
                break;
            }
            connection->sink()->setHandler([&log](const dabclient::Notification& n) { log.add(n); });
            player = connection->player();
            commands = std::make_unique<DeskCommands>(player, &log);
            if (!terminal.open()) break;
        }
    }
    if (connection != nullptr) connection->sink()->setHandler(nullptr);
    fflush(stdout);
    // Binder threads may still be running: leave without tearing down what they use.
    _exit(code);
}
