#include "DemoTour.h"

#include "ControlClient.h"
#include "DABServerDefs.h"

#include <dablib/DABLibTypes.h>
#include <headunit/HeadUnitNames.h>

#include <cstdio>
#include <thread>

using namespace android;
using json = nlohmann::json;
using dabclient::Notification;

namespace {

constexpr std::chrono::milliseconds kShort(5000);
constexpr std::chrono::milliseconds kLong(10000);
constexpr std::chrono::milliseconds kPoll(100);  // the head-unit simulator's answers, which it does not announce
// The flat preset index of preset 1 of band 2: three bands of six presets.
constexpr int kBand2Preset1 = 6;
constexpr int kAntennaFault = 1;
constexpr int kAntennaGood = 2;
constexpr int kErrorLevelAntenna = 3;
// "About a second": the reconnection thread's first attempt follows the request at once.
constexpr long kRecreateWithinMs = 1500;
constexpr int kAnyValue = -1000000;

void say(const std::string& text) {
    fputs(text.c_str(), stdout);
    fputc('\n', stdout);
    fflush(stdout);
}

std::string sourceLabel(const json& status, const char* field) {
    const json bar = status.value("infobar", json::object()).value("dab", json::object());
    return bar.value(field, std::string());
}

}  // namespace

DemoTour::DemoTour(const sp<IDABPlayer>& player, NotificationLog* log, DeskCommands* commands)
    : mPlayer(player), mLog(log), mCommands(commands), mSteps(0), mFailures(0), mSeq(0) {}

void DemoTour::showView() {
    catchUp();
    mView.refreshHeadUnit();
    mView.setRecent(mLog->recent(4));
    mView.setResult("");
    for (const std::string& line : mView.render(100, 0)) say("  | " + line);
}

void DemoTour::catchUp() {
    const uint64_t last = mLog->lastSeq();
    if (!mView.catchUp(*mPlayer, *mLog, &mViewSeq)) {
        mViewSeq = last;
        mView.loadRadioFromDump(*mPlayer);
    }
}

std::string DemoTour::expectNotification(uint64_t seq, int id, int ext1, std::chrono::milliseconds timeout,
                                         const char* what) {
    const bool found = mLog->waitFor(
            seq, [id, ext1](const Notification& n) { return n.id == id && (ext1 == kAnyValue || n.ext1 == ext1); },
            timeout, nullptr);
    return found ? std::string() : std::string("no ") + what + " within " +
                                           std::to_string(timeout.count() / 1000) + " s";
}

std::string DemoTour::expectHeadUnit(const std::string& command,
                                     const std::function<bool(const json&)>& holds,
                                     std::chrono::milliseconds timeout, const char* what) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        std::string out;
        if (dabclient::ControlClient::execute(headunit::kControlService, command, true, &out) == 0) {
            const json j = json::parse(out, nullptr, false);
            if (!j.is_discarded() && holds(j)) return std::string();
        }
        if (std::chrono::steady_clock::now() >= deadline) return what;
        std::this_thread::sleep_for(kPoll);
    }
}

void DemoTour::step(const std::string& command, const Check& check) {
    ++mSteps;
    say("== " + std::to_string(mSteps) + ". " + command);
    mSeq = mLog->lastSeq();
    const DeskCommands::Result r = mCommands->run(command);
    if (!r.text.empty()) {
        size_t start = 0;
        while (start <= r.text.size()) {
            const size_t end = r.text.find('\n', start);
            say("   " + r.text.substr(start, end == std::string::npos ? std::string::npos : end - start));
            if (end == std::string::npos) break;
            start = end + 1;
        }
    }
    std::string problem = r.status != 0 ? "the command failed" : std::string();
    if (problem.empty() && check) problem = check();
    if (problem.empty()) {
        say("   ok");
    } else {
        ++mFailures;
        say("   FAILED: " + problem);
    }
}

int DemoTour::run() {
    say("DAB head unit on the desk: demo tour");
    // The run command activated the DAB source; a desk started on its own does it here. The
    // radio is read from one dump, and again only when a notification shows the service alive.
    mViewSeq = mLog->lastSeq();
    mView.loadRadioFromDump(*mPlayer);
    if (!mView.radio().active()) mCommands->run("hu activate dab");
    const auto deadline = std::chrono::steady_clock::now() + kLong;
    while (!mView.radio().active() && std::chrono::steady_clock::now() < deadline) {
        if (!mLog->waitAny(mViewSeq, kShort)) continue;
        mViewSeq = mLog->lastSeq();
        mView.loadRadioFromDump(*mPlayer);
    }
    if (!mView.radio().active()) {
        say("demo: FAILED: the DAB source did not become active");
        return 1;
    }
    // Let the start-up burst (preset lists, first labels) settle before the tour.
    mLog->waitFor(mLog->lastSeq(), [](const Notification& n) {
        return n.id == DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE;
    }, std::chrono::milliseconds(1500), nullptr);
    showView();

    step("seek up", [this] {
        std::string p = expectNotification(mSeq, DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE,
                                           media_lib_dab::EN_DAB_LM_SEEK_UP, kShort, "seek mode");
        if (p.empty()) {
            p = expectNotification(mSeq, DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE, kAnyValue, kLong,
                                   "station found by the seek");
        }
        return p;
    });
    step("step up", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_FREQ_CHANGE, kAnyValue, kShort,
                                  "new channel");
    });
    step("band", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_BAND_CHANGE, 2, kShort, "band 2");
    });
    step("preset 1", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, kBand2Preset1, kShort,
                                  "preset 1 of band 2");
    });
    showView();
    step("list services", nullptr);
    step("search K", nullptr);
    step("play 2", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE, kAnyValue, kShort,
                                  "service label of the chosen service");
    });
    step("hu infobar", [this] {
        // The media manager shows what the radio plays: wait until the bar has the label.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        catchUp();
        const std::string label = dabclient::RadioSnapshot::display(mView.radio().service);
        return expectHeadUnit("infobar",
                              [label](const json& j) {
                                  return sourceLabel(j, "DABServiceLabel") == label ||
                                         sourceLabel(j, "DABLabel") == label;
                              },
                              kShort, ("information bar without \"" + label + "\"").c_str());
    });
    step("ts on", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE, kAnyValue, kShort,
                                  "time-shift status");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    step("ts pause", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE, kAnyValue, kShort,
                                  "paused playback");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    step("ts play", nullptr);
    step("ts live", nullptr);
    step("ts off", nullptr);
    step("sim antenna 3", [this] {
        std::string p = expectNotification(mSeq, DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED,
                                           kAntennaFault, kShort, "antenna fault");
        if (!p.empty()) return p;
        return expectHeadUnit("errors",
                              [](const json& j) {
                                  const json e = j.value("errors", json::array());
                                  return !e.empty() && e.back().value("value", 0) == kErrorLevelAntenna;
                              },
                              kShort, "DABError 3 in the media data history");
    });
    step("hu errors", nullptr);
    step("sim antenna 1", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED, kAntennaGood, kShort,
                                  "antenna back to normal");
    });
    step("hu restart-mm", [this] {
        return expectHeadUnit("sources",
                              [](const json& j) {
                                  int recreated = 0;
                                  for (const json& s : j.value("sources", json::array())) {
                                      const long ms = s.value("createdAfterRestartMs", -1L);
                                      if (ms >= 0 && ms <= kRecreateWithinMs) ++recreated;
                                  }
                                  return recreated == 2;
                              },
                              kShort, "dab and tadab re-created within about a second");
    });
    step("hu sources", nullptr);
    step("hu activate dab", nullptr);
    step("hu suspend", [this] {
        return expectHeadUnit("power",
                              [](const json& j) {
                                  const json m = j.value("modules", json::array());
                                  return !m.empty() && m[0].value("state", std::string()) == "suspended";
                              },
                              kShort, "the service finished its suspend");
    });
    step("hu resume", [this] {
        return expectHeadUnit("power",
                              [](const json& j) {
                                  const json m = j.value("modules", json::array());
                                  return !m.empty() && m[0].value("state", std::string()) == "resumed";
                              },
                              kShort, "the service finished its resume");
    });
    step("preset 2", [this] {
        return expectNotification(mSeq, DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE, kBand2Preset1 + 1,
                                  kShort, "preset 2 of band 2");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    showView();
    if (mFailures == 0) {
        say("demo: all " + std::to_string(mSteps) + " steps passed");
        return 0;
    }
    say("demo: " + std::to_string(mFailures) + " of " + std::to_string(mSteps) + " steps FAILED");
    return 1;
}
