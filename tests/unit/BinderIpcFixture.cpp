#include "BinderIpcFixture.h"

#include "BinderRuntime.h"

#include <cstdlib>

using namespace android;

namespace {

std::string peerPath() {
    const char* override = getenv("BINDER_TEST_PEER");
    if (override != nullptr && override[0] != '\0') return override;
    return "tools/binder_test_peer/binder_test_peer";
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
        if (!dir.empty()) ChildProcesses::removeTree(dir);
    }
};
ProcessRuntimeDirectory gProcessRuntimeDirectory;

}  // namespace

void BinderIpcTest::SetUp() { ASSERT_TRUE(mProcesses.open("binder-ipc")); }

void BinderIpcTest::TearDown() {
    mProcesses.stopAll();
    clearLocalServices();
    BinderRuntime::stopListening();
    BinderRuntime::closeAllConnections();
    EXPECT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 0; },
                          std::chrono::seconds(5)))
            << "connections left: " << BinderRuntime::connectionCount();
    mProcesses.close();
}

pid_t BinderIpcTest::spawnPeer(const std::vector<std::string>& args) {
    const pid_t pid =
            mProcesses.spawn(peerPath(), args, "", "peer-" + std::to_string(mPeers++) + ".log");
    EXPECT_GT(pid, 0);
    return pid;
}
