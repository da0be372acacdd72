#include "BinderIpcFixture.h"

#include "ChildProcess.h"

#include "BinderRuntime.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <thread>

using namespace android;

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

std::string peerPath() {
    const char* override = getenv("BINDER_TEST_PEER");
    if (override != nullptr && override[0] != '\0') return override;
    char exe[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    if (n <= 0) return "binder_test_peer";
    std::string path(exe, static_cast<size_t>(n));
    return path.substr(0, path.rfind('/')) + "/tools/binder_test_peer/binder_test_peer";
}

// Every test process gets a runtime directory of its own, so tests that publish services
// in-process never meet another test process's sockets.
struct ProcessRuntimeDirectory {
    std::string dir;
    ProcessRuntimeDirectory() {
        const char* set = getenv("DAB_BINDER_DIR");
        if (set != nullptr && set[0] != '\0') return;
        char pattern[] = "/tmp/dabtest-XXXXXX";
        if (mkdtemp(pattern) == nullptr) return;
        dir = pattern;
        setenv("DAB_BINDER_DIR", pattern, 1);
    }
    ~ProcessRuntimeDirectory() {
        if (!dir.empty()) removeTree(dir);
    }
};
ProcessRuntimeDirectory gProcessRuntimeDirectory;

}  // namespace

void BinderIpcTest::SetUp() {
    const char* previous = getenv("DAB_BINDER_DIR");
    mHadPreviousDir = previous != nullptr;
    if (previous != nullptr) mPreviousDir = previous;
    char pattern[] = "/tmp/binder-ipc-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    mDir = pattern;
    setenv("DAB_BINDER_DIR", mDir.c_str(), 1);
}

void BinderIpcTest::TearDown() {
    for (pid_t pid : mChildren) {
        kill(pid, SIGKILL);
        kill(pid, SIGCONT);
        waitpid(pid, nullptr, 0);
    }
    mChildren.clear();
    clearLocalServices();
    BinderRuntime::stopListening();
    BinderRuntime::closeAllConnections();
    EXPECT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 0; },
                          std::chrono::seconds(5)))
            << "connections left: " << BinderRuntime::connectionCount();
    removeTree(mDir);
    if (mHadPreviousDir) {
        setenv("DAB_BINDER_DIR", mPreviousDir.c_str(), 1);
    } else {
        unsetenv("DAB_BINDER_DIR");
    }
}

pid_t BinderIpcTest::spawnPeer(const std::vector<std::string>& args) {
    const std::string program = peerPath();
    const std::string logPath = mDir + "/peer-" + std::to_string(mChildren.size()) + ".log";
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec: this process has threads.
        const int fd = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd >= 0) dup2(fd, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    EXPECT_GT(pid, 0);
    if (pid > 0) mChildren.push_back(pid);
    return pid;
}

int BinderIpcTest::waitExit(pid_t pid, std::chrono::milliseconds timeout) {
    return waitChildExit(pid, timeout, &mChildren);
}

bool BinderIpcTest::waitUntil(const std::function<bool()>& condition,
                              std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
