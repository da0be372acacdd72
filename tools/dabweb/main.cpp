// dabweb: the head unit's radio screen in a browser. An application of the DAB player
// service with its own client object, like dabctl: it serves the screen, a JSON API and a
// Server-Sent Events stream of every notification on 127.0.0.1 (port 8417 unless told), and
// drives the simulated tuner's fault controls.
//
//   dabweb [--port N] [--bind ADDR]
#include "EventHub.h"
#include "RadioLink.h"
#include "RadioModel.h"
#include "ToolArgs.h"
#include "WebServer.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

constexpr int kDefaultPort = 8417;
constexpr const char kDefaultAddress[] = "127.0.0.1";

const char kUsageLine[] = "usage: dabweb [--port N] [--bind ADDR]";
const char kUsage[] =
        "usage: dabweb [--port N] [--bind ADDR]\n"
        "\n"
        "Serves the radio screen and its API on http://ADDR:N/ (default 127.0.0.1:8417).\n"
        "  --port N      TCP port, 0 for any free port (the address is printed)\n"
        "  --bind ADDR   listen on ADDR instead of 127.0.0.1 (other machines can then reach it)\n"
        "Exit status: 0 stopped by a signal, 1 cannot listen, 2 usage.\n";

struct Options {
    int port = kDefaultPort;
    std::string address = kDefaultAddress;
};

// The command line, checked in one place: -1 to go on, else the exit status (help shown or
// a usage error reported).
int parseOptions(int argc, char** argv, Options* o) {
    ToolArgs args("dabweb");
    std::string error;
    if (!args.parse(argc, argv, {{"--port", "N"}, {"--bind", "ADDR"}}, &error)) {
        return args.usageError(error, kUsageLine);
    }
    if (args.help()) return ToolArgs::printHelp(kUsage);
    if (!args.positional().empty()) {
        return args.usageError("unexpected argument \"" + args.positional()[0] + "\"", kUsageLine);
    }
    if (!args.intOption("--port", 0, 65535, &o->port, &error)) return args.usageError(error, kUsageLine);
    if (args.has("--bind")) {
        o->address = args.value("--bind");
        if (o->address.empty() || o->address.size() > 255) {
            return args.usageError("--bind needs an address", kUsageLine);
        }
    }
    return -1;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const int parsed = parseOptions(argc, argv, &options);
    if (parsed >= 0) return parsed;

    // The stop signals reach only the wait below; every thread started later inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    // A browser that goes away while its answer is written must not end the process.
    signal(SIGPIPE, SIG_IGN);

    dabweb::EventHub hub;
    dabweb::RadioModel model;
    dabweb::RadioLink link(model, hub);
    dabweb::WebServer server(model, hub, link);
    std::string error;
    int port = options.port;
    if (!server.bind(options.address, &port, &error)) {
        fprintf(stderr, "dabweb: %s\n", error.c_str());
        return ToolArgs::kExitNotRunning;
    }
    link.start();
    std::thread listener([&server] { server.serve(); });
    const bool ipv6 = options.address.find(':') != std::string::npos;
    printf("dabweb: the radio screen is on http://%s%s%s:%d/\n", ipv6 ? "[" : "", options.address.c_str(),
           ipv6 ? "]" : "", port);
    fflush(stdout);

    int signalNumber = 0;
    sigwait(&stopSignals, &signalNumber);
    fprintf(stderr, "dabweb: stopping\n");
    server.stop();
    listener.join();
    link.stop();
    fflush(stdout);
    fflush(stderr);
    // Binder threads may still be running: leave without tearing down what they use.
    _exit(ToolArgs::kExitOk);
}
