#include "HeadUnitProcessFixture.h"

#include "ChildProcess.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

using namespace std::chrono_literals;

namespace {

void removeTree(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (struct dirent* e = readdir(d)) {
        const std::string name(e->d_name);
        if (name != "." && name != "..") unlink((dir + "/" + name).c_str());
    }
    closedir(d);
    rmdir(dir.c_str());
}

// The build tree: the test executable sits at its top.
std::string buildDir() {
    char exe[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    if (n <= 0) return ".";
    const std::string path(exe, static_cast<size_t>(n));
    return path.substr(0, path.rfind('/'));
}

}  // namespace

void HeadUnitProcessTest::SetUp() {
    const char* previous = getenv("DAB_BINDER_DIR");
    mHadPreviousDir = previous != nullptr;
    if (previous != nullptr) mPreviousDir = previous;
    char pattern[] = "/tmp/headunit-test-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    mDir = pattern;
    setenv("DAB_BINDER_DIR", mDir.c_str(), 1);
}

void HeadUnitProcessTest::TearDown() {
    for (pid_t pid : mChildren) {
        kill(pid, SIGKILL);
        kill(pid, SIGCONT);
        waitpid(pid, nullptr, 0);
    }
    mChildren.clear();
    if (HasFailure()) {
        for (const char* log : {"sim.err", "service.err"}) {
            const std::string text = readFile(log);
            const size_t keep = 6000;
            ADD_FAILURE() << log << " (last part):\n"
                          << (text.size() > keep ? text.substr(text.size() - keep) : text);
        }
    }
    removeTree(mDir);
    if (mHadPreviousDir) {
        setenv("DAB_BINDER_DIR", mPreviousDir.c_str(), 1);
    } else {
        unsetenv("DAB_BINDER_DIR");
    }
}

pid_t HeadUnitProcessTest::spawn(const std::string& program, const std::vector<std::string>& args,
                                 const std::string& name) {
    const std::string path = buildDir() + "/" + program;
    const std::string outPath = mDir + "/" + name + ".out";
    const std::string errPath = mDir + "/" + name + ".err";
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(path.c_str()));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec: this process has threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (in >= 0) dup2(in, 0);
        if (out >= 0) dup2(out, 1);
        if (err >= 0) dup2(err, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    EXPECT_GT(pid, 0) << "fork failed";
    if (pid > 0) mChildren.push_back(pid);
    return pid;
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
    unlink((mDir + "/" + name + ".out").c_str());
    unlink((mDir + "/" + name + ".err").c_str());
    return r;
}

int HeadUnitProcessTest::waitExit(pid_t pid, std::chrono::milliseconds timeout) {
    return waitChildExit(pid, timeout, &mChildren);
}

std::string HeadUnitProcessTest::readFile(const std::string& name) const {
    std::ifstream in(mDir + "/" + name, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

int HeadUnitProcessTest::countOf(const std::string& text, const std::string& what) {
    int n = 0;
    for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1)) ++n;
    return n;
}

bool HeadUnitProcessTest::waitUntil(const std::function<bool()>& condition,
                                    std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(20ms);
    }
    return true;
}
