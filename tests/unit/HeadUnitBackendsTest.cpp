// The player service process's backends of the media manager, media data and system control
// libraries, which reach the head-unit simulator over binder: without a simulator the
// libraries answer as unreachable; with one, calls and callbacks travel both ways, and the
// system control callbacks run on a thread of their own, in order.
#include <headunit/HeadUnitNames.h>
#include <headunit/IHeadUnitMediaData.h>
#include <headunit/IHeadUnitMediaManager.h>
#include <headunit/IHeadUnitSysCtrl.h>
#include <headunit/RemoteMediaDataBackend.h>
#include <headunit/RemoteMediaManagerBackend.h>
#include <headunit/RemoteSysCtrlBackend.h>
#include <headunit/SysCtrlListenerBinder.h>

#include "Eventually.h"
#include "BinderRuntime.h"

#include <binder/IServiceManager.h>
#include <mediadata/MediaDataClient.h>
#include <mediamanager/Source.h>
#include <sysctrl/SysCtrlManagerIF.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using namespace headunit;
using namespace std::chrono_literals;

namespace {

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

class FakeManager : public BnHeadUnitMediaManager {
public:
    std::mutex lock;
    std::vector<std::string> names;  // guarded by lock
    sp<IHeadUnitSourceListener> listener;
    std::vector<MediaInfoParcel::Field> fields;
    int status = 0;

    int createSource(const String8& name, const sp<IHeadUnitSourceListener>& l) override {
        std::lock_guard<std::mutex> g(lock);
        names.push_back(name.string());
        listener = l;
        return 0;
    }
    int registerSource(const String8&, int code, Parcel* reply) override {
        reply->writeInt32(1);
        return code == 12 ? 0 : -1;
    }
    int publishMediaInfo(const String8&, const MediaInfoParcel& info) override {
        std::lock_guard<std::mutex> g(lock);
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
    std::atomic<int> attaches{0};
    std::vector<std::pair<std::string, int>> values;
    int attach() override {
        ++attaches;
        return 0;
    }
    int publish(const String8& key, int value) override {
        values.emplace_back(key.string(), value);
        return 0;
    }
};

class FakeSysCtrlService : public BnHeadUnitSysCtrl {
public:
    std::mutex lock;
    std::vector<std::string> calls;  // guarded by lock
    sp<IHeadUnitSysCtrlListener> listener;

    int attach(const sp<IHeadUnitSysCtrlListener>& l, int moduleId, int) override {
        std::lock_guard<std::mutex> g(lock);
        listener = l;
        calls.push_back("attach " + std::to_string(moduleId));
        return 0;
    }
    int detach(const sp<IHeadUnitSysCtrlListener>& l) override { return record("detach", l); }
    int finishSuspend(const sp<IHeadUnitSysCtrlListener>& l) override { return record("suspended", l); }
    int finishResume(const sp<IHeadUnitSysCtrlListener>& l) override { return record("resumed", l); }
    std::vector<std::string> snapshot() {
        std::lock_guard<std::mutex> g(lock);
        return calls;
    }

private:
    int record(const char* what, const sp<IHeadUnitSysCtrlListener>& l) {
        std::lock_guard<std::mutex> g(lock);
        calls.push_back(std::string(what) +
                        (IInterface::asBinder(l) == IInterface::asBinder(listener) ? "" : " (stranger)"));
        return 0;
    }
};

// Records each transition with the thread it ran on; optionally answers it as the service does.
class TestPowerListener : public SysCtrlManagerListenerBase {
public:
    SysCtrlManagerIF* manager = nullptr;  // set to answer with finishSuspend/finishResume
    std::mutex lock;
    std::vector<std::string> calls;             // guarded by lock
    std::set<std::thread::id> threads;          // guarded by lock
    std::promise<void>* gate = nullptr;         // a resume waits for it when set
    std::atomic<bool> inResume{false};

    void onSuspend() override {
        record("suspend");
        if (manager != nullptr) manager->finishSuspend();
    }
    void onResume() override {
        inResume = true;
        if (gate != nullptr) gate->get_future().wait();
        record("resume");
        if (manager != nullptr) manager->finishResume();
        inResume = false;
    }
    std::vector<std::string> snapshot() {
        std::lock_guard<std::mutex> g(lock);
        return calls;
    }

private:
    void record(const char* what) {
        std::lock_guard<std::mutex> g(lock);
        calls.push_back(what);
        threads.insert(std::this_thread::get_id());
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
    static void publish(const char* name, const sp<IBinder>& service) {
        ASSERT_EQ(NO_ERROR, defaultServiceManager()->addService(String16(name), service));
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

TEST_F(HeadUnitBackendsTest, SourceCallsReachTheManagerAndItsRequestsReachTheListener) {
    sp<FakeManager> manager = new FakeManager();
    publish(kMediaManagerService, manager);
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
    EXPECT_EQ(0, source->publishMediaInfo(info));
    ASSERT_EQ(1u, manager->fields.size());
    EXPECT_STREQ("Nordwelle Pop", manager->fields[0].text.string());
    EXPECT_EQ(0, source->setMediaStatus(MEDIA_STATUS_CONNECTED));
    EXPECT_EQ(3, manager->status);
}

TEST_F(HeadUnitBackendsTest, MediaDataValuesReachTheService) {
    sp<FakeMediaDataService> service = new FakeMediaDataService();
    publish(kMediaDataService, service);
    sp<MediaDataClient> data = new MediaDataClient();
    EXPECT_EQ(0, data->attachMediaDataService());
    EXPECT_EQ(0, data->publishMediaData(String8("DABError"), 2));
    EXPECT_EQ(1, service->attaches.load());
    ASSERT_EQ(1u, service->values.size());
    EXPECT_EQ("DABError", service->values[0].first);
    EXPECT_EQ(2, service->values[0].second);
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
        ASSERT_TRUE(waitUntil([&] { return manager->snapshot().size() == 4; }, 5s));
        EXPECT_EQ((std::vector<std::string>{"resume", "suspend", "resume"}), power.snapshot());
        // The answers name the module by the listener it attached.
        EXPECT_EQ((std::vector<std::string>{"attach 13", "resumed", "suspended", "resumed"}),
                  manager->snapshot());
        EXPECT_EQ(1u, power.threads.size());
        EXPECT_EQ(0u, power.threads.count(std::this_thread::get_id()));
        power.manager = nullptr;
    }
    // Leaving detaches: the manager is told, and a late transition reaches nobody.
    EXPECT_EQ("detach", manager->snapshot().back());
    manager->listener->onResume();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(3u, power.snapshot().size());
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
    EXPECT_EQ(std::vector<std::string>{"resume"}, power.snapshot());

    power.gate = nullptr;
    binder->onSuspend();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(std::vector<std::string>{"resume"}, power.snapshot());
}

}  // namespace
