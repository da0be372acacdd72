#ifndef DAB_TESTS_HEADUNIT_PROCESS_FIXTURE_H
#define DAB_TESTS_HEADUNIT_PROCESS_FIXTURE_H

#include "ChildProcesses.h"
#include "Eventually.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// Runs the head unit as separate processes, as on the desk: headunit_sim, dabplayer_service
// with the simulated tuner, and dabctl as the application. Each test gets a runtime
// directory of its own; teardown kills every process the test started and removes the
// directory.
class HeadUnitProcessTest : public ::testing::Test {
protected:
    struct Run {
        int status;       // exit status, -signal when killed, -1000 on time-out
        std::string out;  // standard output
        std::string err;  // standard error
    };

    void SetUp() override;
    void TearDown() override;

    // Starts a built program (path relative to the build tree); its standard output and
    // error go to <dir>/<name>.out and <dir>/<name>.err. Returns its pid.
    pid_t spawn(const std::string& program, const std::vector<std::string>& args,
                const std::string& name) {
        const pid_t pid = mProcesses.spawn(program, args, name + ".out", name + ".err");
        EXPECT_GT(pid, 0) << "fork failed";
        return pid;
    }
    // Starts the simulator and the service, waits until the service was resumed, activates
    // the DAB source and waits until the service answers as active.
    void startHeadUnit();
    pid_t simPid() const { return mSimPid; }
    pid_t servicePid() const { return mServicePid; }
    // Starts the head-unit simulator alone and waits until it answers.
    pid_t startSimulator(const std::string& name = "sim");

    // Runs a built program (or dabctl) to its end (killed after the time-out).
    Run run(const std::string& program, const std::vector<std::string>& args,
            std::chrono::milliseconds timeout = std::chrono::seconds(20));
    Run dabctl(const std::vector<std::string>& args,
               std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return run("tools/dabctl/dabctl", args, timeout);
    }
    // Waits for a started process to end: its exit status, -signal, or -1000 on time-out.
    int waitExit(pid_t pid, std::chrono::milliseconds timeout) {
        return mProcesses.waitExit(pid, timeout);
    }

    // Contents of <dir>/<name> (empty when missing).
    // Read in one piece: the service's log runs to megabytes, and a character-by-character
    // read of it under ThreadSanitizer takes longer than what the tests time.
    std::string readFile(const std::string& name) const {
        std::ifstream in(dir() + "/" + name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    static int countOf(const std::string& text, const std::string& what) {
        int n = 0;
        for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
        return n;
    }
    const std::string& dir() const { return mProcesses.dir(); }

private:
    ChildProcesses mProcesses;
    pid_t mSimPid = -1;
    pid_t mServicePid = -1;
    int mRuns = 0;
};

#endif  // DAB_TESTS_HEADUNIT_PROCESS_FIXTURE_H
