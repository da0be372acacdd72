// The head unit on the desk as separate processes: the head-unit simulator, the player service
// with the simulated tuner, and dabctl as an ordinary application. Covers start-up against
// the simulator, calls and notifications across processes, the media manager's restart, a
// killed application, many applications at once, and dabctl's own contract (usage errors,
// missing service).
#include "HeadUnitProcessFixture.h"

#include <nlohmann/json.hpp>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

using namespace std::chrono_literals;
using json = nlohmann::json;

namespace {

std::vector<json> jsonLines(const std::string& text) {
    std::vector<json> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        json j = json::parse(line, nullptr, false);
        if (!j.is_discarded()) out.push_back(j);
    }
    return out;
}

// Notification ids as clients receive them.
constexpr int kFreqChange = 2;
constexpr int kServiceLabelChange = 9;
constexpr int kAntennaStatusChanged = 45;

}  // namespace

TEST_F(HeadUnitProcessTest, ServiceWithoutMediaManagerExitsWithStatusOne) {
    const pid_t service = spawn("dabplayer_service", {}, "service");
    EXPECT_EQ(1, waitExit(service, 10s));
    const std::string log = readFile("service.err");
    EXPECT_EQ(1, countOf(log, "[0x20300001][in main Source::create failed!]")) << log;
    EXPECT_EQ(0, countOf(log, "DABPlayerService construct"));
    // Nothing was published, and the control socket it opened is gone with it.
    EXPECT_NE(0, access((dir() + "/DABPlayer.sock").c_str(), F_OK));
    EXPECT_NE(0, access((dir() + "/DABSimControl.sock").c_str(), F_OK));
}

TEST_F(HeadUnitProcessTest, StartupRegistersBothSourcesThenStatusSeekAndWatchRoundTrip) {
    startHeadUnit();
    const json sources = json::parse(dabctl({"--json", "hu", "sources"}).out)["sources"];
    ASSERT_EQ(2u, sources.size()) << sources.dump();
    EXPECT_EQ("dab", sources[0]["name"]);
    EXPECT_TRUE(sources[0]["active"].get<bool>());
    EXPECT_EQ("tadab", sources[1]["name"]);
    for (const json& s : sources) EXPECT_EQ(12, s["registerCode"].get<int>()) << s.dump();
    const std::string started = readFile("service.err");
    EXPECT_EQ(1, countOf(started, "DABSource main: registerSource result = 0, data length = 4"));
    EXPECT_EQ(1, countOf(started, "DABSource main: registerSource ta result = 0, data length = 4"));

    const Run status = dabctl({"--json", "status"});
    ASSERT_EQ(0, status.status) << status.err;
    const json s = json::parse(status.out);
    EXPECT_TRUE(s["active"].get<bool>());
    EXPECT_EQ(1, s["band"].get<int>());
    ASSERT_TRUE(s["serviceLabel"].is_string()) << status.out;
    const std::string before = s["serviceLabel"];

    const int clients = countOf(readFile("service.err"), "DABPlayer construct");
    const pid_t watcher = spawn("tools/dabctl/dabctl", {"--json", "watch"}, "watch");
    ASSERT_TRUE(waitUntil(
            [&] { return countOf(readFile("service.err"), "DABPlayer construct") > clients; }, 10s));
    const Run seek = dabctl({"presetSeekUp"});
    EXPECT_EQ(0, seek.status);
    EXPECT_EQ("presetSeekUp: 0\n", seek.out);

    ASSERT_TRUE(waitUntil(
            [this] {
                for (const json& n : jsonLines(readFile("watch.out"))) {
                    if (n["id"] == kServiceLabelChange) return true;
                }
                return false;
            },
            15s))
            << readFile("watch.out");
    kill(watcher, SIGINT);
    EXPECT_EQ(0, waitExit(watcher, 5s));
    // The seek steps through channels (frequency changes) before it reports the station.
    int firstStepAt = -1;
    int labelAt = -1;
    std::string label;
    const std::vector<json> notes = jsonLines(readFile("watch.out"));
    for (size_t i = 0; i < notes.size(); ++i) {
        const json& n = notes[i];
        EXPECT_TRUE(n["name"].is_string()) << n.dump();
        if (n["id"] == kFreqChange && firstStepAt < 0) firstStepAt = static_cast<int>(i);
        if (n["id"] == kServiceLabelChange && labelAt < 0) {
            labelAt = static_cast<int>(i);
            label = n["text"];
        }
    }
    ASSERT_GE(firstStepAt, 0) << readFile("watch.out");
    EXPECT_LT(firstStepAt, labelAt);
    EXPECT_EQ("DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE", notes[static_cast<size_t>(labelAt)]["name"]);
    EXPECT_NE(before, label);
    // The label the notification carried is the one the client reads back.
    const Run read = dabctl({"getServiceLabel"});
    EXPECT_EQ("getServiceLabel: 0  label=\"" + label + "\"", read.out.substr(0, read.out.find("  code")));
}

TEST_F(HeadUnitProcessTest, MediaManagerRestartOrDeathMakesBothSourcesReconnect) {
    startHeadUnit();
    const Run restart = dabctl({"hu", "restart-mm"});
    ASSERT_EQ(0, restart.status);
    json sources;
    ASSERT_TRUE(waitUntil(
            [&] {
                sources = json::parse(dabctl({"--json", "hu", "sources"}).out);
                int registered = 0;
                for (const json& s : sources["sources"]) {
                    if (s["registered"].get<bool>() && s["createdAfterRestartMs"].get<long>() >= 0) {
                        ++registered;
                    }
                }
                return registered == 2;
            },
            5s));
    for (const json& s : sources["sources"]) {
        EXPECT_LE(s["createdAfterRestartMs"].get<long>(), 1500) << s.dump();
        EXPECT_EQ(12, s["registerCode"].get<int>());
    }
    const std::string log = readFile("service.err");
    EXPECT_EQ(2, countOf(log, "ReConnectServiceThread reconnect Success !!"));
    // The re-created DAB source carries the service's media information again.
    ASSERT_EQ(0, dabctl({"hu", "activate", "dab"}).status);
    EXPECT_TRUE(waitUntil(
            [this] {
                const json bar = json::parse(dabctl({"--json", "hu", "infobar"}).out);
                return bar["infobar"]["dab"].contains("DABLabel");
            },
            5s));

    // A killed media manager: the sources retry once a second until the next one is there.
    const char* gap = "ReConnectServiceThread::threadLoop() once gap=1000000";
    const int gaps = countOf(readFile("service.err"), gap);
    kill(simPid(), SIGKILL);
    EXPECT_EQ(-SIGKILL, waitExit(simPid(), 5s));
    ASSERT_TRUE(waitUntil([&] { return countOf(readFile("service.err"), gap) >= gaps + 2; }, 10s));
    startSimulator("sim2");
    EXPECT_TRUE(waitUntil([this] { return json::parse(dabctl({"--json", "hu", "sources"}).out)["sources"].size() == 2; },
                          10s));
    // The line may follow the registration the head unit already shows.
    EXPECT_TRUE(waitUntil(
            [&] { return countOf(readFile("service.err"), "ReConnectServiceThread reconnect Success !!") == 4; },
            5s));
}

TEST_F(HeadUnitProcessTest, ClientsListeningToThemselvesAreFreedWhenTheirProcessGoes) {
    startHeadUnit();
    const auto registered = [this] {
        const std::string log = readFile("service.err");
        return countOf(log, "DABPlayer construct") - countOf(log, "DABPlayer destruct");
    };
    const std::string peer = "tools/binder_test_peer/binder_test_peer";
    EXPECT_EQ(0, waitExit(spawn(peer, {"self-listeners", "20"}, "leaving"), 10s));
    EXPECT_EQ(0, waitExit(spawn(peer, {"self-listeners", "20", "bare"}, "bare"), 10s));
    const pid_t held = spawn(peer, {"self-listeners", "20", "hold"}, "held");
    ASSERT_TRUE(waitUntil([this] { return readFile("held.out") == "ready\n"; }, 10s));
    kill(held, SIGKILL);
    EXPECT_EQ(-SIGKILL, waitExit(held, 5s));
    EXPECT_TRUE(waitUntil([&] { return registered() == 0; }, 10s))
            << registered() << " client objects left";
}

TEST_F(HeadUnitProcessTest, SuspendResumeAndAntennaFaultReachTheHeadUnitAndWatchersSeeTheServiceGo) {
    startHeadUnit();
    ASSERT_EQ(0, dabctl({"hu", "suspend"}).status);
    const std::string suspended = "module 13  suspended  (resumes 1, suspends 1";
    EXPECT_TRUE(waitUntil(
            [&] { return dabctl({"hu", "power"}).out.find(suspended) != std::string::npos; }, 5s));
    ASSERT_EQ(0, dabctl({"hu", "resume"}).status);
    EXPECT_TRUE(waitUntil([this] { return dabctl({"hu", "power"}).out.find("resumed  (resumes 2, suspends 1") != std::string::npos; },
                          5s));

    const int clients = countOf(readFile("service.err"), "DABPlayer construct");
    const pid_t watcher = spawn("tools/dabctl/dabctl", {"--json", "watch"}, "watch");
    ASSERT_TRUE(waitUntil(
            [&] { return countOf(readFile("service.err"), "DABPlayer construct") > clients; }, 10s));
    ASSERT_EQ(0, dabctl({"sim", "antenna", "4"}).status);
    ASSERT_TRUE(waitUntil(
            [this] {
                const json e = json::parse(dabctl({"--json", "hu", "errors"}).out);
                return !e["errors"].empty() && e["errors"].back()["value"] == 3;
            },
            5s));
    const json errors = json::parse(dabctl({"--json", "hu", "errors"}).out);
    EXPECT_EQ("DABError", errors["errors"].back()["key"]);
    EXPECT_EQ(12u, errors["errors"].back()["time"].get<std::string>().size());  // HH:MM:SS.mmm
    EXPECT_TRUE(waitUntil(
            [this] {
                for (const json& n : jsonLines(readFile("watch.out"))) {
                    if (n["id"] == kAntennaStatusChanged && n["ext1"] == 1) return true;
                }
                return false;
            },
            5s));
    const Run antenna = dabctl({"getAntStatus"});
    EXPECT_EQ("getAntStatus: 0  status=1\n", antenna.out);

    // The simulators' usage errors are usage errors of dabctl; options go anywhere.
    const Run connect = dabctl({"sim", "connect", "5"});
    EXPECT_EQ(2, connect.status);
    EXPECT_EQ("dabctl: connect N must be a number in 0..1 (got \"5\")\n", connect.err);
    EXPECT_EQ(2, dabctl({"hu", "restart-mm", "soon"}).status);
    EXPECT_EQ(3, dabctl({"hu", "activate", "fm"}).status);
    EXPECT_EQ(1, json::parse(dabctl({"getAntStatus", "--json"}).out)["status"]);

    // A watcher leaves with status 1 within a second of the service's death (the margin is for
    // a loaded machine). The clock starts once the service is gone: a sanitizer build takes
    // a while to tear its address space down before its sockets close.
    kill(servicePid(), SIGKILL);
    EXPECT_EQ(-SIGKILL, waitExit(servicePid(), 10s));
    const auto died = std::chrono::steady_clock::now();
    EXPECT_EQ(1, waitExit(watcher, 5s));
    EXPECT_LT(std::chrono::steady_clock::now() - died, 1500ms);
    EXPECT_NE(std::string::npos, readFile("watch.err").find("dabctl: the DAB player service went away\n"));
}

TEST_F(HeadUnitProcessTest, ToolsShareOneCommandLineConvention) {
    struct Case {
        const char* program;
        std::vector<std::string> args;
        const char* message;  // the start of standard error
    };
    const char* dabctl = "tools/dabctl/dabctl";
    const Case usage[] = {
            {dabctl, {"frobnicate"}, "dabctl: unknown command \"frobnicate\"\nusage: dabctl"},
            {dabctl, {"recall", "1", "2"}, "dabctl: recall takes 1 argument(s)\nusage: dabctl recall INDEX\n"},
            {dabctl, {"presetListRecall", "1", "0x2"},
             "dabctl: presetListRecall: index must be a number in -2147483648..2147483647 (got \"0x2\")\n"},
            {dabctl, {"watch", "--seconds=86401"},
             "dabctl: --seconds must be a number in 0..86400 (got \"86401\")\n"},
            {dabctl, {"status", "--count", "1"}, "dabctl: --count and --seconds belong to watch\n"},
            {dabctl, {"hu"}, "dabctl: a command is missing\nusage: dabctl hu COMMAND"},
            {dabctl, {}, "usage: dabctl [--json] COMMAND"},
            {"tools/dabdesk/dabdesk", {"--demo", "x"}, "dabdesk: unexpected argument \"x\"\n"},
            {"tools/dabreplay/dabreplay", {"--log"}, "dabreplay: SCRIPT is missing\n"},
            {"tools/headunit_sim/headunit_sim", {"--resume-delay", "-1"},
             "headunit_sim: --resume-delay must be a number in 0..600000 (got \"-1\")\n"},
    };
    for (const Case& c : usage) {
        const Run r = run(c.program, c.args);
        EXPECT_EQ(2, r.status) << c.message;
        EXPECT_EQ(0u, r.err.find(c.message)) << r.err;
        EXPECT_TRUE(r.out.empty()) << r.out;
    }
    // --help anywhere, for every tool and command: the form on standard output.
    const Case help[] = {
            {dabctl, {"--help"}, "usage: dabctl [--json] COMMAND"},
            {dabctl, {"watch", "-h"}, "usage: dabctl watch [--count N] [--seconds S]\n"},
            {dabctl, {"getPresetListItem", "--help"}, "usage: dabctl getPresetListItem BAND INDEX\n"},
            {"tools/dabdesk/dabdesk", {"--help"}, "usage: dabdesk [--demo]"},
            {"tools/dabreplay/dabreplay", {"--help"}, "usage: dabreplay [--log] [--timestamps]"},
            {"tools/headunit_sim/headunit_sim", {"--help"}, "usage: headunit_sim"},
    };
    for (const Case& c : help) {
        const Run r = run(c.program, c.args);
        EXPECT_EQ(0, r.status) << c.message;
        EXPECT_EQ(0u, r.out.find(c.message)) << r.out;
    }
    // Nothing runs: 1, naming the runtime directory looked in.
    const std::pair<std::vector<std::string>, std::string> absent[] = {
            {{"getBand"}, "the DAB player service (\"DABPlayer\")"},
            {{"hu", "infobar"}, "the head-unit simulator (\"HeadUnitControl\")"},
            {{"sim", "status"}, "the simulated tuner control (\"DABSimControl\")"},
    };
    for (const auto& a : absent) {
        const Run r = run(dabctl, a.first);
        EXPECT_EQ(1, r.status);
        EXPECT_EQ("dabctl: " + a.second + " is not running in " + dir() + "\n", r.err);
    }
}

TEST_F(HeadUnitProcessTest, EveryProcessRefusesARuntimeDirectoryOthersCouldEnterOrLinkTo) {
    ASSERT_EQ(0, chmod(dir().c_str(), 0750));
    const std::string refused = ": the binder runtime directory " + dir() +
                                " is refused: other users have access to it (mode 0750, 0700 needed)\n";
    EXPECT_EQ(1, waitExit(spawn("tools/headunit_sim/headunit_sim", {}, "sim"), 10s));
    EXPECT_NE(std::string::npos, readFile("sim.err").find("headunit_sim" + refused)) << readFile("sim.err");
    EXPECT_EQ(1, waitExit(spawn("dabplayer_service", {}, "service"), 10s));
    EXPECT_NE(std::string::npos, readFile("service.err").find("dabplayer_service" + refused));
    const Run op = dabctl({"getBand"});
    EXPECT_EQ(1, op.status);
    EXPECT_EQ("dabctl" + refused, op.err);
    ASSERT_EQ(0, chmod(dir().c_str(), 0700));

    const std::string link = dir() + "/link";
    ASSERT_EQ(0, symlink(dir().c_str(), link.c_str()));
    setenv("DAB_BINDER_DIR", link.c_str(), 1);
    const Run linked = dabctl({"status"});
    setenv("DAB_BINDER_DIR", dir().c_str(), 1);
    EXPECT_EQ(1, linked.status);
    EXPECT_EQ("dabctl: the binder runtime directory " + link + " is refused: it is a symbolic link\n",
              linked.err);
}
