#ifndef DAB_TESTS_BINDER_IPC_FIXTURE_H
#define DAB_TESTS_BINDER_IPC_FIXTURE_H

#include "../../tools/binder_test_peer/BinderTestNode.h"

#include "ChildProcesses.h"
#include "Eventually.h"
#include "HostLog.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

// Runs each test in a fresh runtime directory and starts helper processes in it. Teardown
// kills every helper, closes every connection, forgets the services the test added and
// removes the directory; it fails the test when a connection outlives it.
class BinderIpcTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts binder_test_peer with these arguments; its stderr goes to a file in the
    // directory. Returns its pid.
    pid_t spawnPeer(const std::vector<std::string>& args);
    // Waits for a helper to end: its exit status, minus the signal that killed it, or -1000
    // on time-out.
    int waitExit(pid_t pid, std::chrono::milliseconds timeout) {
        return mProcesses.waitExit(pid, timeout);
    }
    const std::string& dir() const { return mProcesses.dir(); }

private:
    ChildProcesses mProcesses;
    int mPeers = 0;
};

#endif  // DAB_TESTS_BINDER_IPC_FIXTURE_H
