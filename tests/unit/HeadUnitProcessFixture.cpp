#include "HeadUnitProcessFixture.h"

using namespace std::chrono_literals;

void HeadUnitProcessTest::SetUp() { ASSERT_TRUE(mProcesses.open("headunit-test")); }

void HeadUnitProcessTest::TearDown() {
    if (HasFailure()) {
        for (const char* log : {"sim.err", "service.err"}) {
            const std::string text = readFile(log);
            const size_t keep = 6000;
            ADD_FAILURE() << log << " (last part):\n"
                          << (text.size() > keep ? text.substr(text.size() - keep) : text);
        }
    }
    mProcesses.close();
}

pid_t HeadUnitProcessTest::startSimulator(const std::string& name) {
    const pid_t pid = spawn("tools/headunit_sim/headunit_sim", {}, name);
    EXPECT_TRUE(waitUntil([this] { return dabctl({"hu", "ping"}).status == 0; }, 10s))
            << "the head-unit simulator did not answer";
    return pid;
}

void HeadUnitProcessTest::startHeadUnit() {
    mSimPid = startSimulator();
    mServicePid = spawn("dabplayer_service", {}, "service");
    ASSERT_TRUE(waitUntil(
            [this] {
                return dabctl({"--json", "hu", "power"}).out.find("\"state\":\"resumed\"") !=
                       std::string::npos;
            },
            10s))
            << "the service was not resumed";
    const Run activate = dabctl({"hu", "activate", "dab"});
    ASSERT_EQ(0, activate.status) << activate.out << activate.err;
    const Run active = dabctl({"wait-active", "10"});
    ASSERT_EQ(0, active.status) << active.err;
}

HeadUnitProcessTest::Run HeadUnitProcessTest::run(const std::string& program,
                                                  const std::vector<std::string>& args,
                                                  std::chrono::milliseconds timeout) {
    const std::string name = "run-" + std::to_string(mRuns++);
    const pid_t pid = spawn(program, args, name);
    Run r;
    r.status = waitExit(pid, timeout);
    r.out = readFile(name + ".out");
    r.err = readFile(name + ".err");
    unlink((dir() + "/" + name + ".out").c_str());
    unlink((dir() + "/" + name + ".err").c_str());
    return r;
}

