#include "DABPlayerService.h"
#include "DABServiceStartup.h"
#include "FakeMediaManager.h"
#include "FakePlatform.h"
#include "FakeTuner.h"
#include "MediaSourceController.h"
#include "BinderHostHooks.h"
#include "HostLog.h"
#include "HostMutex.h"

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

using namespace android;

namespace {

const int kOutputLogTagId = static_cast<int>(0x80000001u);

// Name service that remembers what was published and what process support had seen then.
class RecordingServiceManager : public IServiceManager {
public:
    explicit RecordingServiceManager(const sp<FakeProcessSupport>& process) : mProcess(process) {}

    // Any thread, none of these blocks beyond the lock.
    sp<IBinder> getService(const String16& name) const override { return checkService(name); }
    sp<IBinder> checkService(const String16& name) const override {
        HostMutex::Autolock lock(mLock);
        auto it = mServices.find(String8(name).string());
        return it == mServices.end() ? nullptr : it->second;
    }
    status_t addService(const String16& name, const sp<IBinder>& service,
                        bool allowIsolated) override {
        std::vector<std::string> seen = mProcess->calls();
        HostMutex::Autolock lock(mLock);
        mServices[String8(name).string()] = service;
        mAdded.push_back(std::string(String8(name).string()) + (allowIsolated ? ":isolated" : ""));
        mProcessCallsAtAdd = seen;
        return NO_ERROR;
    }
    Vector<String16> listServices() override { return Vector<String16>(); }
    std::vector<std::string> added() const {
        HostMutex::Autolock lock(mLock);
        return mAdded;
    }
    std::vector<std::string> processCallsAtAdd() const {
        HostMutex::Autolock lock(mLock);
        return mProcessCallsAtAdd;
    }
    void clear() {
        HostMutex::Autolock lock(mLock);
        mServices.clear();
    }

private:
    const sp<FakeProcessSupport> mProcess;
    mutable HostMutex mLock;
    std::map<std::string, sp<IBinder>> mServices GUARDED_BY(mLock);
    std::vector<std::string> mAdded GUARDED_BY(mLock);
    std::vector<std::string> mProcessCallsAtAdd GUARDED_BY(mLock);
};

}  // namespace

// Start-up in this process, without joining the binder thread pool, on fakes of every library.
class StartupTest : public ::testing::Test {
protected:
    void SetUp() override {
        mLog.reset(new HostLog::Capture());
        media_lib_dab::DABLibBackend::setCurrent(mTuner = new FakeTuner());
        MediaDataBackend::setCurrent(mMediaData = new FakeMediaData());
        SysCtrlBackend::setCurrent(mSysCtrl = new FakeSysCtrl());
        ProcessSupportBackend::setCurrent(mProcess = new FakeProcessSupport());
        MediaManagerBackend::setCurrent(mMediaManager = new FakeMediaManager());
        setDefaultServiceManager(mServiceManager = new RecordingServiceManager(mProcess));
    }

    void TearDown() override {
        // What start-up left alive holds itself in cycles for the life of a process.
        std::vector<wp<MediaSourceController>> controllers;
        for (const char* name : {"dab", "tadab"}) {
            sp<ISourceListener> listener = mMediaManager->listener(name);
            sp<MediaSourceController> c = dynamic_cast<MediaSourceController*>(listener.get());
            if (c == nullptr) continue;
            controllers.push_back(c);
            c->stopReconnection();
            c->setService(nullptr);
            c->setSource(nullptr);
        }
        wp<IBinder> service = mServiceManager->checkService(String16("DABPlayer"));
        mServiceManager->clear();
        setDefaultServiceManager(nullptr);
        mServiceManager.clear();
        EXPECT_EQ(nullptr, service.promote()) << "service still referenced";
        for (const wp<MediaSourceController>& c : controllers) {
            EXPECT_EQ(nullptr, c.promote()) << "controller still referenced";
        }
        media_lib_dab::DABLibBackend::setCurrent(nullptr);
        MediaDataBackend::setCurrent(nullptr);
        SysCtrlBackend::setCurrent(nullptr);
        ProcessSupportBackend::setCurrent(nullptr);
        MediaManagerBackend::setCurrent(nullptr);
        mLog.reset();
    }

    // The one error report written, checked for code, text and form.
    void expectOneCreationFailure(const std::string& text) {
        std::vector<HostLog::Line> reports;
        for (const HostLog::Line& line : mLog->lines()) {
            if (line.priority == 6) reports.push_back(line);
        }
        ASSERT_EQ(1u, reports.size());
        EXPECT_EQ(kOutputLogTagId, reports[0].tagId);
        EXPECT_FALSE(reports[0].hasTag);
        const std::regex form("^\\[[^\\]]+:[0-9]+\\]\\[0x20300001\\]\\[(.*)\\]\r\n$");
        std::smatch m;
        ASSERT_TRUE(std::regex_match(reports[0].message, m, form)) << reports[0].message;
        EXPECT_EQ(text, m[1].str());
    }

    std::unique_ptr<HostLog::Capture> mLog;
    sp<FakeTuner> mTuner;
    sp<FakeMediaData> mMediaData;
    sp<FakeSysCtrl> mSysCtrl;
    sp<FakeProcessSupport> mProcess;
    sp<FakeMediaManager> mMediaManager;
    sp<RecordingServiceManager> mServiceManager;
};

TEST_F(StartupTest, RegistersBothSourcesThenPublishesTheServiceThenGoesIdle) {
    ASSERT_EQ(0, dabplayer_service_start(false));

    // Which controller registers under which name and code, and the attachment to the system
    // control manager, open every replay transcript.
    EXPECT_EQ(std::vector<std::string>({"DABPlayer"}), mServiceManager->added());
    EXPECT_EQ(std::vector<std::string>({"drop_privileges"}), mServiceManager->processCallsAtAdd());
    EXPECT_EQ(std::vector<std::string>({"drop_privileges", "setOomAdj(5,2)"}), mProcess->calls());
    EXPECT_TRUE(mTuner->initialized());

    // Both registration lines untagged at debug priority, and the service constructed only after.
    std::vector<std::string> regLines;
    for (const HostLog::Line& line : mLog->lines()) {
        if (line.tagId != kOutputLogTagId) continue;
        regLines.push_back(line.message);
        EXPECT_EQ(3, line.priority);
        EXPECT_FALSE(line.hasTag);
    }
    EXPECT_EQ(std::vector<std::string>({"DABSource main: registerSource result = 0, data length = 0",
                                        "DABSource main: registerSource ta result = 0, data length = 0"}),
              regLines);
    const std::vector<std::string> all = mLog->messages();
    ASSERT_GE(all.size(), 3u);
    EXPECT_EQ(regLines[1], all[1]);
    EXPECT_EQ("DABPlayerService construct", all[2]);
}

// A registration error is only logged; requests during registration find no service and fail.
TEST_F(StartupTest, RegistrationErrorAndEarlyRequestsDoNotStopTheStartUp) {
    mMediaManager->setRegisterResult(-38, 2);
    std::vector<int> answers;
    mMediaManager->setRegisterHook([&](const std::string& name) {
        answers.push_back(mMediaManager->activate(name));
        mMediaManager->requestPublish(name);
    });
    ASSERT_EQ(0, dabplayer_service_start(false));
    EXPECT_TRUE(mLog->contains("DABSource main: registerSource result = -38, data length = 8"));
    EXPECT_TRUE(mLog->contains("DABSource main: registerSource ta result = -38, data length = 8"));
    EXPECT_EQ(std::vector<int>({0, 0}), answers);
    EXPECT_TRUE(mLog->contains("DABSourceController onRequestActivation, Activation result -1"));
    EXPECT_TRUE(mLog->contains("DABTASourceController onRequestActivation, Activation result -1"));
    EXPECT_EQ(2, mLog->count("onReqPublishMediaInfo player is null"));
    EXPECT_EQ(std::vector<std::string>({"DABPlayer"}), mServiceManager->added());
}

// The TA source refused is in Replay.log_hygiene.
TEST_F(StartupTest, DabSourceRefusedEndsWithStatusOneAndOneReport) {
    mMediaManager->refuseCreate(-1, "dab");
    EXPECT_EQ(1, dabplayer_service_start(false));
    expectOneCreationFailure("in main Source::create failed!");
    EXPECT_EQ(1u, mMediaManager->attempts().size());
    EXPECT_TRUE(mMediaManager->registrations().empty());
    EXPECT_TRUE(mServiceManager->added().empty());
    EXPECT_FALSE(mTuner->initialized());
    EXPECT_EQ(std::vector<std::string>({"drop_privileges"}), mProcess->calls());
}
