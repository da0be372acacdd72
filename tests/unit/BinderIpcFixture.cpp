#include "BinderIpcFixture.h"

#include "BinderRuntime.h"

#include <binder/IServiceManager.h>

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

sp<IBinder> BinderIpcTest::startService(const std::vector<std::string>& extra) {
    std::vector<std::string> args{"service", "svc"};
    args.insert(args.end(), extra.begin(), extra.end());
    spawnPeer(args);
    return defaultServiceManager()->getService(String16("svc"));
}

sp<binder_test::TestNode> BinderIpcTest::addHub() {
    sp<binder_test::TestNode> hub = new binder_test::TestNode();
    EXPECT_EQ(NO_ERROR, defaultServiceManager()->addService(String16("hub"), hub));
    return hub;
}

status_t BinderIpcTest::notifyClient(const sp<IBinder>& client, int32_t seq, size_t padding) {
    Parcel data;
    data.writeInt32(seq);
    const std::vector<char> bytes(padding, 0);
    if (padding > 0) data.write(bytes.data(), padding);
    return client->transact(binder_test::NOTIFY, data, nullptr, IBinder::FLAG_ONEWAY);
}

std::pair<int, int> BinderIpcTest::waitCount(const sp<IBinder>& client, int32_t n) {
    Parcel data, reply;
    data.writeInt32(n);
    if (client->transact(binder_test::WAIT_COUNT, data, &reply) != NO_ERROR) return {-1, -1};
    const int count = reply.readInt32();
    return {count, reply.readInt32()};
}
