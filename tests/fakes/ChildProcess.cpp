#include "ChildProcess.h"

#include <algorithm>
#include <sys/wait.h>
#include <thread>

int waitChildExit(pid_t pid, std::chrono::milliseconds timeout, std::vector<pid_t>* children) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            children->erase(std::remove(children->begin(), children->end(), pid), children->end());
            if (WIFEXITED(status)) return WEXITSTATUS(status);
            if (WIFSIGNALED(status)) return -WTERMSIG(status);
            return -1000;
        }
        if (done < 0 || std::chrono::steady_clock::now() >= deadline) return -1000;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}
