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
#include <utility>
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
    // Starts a peer serving a TestNode as "svc" (extra arguments: its pool size) and returns
    // the proxy; null when it cannot be reached.
    android::sp<android::IBinder> startService(const std::vector<std::string>& extra = {});
    // Publishes a TestNode of this process as "hub" (clients register with it).
    android::sp<binder_test::TestNode> addHub();
    // One-way notification with this sequence number (and padding bytes) to a client peer.
    static android::status_t notifyClient(const android::sp<android::IBinder>& client, int32_t seq,
                                          size_t padding = 0);
    // Waits until a client peer has n notifications: {how many it has, 1 when in order}.
    static std::pair<int, int> waitCount(const android::sp<android::IBinder>& client, int32_t n);

private:
    ChildProcesses mProcesses;
    int mPeers = 0;
};

#endif  // DAB_TESTS_BINDER_IPC_FIXTURE_H
