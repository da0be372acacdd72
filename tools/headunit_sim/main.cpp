// The head-unit platform simulator: the media manager, the media data service and the system
// control manager that the DAB player service talks to on a head unit, in one process, with
// control commands on standard input and over the "HeadUnitControl" binder service.
//
//   headunit_sim [--resume-delay MS] [--no-auto-resume]
//
// At the end of standard input it keeps serving; it ends on quit, SIGINT, SIGTERM or SIGHUP,
// removing its sockets.
#include "HeadUnitConsole.h"
#include "SimMediaData.h"
#include "SimMediaManager.h"
#include "SimSysCtrl.h"

#include "BinderRuntime.h"
#include "ToolArgs.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <headunit/HeadUnitNames.h>

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

using namespace android;

namespace {

// A module is resumed this long after it attached.
constexpr int kDefaultResumeDelayMs = 200;
// The quit command ends the process this long after it answered.
constexpr int kQuitDelayMs = 100;

constexpr int kMaxResumeDelayMs = 600000;

std::string usageText() {
    return std::string("usage: headunit_sim [--resume-delay MS] [--no-auto-resume]\n\n"
                       "Commands on standard input (also: dabctl hu COMMAND):\n") +
           HeadUnitConsole::helpText();
}

// Reads commands until the end of standard input; the simulator keeps serving after it.
void readCommands(const sp<HeadUnitConsole>& console) {
    const bool interactive = isatty(STDIN_FILENO) != 0;
    std::string line;
    for (;;) {
        if (interactive) {
            fputs("headunit> ", stdout);
            fflush(stdout);
        }
        if (!std::getline(std::cin, line)) return;
        std::string out;
        console->run(line, false, &out);
        if (!out.empty()) {
            fputs(out.c_str(), stdout);
            fputc('\n', stdout);
        }
        fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    int resumeDelayMs = kDefaultResumeDelayMs;
    ToolArgs args("headunit_sim");
    std::string error;
    if (!args.parse(argc, argv, {{"--resume-delay", "MS"}, {"--no-auto-resume", nullptr}}, &error) ||
        !args.intOption("--resume-delay", 0, kMaxResumeDelayMs, &resumeDelayMs, &error)) {
        return args.usageError(error, usageText());
    }
    if (args.help()) return ToolArgs::printHelp(usageText());
    if (!args.positional().empty()) {
        return args.usageError("unexpected argument \"" + args.positional()[0] + "\"", usageText());
    }
    if (args.has("--no-auto-resume")) resumeDelayMs = -1;

    // Every thread inherits the mask: the signals reach only the sigwait below.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    sp<SimMediaManager> mediaManager = new SimMediaManager();
    sp<SimMediaData> mediaData = new SimMediaData();
    sp<SimSysCtrl> sysCtrl = new SimSysCtrl(resumeDelayMs);
    // The quit command's answer goes out before the process ends.
    sp<HeadUnitConsole> console = new HeadUnitConsole(mediaManager, mediaData, sysCtrl, [] {
        std::thread([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(kQuitDelayMs));
            kill(getpid(), SIGTERM);
        }).detach();
    });

    sp<IServiceManager> sm = defaultServiceManager();
    // The control service goes last: once it answers, the whole head unit is up.
    const std::pair<const char*, sp<IBinder>> services[] = {
            {headunit::kMediaManagerService, mediaManager},
            {headunit::kMediaDataService, mediaData},
            {headunit::kSysCtrlService, sysCtrl},
            {headunit::kControlService, console},
    };
    for (const auto& s : services) {
        const status_t err = sm->addService(String16(s.first), s.second, false);
        if (err != NO_ERROR) {
            fprintf(stderr, "headunit_sim: cannot publish %s in %s: %s\n", s.first,
                    BinderRuntime::runtimeDirectory().c_str(),
                    err == ALREADY_EXISTS ? "another head unit runs there" : strerror(-err));
            BinderRuntime::stopListening();
            return 1;
        }
    }
    ProcessState::self()->startThreadPool();
    fprintf(stderr, "headunit_sim: ready in %s\n", BinderRuntime::runtimeDirectory().c_str());

    std::thread(readCommands, console).detach();

    int signal = 0;
    sigwait(&stopSignals, &signal);
    // Pool threads may be inside a call: leave without running destructors under them.
    BinderRuntime::stopListening();
    fflush(stdout);
    _exit(0);
}
