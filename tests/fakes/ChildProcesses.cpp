#include "ChildProcesses.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <thread>

// The build tree: the test executable sits at its top.
static std::string buildDir() {
    char exe[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    if (n <= 0) return ".";
    const std::string path(exe, static_cast<size_t>(n));
    return path.substr(0, path.rfind('/'));
}

bool ChildProcesses::open(const char* prefix) {
    const char* previous = getenv("DAB_BINDER_DIR");
    mHadPreviousDir = previous != nullptr;
    if (previous != nullptr) mPreviousDir = previous;
    std::string pattern = std::string("/tmp/") + prefix + "-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return false;
    mDir = pattern;
    setenv("DAB_BINDER_DIR", mDir.c_str(), 1);
    return true;
}

void ChildProcesses::stopAll() {
    for (pid_t pid : mChildren) {
        kill(pid, SIGKILL);
        kill(pid, SIGCONT);
        waitpid(pid, nullptr, 0);
    }
    mChildren.clear();
}

void ChildProcesses::close() {
    stopAll();
    if (!mDir.empty()) removeTree(mDir);
    mDir.clear();
    if (mHadPreviousDir) {
        setenv("DAB_BINDER_DIR", mPreviousDir.c_str(), 1);
    } else {
        unsetenv("DAB_BINDER_DIR");
    }
}

pid_t ChildProcesses::spawn(const std::string& program, const std::vector<std::string>& args,
                            const std::string& outName, const std::string& errName) {
    const std::string path = program[0] == '/' ? program : buildDir() + "/" + program;
    const std::string outPath = outName.empty() ? "" : mDir + "/" + outName;
    const std::string errPath = errName.empty() ? "" : mDir + "/" + errName;
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(path.c_str()));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec: this process has threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (in >= 0) dup2(in, 0);
        const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
        const int out = outPath.empty() ? -1 : ::open(outPath.c_str(), flags, 0600);
        const int err = errPath.empty() ? -1 : ::open(errPath.c_str(), flags, 0600);
        if (out >= 0) dup2(out, 1);
        if (err >= 0) dup2(err, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    if (pid > 0) mChildren.push_back(pid);
    return pid;
}

int ChildProcesses::waitExit(pid_t pid, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            mChildren.erase(std::remove(mChildren.begin(), mChildren.end(), pid), mChildren.end());
            if (WIFEXITED(status)) return WEXITSTATUS(status);
            if (WIFSIGNALED(status)) return -WTERMSIG(status);
            return -1000;
        }
        if (done < 0 || std::chrono::steady_clock::now() >= deadline) return -1000;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void ChildProcesses::removeTree(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (struct dirent* e = readdir(d)) {
        const std::string name(e->d_name);
        if (name != "." && name != "..") unlink((dir + "/" + name).c_str());
    }
    closedir(d);
    rmdir(dir.c_str());
}
