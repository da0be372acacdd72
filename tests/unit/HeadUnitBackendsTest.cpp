// The host-only binder interfaces between the player service process and the head-unit
// simulator, and the service process's backends of the media manager, media data and system
// control libraries built on them. Through a loopback binder (standing for the other process)
// every call travels through its proxy and stub, and malformed requests are refused. Without a
// simulator the libraries answer as unreachable; with one, calls and callbacks travel both
// ways, and the system control callbacks run on a thread of their own, in order.
#include <headunit/HeadUnitNames.h>
#include <headunit/ICommandChannel.h>
#include <headunit/IHeadUnitMediaData.h>
#include <headunit/IHeadUnitMediaManager.h>
#include <headunit/IHeadUnitSourceListener.h>
#include <headunit/IHeadUnitSysCtrl.h>
#include <headunit/RemoteMediaDataBackend.h>
#include <headunit/RemoteMediaManagerBackend.h>
#include <headunit/RemoteSysCtrlBackend.h>
#include <headunit/SysCtrlListenerBinder.h>

#include "Eventually.h"
#include "BinderRuntime.h"
#include "HostMutex.h"

#include <binder/IServiceManager.h>
#include <mediadata/MediaDataClient.h>
#include <mediamanager/Source.h>
#include <sysctrl/SysCtrlManagerIF.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using namespace headunit;
using namespace std::chrono_literals;

namespace {

// Stands for the other process: not a local interface, so interface_cast builds the proxy,
// and every call reaches the target's stub as a parcel. It can also fail as a dead peer.
class Loopback : public BBinder {
public:
    explicit Loopback(const sp<IBinder>& target) : mTarget(target) {}
    bool dead = false;

protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (dead) return DEAD_OBJECT;
        return mTarget->transact(code, data, reply, flags);
    }

private:
    sp<IBinder> mTarget;
};

template <typename I>
sp<I> through(const sp<IBinder>& target, sp<Loopback>* loop = nullptr) {
    sp<Loopback> l = new Loopback(target);
    if (loop != nullptr) *loop = l;
    return interface_cast<I>(l);
}

// Writes every call, with the first number of its data parcel, to calls.
class RecordingListener : public BnHeadUnitSourceListener {
public:
    std::vector<std::string> calls;
    int answer = 1;

    int onRequestActivation(int request) override { return add("activate " + std::to_string(request), answer); }
    int onRequestDeactivation(int request) override { return add("deactivate " + std::to_string(request), answer); }
    void onReqPublishMediaInfo() override { add("publish"); }
    void onSourceRelease(int reason) override { add("release " + std::to_string(reason)); }
    int onRequestPrivateData(int request, const Parcel* data, Parcel* reply) override {
        reply->writeInt32(77);
        return add("private " + std::to_string(request) + withData(data), 5);
    }
    void onNotify(int msg, int ext1, int ext2, const Parcel* data) override {
        add("notify " + std::to_string(msg) + " " + std::to_string(ext1) + " " + std::to_string(ext2) + withData(data));
    }

private:
    int add(const std::string& call, int result = 0) {
        calls.push_back(call);
        return result;
    }
    static std::string withData(const Parcel* data) {
        return data == nullptr ? " null" : " data " + std::to_string(data->readInt32());
    }
};

class QuietChannel : public BnCommandChannel {
public:
    int execute(const String8&, int, String8*) override { return 0; }
};

class TestSourceListener : public ISourceListener {
public:
    std::atomic<int> activations{0};
    int onRequestActivation(int) override {
        ++activations;
        return 1;
    }
    int onRequestDeactivation(int) override { return 1; }
    int onRequestPrivateData(int, const Parcel*, Parcel*) override { return 0; }
    void onNotify(int, int, int, const Parcel*) override {}
};

// The services below are reached in-process: their calls run on the caller's thread, except
// the answers to power transitions, which come from the listener's own thread.
class FakeManager : public BnHeadUnitMediaManager {
public:
    std::vector<std::string> names;  // of the sources created
    sp<IHeadUnitSourceListener> listener;
    std::vector<MediaInfoParcel::Field> fields;
    int status = 0;

    int createSource(const String8& name, const sp<IHeadUnitSourceListener>& l) override {
        names.push_back(name.string());
        listener = l;
        return 0;
    }
    int registerSource(const String8&, int code, Parcel* reply) override {
        reply->writeInt32(42);
        return code == 12 ? 0 : 3;
    }
    int publishMediaInfo(const String8&, const MediaInfoParcel& info) override {
        fields = info.fields();
        return 0;
    }
    int setMediaStatus(const String8&, int s) override {
        status = s;
        return 0;
    }
};

class FakeMediaDataService : public BnHeadUnitMediaData {
public:
    std::vector<std::string> calls;
    int attach() override {
        calls.push_back("attach");
        return 0;
    }
    int publish(const String8& key, int value) override {
        calls.push_back(std::string(key.string()) + "=" + std::to_string(value));
        return 0;
    }
};

// A journal written from several threads.
class Journal {
public:
    void add(const std::string& what) {
        HostMutex::Autolock lock(mLock);
        mCalls.push_back(what);
        mThreads.insert(std::this_thread::get_id());
    }
    std::vector<std::string> calls() {
        HostMutex::Autolock lock(mLock);
        return mCalls;
    }
    std::set<std::thread::id> threads() {
        HostMutex::Autolock lock(mLock);
        return mThreads;
    }

private:
    HostMutex mLock;
    std::vector<std::string> mCalls GUARDED_BY(mLock);
    std::set<std::thread::id> mThreads GUARDED_BY(mLock);
};

class FakeSysCtrlService : public BnHeadUnitSysCtrl {
public:
    Journal journal;
    sp<IHeadUnitSysCtrlListener> listener;  // set by attach before any transition

    int attach(const sp<IHeadUnitSysCtrlListener>& l, int moduleId, int flags) override {
        listener = l;
        journal.add("attach " + std::to_string(moduleId) + " " + std::to_string(flags));
        return 0;
    }
    int detach(const sp<IHeadUnitSysCtrlListener>& l) override { return record("detach", l); }
    int finishSuspend(const sp<IHeadUnitSysCtrlListener>& l) override { return record("suspended", l); }
    int finishResume(const sp<IHeadUnitSysCtrlListener>& l) override { return record("resumed", l); }

private:
    int record(const char* what, const sp<IHeadUnitSysCtrlListener>& l) {
        journal.add(std::string(what) + (IInterface::asBinder(l) == IInterface::asBinder(listener) ? "" : " (stranger)"));
        return 0;
    }
};

// Records each transition with the thread it ran on; optionally answers it as the service does.
class TestPowerListener : public SysCtrlManagerListenerBase {
public:
    Journal journal;
    SysCtrlManagerIF* manager = nullptr;  // set to answer with finishSuspend/finishResume
    std::promise<void>* gate = nullptr;   // a resume waits for it when set
    std::atomic<bool> inResume{false};

    void onSuspend() override {
        journal.add("suspend");
        if (manager != nullptr) manager->finishSuspend();
    }
    void onResume() override {
        inResume = true;
        if (gate != nullptr) gate->get_future().wait();
        journal.add("resume");
        if (manager != nullptr) manager->finishResume();
        inResume = false;
    }
};

class HeadUnitBackendsTest : public ::testing::Test {
protected:
    void SetUp() override {
        MediaManagerBackend::setCurrent(new RemoteMediaManagerBackend());
        MediaDataBackend::setCurrent(new RemoteMediaDataBackend());
        SysCtrlBackend::setCurrent(new RemoteSysCtrlBackend());
    }
    void TearDown() override {
        MediaManagerBackend::setCurrent(nullptr);
        MediaDataBackend::setCurrent(nullptr);
        SysCtrlBackend::setCurrent(nullptr);
        clearLocalServices();
        BinderRuntime::stopListening();
    }
    // Behind a loopback, so that the libraries' calls travel through proxy and stub.
    static sp<Loopback> publish(const char* name, const sp<IBinder>& service) {
        sp<Loopback> remote = new Loopback(service);
        EXPECT_EQ(NO_ERROR, defaultServiceManager()->addService(String16(name), remote));
        return remote;
    }
};

TEST_F(HeadUnitBackendsTest, WithoutTheSimulatorTheLibrariesAnswerAsUnreachable) {
    sp<TestSourceListener> listener = new TestSourceListener();
    String8 name("dab");
    EXPECT_EQ(nullptr, Source::create(name, listener));

    sp<MediaDataClient> data = new MediaDataClient();
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(-1, data->attachMediaDataService());
    EXPECT_EQ(-1, data->publishMediaData(String8("DABError"), 3));

    TestPowerListener power;
    SysCtrlManagerIF sysCtrl(&power);
    EXPECT_EQ(-1, sysCtrl.attachSysCtrlMng(13, 0));
    EXPECT_EQ(-1, sysCtrl.finishResume());
}

TEST_F(HeadUnitBackendsTest, SourceAndMediaDataCallsReachTheSimulatorAndRequestsComeBack) {
    sp<FakeManager> manager = new FakeManager();
    sp<Loopback> loop = publish(kMediaManagerService, manager);
    sp<TestSourceListener> listener = new TestSourceListener();
    String8 name("dab");
    sp<Source> source = Source::create(name, listener);
    ASSERT_NE(nullptr, source);
    ASSERT_EQ(std::vector<std::string>{"dab"}, manager->names);
    // The manager drives the source through the listener it was given.
    ASSERT_NE(nullptr, manager->listener);
    EXPECT_EQ(1, manager->listener->onRequestActivation(0));
    EXPECT_EQ(1, listener->activations.load());

    Parcel reply;
    EXPECT_EQ(0, source->registerSource(12, &reply));
    EXPECT_EQ(4u, reply.dataAvail());
    MediaInfoParcel info;
    info.writeDABLabel(String8("Nordwelle Pop"));
    info.writePresetStationNumber(INFOBAR_CLEAR_INTCONTENT);
    EXPECT_EQ(0, source->publishMediaInfo(info));
    ASSERT_EQ(2u, manager->fields.size());
    EXPECT_STREQ("Nordwelle Pop", manager->fields[0].text.string());
    EXPECT_EQ(-1, manager->fields[1].value);
    EXPECT_EQ(0, source->setMediaStatus(MEDIA_STATUS_CONNECTED));
    EXPECT_EQ(3, manager->status);
    // The proxy itself leaves its reply at the start of the manager's data.
    Parcel direct;
    EXPECT_EQ(0, interface_cast<IHeadUnitMediaManager>(loop)->registerSource(name, 12, &direct));
    EXPECT_EQ(42, direct.readInt32());

    sp<FakeMediaDataService> service = new FakeMediaDataService();
    publish(kMediaDataService, service);
    sp<MediaDataClient> data = new MediaDataClient();
    EXPECT_EQ(0, data->attachMediaDataService());
    EXPECT_EQ(0, data->publishMediaData(String8("DABError"), 2));
    EXPECT_EQ((std::vector<std::string>{"attach", "DABError=2"}), service->calls);

    loop->dead = true;
    EXPECT_EQ(-1, source->publishMediaInfo(info));
}

TEST_F(HeadUnitBackendsTest, PowerTransitionsRunInOrderOnOneThreadOfTheirOwn) {
    sp<FakeSysCtrlService> manager = new FakeSysCtrlService();
    publish(kSysCtrlService, manager);
    TestPowerListener power;
    {
        SysCtrlManagerIF sysCtrl(&power);
        power.manager = &sysCtrl;
        EXPECT_EQ(0, sysCtrl.attachSysCtrlMng(13, 0));
        ASSERT_NE(nullptr, manager->listener);

        manager->listener->onResume();
        manager->listener->onSuspend();
        manager->listener->onResume();
        ASSERT_TRUE(waitUntil([&] { return manager->journal.calls().size() == 4; }, 5s));
        EXPECT_EQ((std::vector<std::string>{"resume", "suspend", "resume"}), power.journal.calls());
        // The answers name the module by the listener it attached.
        EXPECT_EQ((std::vector<std::string>{"attach 13 0", "resumed", "suspended", "resumed"}),
                  manager->journal.calls());
        EXPECT_EQ(1u, power.journal.threads().size());
        EXPECT_EQ(0u, power.journal.threads().count(std::this_thread::get_id()));
        power.manager = nullptr;
    }
    // Leaving detaches: the manager is told, and a late transition reaches nobody.
    EXPECT_EQ("detach", manager->journal.calls().back());
    manager->listener->onResume();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(3u, power.journal.calls().size());
}

TEST_F(HeadUnitBackendsTest, StoppingTheListenerWaitsForTheTransitionBeingTold) {
    TestPowerListener power;
    std::promise<void> gate;
    power.gate = &gate;
    sp<SysCtrlListenerBinder> binder = new SysCtrlListenerBinder(&power);
    binder->onResume();
    ASSERT_TRUE(waitUntil([&] { return power.inResume.load(); }, 5s));

    std::atomic<bool> stopped{false};
    std::thread stopper([&] {
        binder->stop();
        stopped = true;
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(stopped.load());  // the resume is still running
    gate.set_value();
    stopper.join();
    EXPECT_TRUE(stopped.load());
    EXPECT_EQ(std::vector<std::string>{"resume"}, power.journal.calls());

    power.gate = nullptr;
    binder->onSuspend();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(std::vector<std::string>{"resume"}, power.journal.calls());
}

TEST(HeadUnitInterfacesTest, SourceListenerCallsTravelWithTheirArgumentsAndAnswers) {
    sp<RecordingListener> target = new RecordingListener();
    sp<Loopback> loop;
    sp<IHeadUnitSourceListener> proxy = through<IHeadUnitSourceListener>(target, &loop);
    ASSERT_NE(IInterface::asBinder(proxy), IInterface::asBinder(target));

    EXPECT_EQ(1, proxy->onRequestActivation(0));
    target->answer = 0;
    EXPECT_EQ(0, proxy->onRequestDeactivation(1));
    proxy->onReqPublishMediaInfo();
    proxy->onSourceRelease(3);
    proxy->onNotify(100, 100, 0, nullptr);
    Parcel data;
    data.writeInt32(9);
    proxy->onNotify(7, 8, 9, &data);
    Parcel reply;
    EXPECT_EQ(5, proxy->onRequestPrivateData(2, nullptr, &reply));
    ASSERT_EQ(4u, reply.dataSize());
    EXPECT_EQ(77, reply.readInt32());
    EXPECT_EQ((std::vector<std::string>{"activate 0", "deactivate 1", "publish", "release 3", "notify 100 100 0 null",
                                        "notify 7 8 9 data 9", "private 2 null"}),
              target->calls);

    // A source that cannot be reached counts as a failed activation.
    loop->dead = true;
    target->answer = 1;
    EXPECT_EQ(0, proxy->onRequestActivation(0));
    EXPECT_EQ(-1, proxy->onRequestPrivateData(2, nullptr, &reply));
}

// The commands' answers are checked across processes; a dead peer is the caller's transport
// error.
TEST(HeadUnitInterfacesTest, CommandChannelReturnsTheTransportErrorOfADeadPeer) {
    sp<Loopback> loop;
    sp<ICommandChannel> proxy = through<ICommandChannel>(new QuietChannel(), &loop);
    loop->dead = true;
    String8 out;
    EXPECT_EQ(DEAD_OBJECT, proxy->execute(String8("ping"), 0, &out));
}

// A request to the media manager for source "dab" with the given token, filled in by fill.
status_t toManager(const sp<FakeManager>& manager, uint32_t code, void (*fill)(Parcel*) = nullptr,
                   const String16& token = IHeadUnitMediaManager::descriptor) {
    Parcel data, reply;
    data.writeInterfaceToken(token);
    data.writeString8(String8("dab"));
    if (fill != nullptr) fill(&data);
    return manager->transact(code, data, &reply);
}

TEST(HeadUnitInterfacesTest, StubsRefuseMalformedRequests) {
    sp<FakeManager> manager = new FakeManager();
    EXPECT_EQ(PERMISSION_DENIED, toManager(manager, IHeadUnitMediaManager::SET_MEDIA_STATUS, [](Parcel* p) {
                  p->writeInt32(3);
              }, IHeadUnitSysCtrl::descriptor));
    EXPECT_EQ(BAD_VALUE, toManager(manager, IHeadUnitMediaManager::CREATE_SOURCE,
                                   [](Parcel* p) { p->writeStrongBinder(nullptr); }));
    EXPECT_EQ(nullptr, manager->listener);
    // A record announcing more fields than it holds.
    EXPECT_EQ(BAD_VALUE, toManager(manager, IHeadUnitMediaManager::PUBLISH_MEDIA_INFO, [](Parcel* p) {
                  p->writeInt32(3);
                  p->writeInt32(MediaInfoParcel::FIELD_PRESET_STATION_NUMBER);
              }));
    EXPECT_TRUE(manager->fields.empty());
    EXPECT_EQ(BAD_VALUE, toManager(manager, IHeadUnitMediaManager::SET_MEDIA_STATUS));
    EXPECT_EQ(0, manager->status);
    // Codes the interface does not have are the base binder's business.
    EXPECT_EQ(UNKNOWN_TRANSACTION, toManager(manager, IHeadUnitMediaManager::SET_MEDIA_STATUS + 1));

    sp<RecordingListener> listener = new RecordingListener();
    Parcel shortNotify;
    shortNotify.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
    shortNotify.writeInt32(100);
    EXPECT_EQ(BAD_VALUE,
              listener->transact(IHeadUnitSourceListener::ON_NOTIFY, shortNotify, nullptr, IBinder::FLAG_ONEWAY));
    EXPECT_TRUE(listener->calls.empty());
}

}  // namespace
