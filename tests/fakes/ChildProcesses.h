#ifndef DAB_TESTS_CHILDPROCESSES_H
#define DAB_TESTS_CHILDPROCESSES_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

// The helper processes of one test and the runtime directory they meet in: a fresh directory
// that DAB_BINDER_DIR points at until close(), programs started with their output in files
// there, and a close() that kills whatever still runs and removes the directory. Test thread
// only.
class ChildProcesses {
public:
    // Creates /tmp/<prefix>-XXXXXX and points DAB_BINDER_DIR at it; false when it cannot.
    bool open(const char* prefix);
    // Kills every process still running.
    void stopAll();
    // stopAll(), then removes the directory and restores DAB_BINDER_DIR.
    void close();

    // Starts a program (an absolute path, or one relative to the build tree) with standard
    // input from /dev/null and standard output and error in <dir>/<outName> and <dir>/<errName>
    // (inherited when the name is empty). It dies with the test process. Returns its pid.
    pid_t spawn(const std::string& program, const std::vector<std::string>& args,
                const std::string& outName, const std::string& errName);
    // Waits for a started process to end: its exit status, minus the signal that ended it, or
    // -1000 on time-out.
    int waitExit(pid_t pid, std::chrono::milliseconds timeout);
    const std::string& dir() const { return mDir; }
    // Removes a directory and the files in it.
    static void removeTree(const std::string& dir);

private:
    std::string mDir;
    std::string mPreviousDir;
    bool mHadPreviousDir = false;
    std::vector<pid_t> mChildren;  // reaped ones removed
};

#endif  // DAB_TESTS_CHILDPROCESSES_H
