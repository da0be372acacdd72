// The binder transport between processes: calls, references, nesting, concurrency, death and
// service names. Each test runs helper processes (binder_test_peer) in a runtime
// directory of its own and removes every process and socket it made.
#include "BinderIpcFixture.h"

#include "BinderConnection.h"
#include "BinderRuntime.h"

#include <binder/BpBinder.h>
#include <binder/IServiceManager.h>

#include <gtest/gtest.h>

#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace android;
using namespace binder_test;
using namespace std::chrono_literals;

namespace {

class CountingRecipient : public IBinder::DeathRecipient {
public:
    void binderDied(const wp<IBinder>&) override { mCount++; }
    int count() const { return mCount.load(); }

private:
    std::atomic<int> mCount{0};
};

Parcel& echoArgs(Parcel& p, int32_t v, const char* s) {
    p.writeInt32(v);
    p.writeString8(String8(s));
    return p;
}

status_t call(const sp<IBinder>& target, uint32_t code, const Parcel& data, Parcel* reply) {
    return target->transact(code, data, reply);
}

TEST_F(BinderIpcTest, CallReturnsTheRemoteReplyAndTheCallerIsThePeerProcess) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(nullptr, defaultServiceManager()->checkService(String16("nobody")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s) << "checkService does not wait";

    const pid_t child = spawnPeer({"service", "svc"});
    sp<IBinder> service = defaultServiceManager()->getService(String16("svc"));
    ASSERT_NE(nullptr, service);
    EXPECT_NE(nullptr, service->remoteBinder());
    EXPECT_EQ(nullptr, service->localBinder());
    Parcel data, reply;
    ASSERT_EQ(NO_ERROR, call(service, ECHO, echoArgs(data, 41, "hello"), &reply));
    EXPECT_EQ(42, reply.readInt32());
    EXPECT_STREQ("hello", reply.readString8().string());
    EXPECT_EQ(service, defaultServiceManager()->getService(String16("svc")));
    EXPECT_EQ(service, defaultServiceManager()->checkService(String16("svc")));
    EXPECT_EQ(NO_ERROR, service->pingBinder());
    EXPECT_TRUE(service->isBinderAlive());
    // The remote status comes back as it was.
    Parcel none, ids;
    EXPECT_EQ(UNKNOWN_TRANSACTION, service->transact(0x00777777, none, &reply));
    EXPECT_EQ(1u, BinderRuntime::connectionCount());

    ASSERT_EQ(NO_ERROR, call(service, IDS, none, &ids));
    EXPECT_EQ(static_cast<int32_t>(getuid()), ids.readInt32());
    EXPECT_EQ(static_cast<int32_t>(getpid()), ids.readInt32());
    EXPECT_EQ(static_cast<int32_t>(child), ids.readInt32());
    // Outside a served call the process itself is the caller.
    EXPECT_EQ(getpid(), IPCThreadState::self()->getCallingPid());
}

TEST_F(BinderIpcTest, ObjectsTravelAsThemselvesAndLiveWhileThePeerHoldsThem) {
    sp<IBinder> service = startService();
    ASSERT_NE(nullptr, service);
    auto same = [&](const sp<IBinder>& object) {
        Parcel twice, reply;
        twice.writeStrongBinder(object);
        twice.writeStrongBinder(object);
        return call(service, SAME, twice, &reply) == NO_ERROR ? reply.readInt32() : -1;
    };
    const int before = liveNodes().load();
    sp<IBinder> mine = new TestNode();
    {
        Parcel data, reply, index, held;
        data.writeStrongBinder(mine);
        ASSERT_EQ(NO_ERROR, call(service, HOLD, data, &reply));
        EXPECT_EQ(1, same(mine)) << "one proxy per remote object";
        index.writeInt32(0);
        ASSERT_EQ(NO_ERROR, call(service, GET_HELD, index, &held));
        EXPECT_EQ(mine, held.readStrongBinder());
    }
    mine.clear();
    EXPECT_EQ(before + 1, liveNodes().load()) << "the peer's reference keeps it alive";
    Parcel none, reply;
    ASSERT_EQ(NO_ERROR, call(service, DROP_ALL, none, &reply));
    EXPECT_TRUE(waitUntil([&] { return liveNodes().load() == before; }, 5s));

    // A dropped proxy releases the remote object.
    auto remoteLive = [&] {
        Parcel empty, live;
        return call(service, LIVE_NODES, empty, &live) == NO_ERROR ? live.readInt32() : -1;
    };
    EXPECT_EQ(1, remoteLive());
    sp<IBinder> created;
    {
        Parcel createdReply;  // holds a reference while it lives
        ASSERT_EQ(NO_ERROR, call(service, CREATE, none, &createdReply));
        created = createdReply.readStrongBinder();
    }
    ASSERT_NE(nullptr, created);
    ASSERT_NE(nullptr, created->remoteBinder());
    EXPECT_EQ(2, remoteLive());
    EXPECT_EQ(1, same(created)) << "sent back, the proxy names the service's own object";
    created.clear();
    EXPECT_TRUE(waitUntil([&] { return remoteLive() == 1; }, 5s));
}

TEST_F(BinderIpcTest, NestedCallbacksRunOnTheThreadWaitingForTheReply) {
    sp<IBinder> service = startService();
    ASSERT_NE(nullptr, service);
    sp<TestNode> mine = new TestNode();
    Parcel data, reply;
    data.writeStrongBinder(sp<IBinder>(mine));
    data.writeInt32(7);
    ASSERT_EQ(NO_ERROR, call(service, NEST, data, &reply));
    EXPECT_EQ(7, reply.readInt32());
    // Depths 6, 4, 2 and 0 came back into this process, each time to this waiting thread.
    const std::vector<pid_t> threads = mine->nestThreads();
    ASSERT_EQ(4u, threads.size());
    for (pid_t tid : threads) EXPECT_EQ(currentTid(), tid);
}

TEST_F(BinderIpcTest, MoreConcurrentCallsThanPoolThreadsAllComplete) {
    sp<IBinder> service = startService({"2"});
    ASSERT_NE(nullptr, service);
    sp<TestNode> mine = new TestNode();
    constexpr int kCallers = 12;
    std::atomic<int> ok{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < kCallers; ++i) {
        callers.emplace_back([&, i] {
            Parcel data, reply;
            if (i % 2 == 0) {
                data.writeStrongBinder(sp<IBinder>(mine));
                data.writeInt32(5);
                if (call(service, NEST, data, &reply) == NO_ERROR && reply.readInt32() == 5) ok++;
            } else {
                data.writeInt32(30);
                if (call(service, SLEEP_MS, data, &reply) == NO_ERROR) ok++;
            }
        });
    }
    for (std::thread& t : callers) t.join();
    EXPECT_EQ(kCallers, ok.load());
}

TEST_F(BinderIpcTest, CallBlockedInTheServiceDoesNotHoldUpAnotherOnTheSameConnection) {
    sp<IBinder> service = startService();
    ASSERT_NE(nullptr, service);
    std::atomic<bool> sleeperDone{false};
    std::thread sleeper([&] {
        Parcel data, reply;
        data.writeInt32(3000);
        call(service, SLEEP_MS, data, &reply);
        sleeperDone = true;
    });
    // Wait until the sleeping call is being served: the service then has one node and is busy.
    std::this_thread::sleep_for(100ms);
    Parcel data, reply;
    ASSERT_EQ(NO_ERROR, call(service, ECHO, echoArgs(data, 1, "meanwhile"), &reply));
    EXPECT_EQ(2, reply.readInt32());
    EXPECT_FALSE(sleeperDone.load()) << "answered while the other call was still blocked";
    sleeper.join();
}

TEST_F(BinderIpcTest, KilledClientLosesItsObjectsAndDeathIsToldOnce) {
    sp<TestNode> hub = addHub();
    const int liveBefore = liveNodes().load() + 1;  // the client has the hub create one
    const pid_t child = spawnPeer({"client", "hub"});
    ASSERT_TRUE(hub->waitRegistered(1, 30s));
    ASSERT_TRUE(waitUntil([&] { return liveNodes().load() == liveBefore; }, 10s));
    sp<IBinder> callback = hub->registered()[0];
    sp<CountingRecipient> recipient = new CountingRecipient();
    ASSERT_EQ(NO_ERROR, callback->linkToDeath(recipient));
    sp<CountingRecipient> unlinked = new CountingRecipient();
    ASSERT_EQ(NO_ERROR, callback->linkToDeath(unlinked));
    EXPECT_EQ(NO_ERROR, callback->unlinkToDeath(unlinked));

    ASSERT_EQ(0, kill(child, SIGKILL));
    EXPECT_EQ(-SIGKILL, waitExit(child, 10s));
    EXPECT_TRUE(waitUntil([&] { return recipient->count() == 1; }, 5s));
    EXPECT_TRUE(waitUntil([&] { return liveNodes().load() == liveBefore - 1; }, 5s));
    EXPECT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 0; }, 5s));
    EXPECT_EQ(0, unlinked->count());

    EXPECT_FALSE(callback->isBinderAlive());
    Parcel data, reply;
    EXPECT_EQ(DEAD_OBJECT, notifyClient(callback, 0));
    EXPECT_EQ(DEAD_OBJECT, call(callback, ECHO, data, &reply));
    sp<CountingRecipient> late = new CountingRecipient();
    EXPECT_EQ(NO_ERROR, callback->linkToDeath(late));
    EXPECT_EQ(1, late->count()) << "linked after the death: told at once";
    EXPECT_EQ(DEAD_OBJECT, callback->unlinkToDeath(recipient));
    EXPECT_EQ(1, recipient->count());
    hub->clearRegistered();
}

TEST_F(BinderIpcTest, ServiceNamesAreServedLocallyAndHeldByTheLiveServer) {
    HostLog::Capture log;
    sp<TestNode> hub = addHub();
    EXPECT_EQ(sp<IBinder>(hub), defaultServiceManager()->getService(String16("hub")));
    EXPECT_EQ(0u, BinderRuntime::connectionCount()) << "this process's own service needs no socket";
    EXPECT_EQ(0, access((dir() + "/hub.sock").c_str(), F_OK));

    spawnPeer({"service", "svc"});
    ASSERT_NE(nullptr, defaultServiceManager()->getService(String16("svc")));
    sp<TestNode> mine = new TestNode();
    EXPECT_EQ(ALREADY_EXISTS, defaultServiceManager()->addService(String16("svc"), mine));
    EXPECT_TRUE(log.contains("service svc is already served at " + dir() + "/svc.sock"));
}

}  // namespace
