#include "DABServerDefs.h"
#include "MediaSourceFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace android;

namespace {

std::vector<int> statusValues(const std::vector<FakeMediaManager::Status>& statuses) {
    std::vector<int> out;
    for (const FakeMediaManager::Status& s : statuses) out.push_back(s.status);
    return out;
}

}  // namespace

// Controllers as between source registration and setService at start-up: sources, no service.
class UnboundControllerTest : public ::testing::Test {
protected:
    void SetUp() override {
        mLog.reset(new HostLog::Capture());
        mMediaManager = new FakeMediaManager();
        MediaManagerBackend::setCurrent(mMediaManager);
        mController = new DABSourceController();
        mTAController = new DABTASourceController();
        String8 dab(DABSourceController::kSourceName);
        String8 ta(DABTASourceController::kSourceName);
        mController->setSource(Source::create(dab, mController));
        mTAController->setSource(Source::create(ta, mTAController));
    }

    void TearDown() override {
        wp<DABSourceController> weak = mController;
        wp<DABTASourceController> weakTa = mTAController;
        mController->setSource(nullptr);
        mTAController->setSource(nullptr);
        mController.clear();
        mTAController.clear();
        EXPECT_EQ(nullptr, weak.promote());
        EXPECT_EQ(nullptr, weakTa.promote());
        MediaManagerBackend::setCurrent(nullptr);
        mLog.reset();
    }

    std::unique_ptr<HostLog::Capture> mLog;
    sp<FakeMediaManager> mMediaManager;
    sp<DABSourceController> mController;
    sp<DABTASourceController> mTAController;
};

TEST_F(UnboundControllerTest, RequestsWithoutServiceFailWithMinusOneOrAreOnlyLogged) {
    EXPECT_EQ(0, mMediaManager->activate("dab"));
    EXPECT_EQ(0, mMediaManager->deactivate("dab"));
    EXPECT_EQ(0, mMediaManager->activate("tadab"));
    EXPECT_EQ(0, mMediaManager->deactivate("tadab"));
    // Request argument 1 is accepted without any action.
    for (const char* name : {"dab", "tadab"}) {
        EXPECT_EQ(1, mMediaManager->activate(name, 1));
        EXPECT_EQ(1, mMediaManager->deactivate(name, 1));
    }
    EXPECT_EQ(0, mController->onRequestPrivateData(3, nullptr, nullptr));
    EXPECT_EQ(0, mTAController->onRequestPrivateData(3, nullptr, nullptr));
    EXPECT_EQ(std::vector<std::string>({
                      "DABSourceController onRequestActivation, Activation result -1",
                      "DABSourceController onRequestDeactivation, DeActivation result -1",
                      "DABTASourceController onRequestActivation, Activation result -1",
                      "DABTASourceController onRequestDeactivation, DeActivation result -1",
                      "DABSourceController onRequestPrivateData",
                      "DABTASourceController onRequestPrivateData",
              }),
              mLog->messages("DABSource"));

    mLog->clear();
    mMediaManager->requestPublish("tadab");
    const std::vector<HostLog::Line> lines = mLog->lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("DABTASourceController::onReqPublishMediaInfo()", lines[0].message);
    EXPECT_EQ(3, lines[0].priority);
    EXPECT_EQ("onReqPublishMediaInfo player is null", lines[1].message);
    EXPECT_EQ(6, lines[1].priority);
    EXPECT_EQ(0x10002, lines[1].tagId);
    EXPECT_EQ("DABSource", lines[1].tag);
}

TEST_F(UnboundControllerTest, RecordsAndTheTwoKnownStatusesReachTheSource) {
    MediaInfoParcel info;
    info.writeDABLabel(String8("x"));
    EXPECT_EQ(0, mController->publishMediaInfo(info));
    EXPECT_EQ(0, mTAController->publishMediaInfo(info));
    EXPECT_EQ(1u, mMediaManager->records("dab").size());
    EXPECT_EQ(1u, mMediaManager->records("tadab").size());
    EXPECT_TRUE(mLog->contains("DABSourceController::publishMediaInfo"));
    EXPECT_TRUE(mLog->contains("DABTASourceController::publishMediaInfo"));

    // Status 1 goes out as 3, 2 as 2; others are ignored.
    mController->setMediaStatus(1);
    EXPECT_EQ(1, mController->mediaStatus());
    mController->setMediaStatus(2);
    mController->setMediaStatus(0);
    mController->setMediaStatus(3);
    EXPECT_EQ(std::vector<int>({3, 2}), statusValues(mMediaManager->statuses("dab")));
    EXPECT_EQ(2, mController->mediaStatus());
    EXPECT_EQ(2, mLog->count("DABSourceController: setMediaStatus ret=0"));
    EXPECT_EQ(2, mTAController->mediaStatus());
}

TEST_F(UnboundControllerTest, NotificationsOtherThanReconnectAreOnlyLogged) {
    Parcel data;
    data.writeInt32(42);
    data.setDataPosition(0);
    Parcel empty;
    mMediaManager->notify("dab", 100, 5, 1, &data);
    mMediaManager->notify("dab", 7, 100, 0, &empty);
    mMediaManager->notify("tadab", 100, 99, 0, nullptr);
    EXPECT_EQ(std::vector<std::string>({
                      "DABSourceController onNotify: msg = 100, ext1 = 5, ext2 = 1, data = 42",
                      "DABSourceController onNotify: msg = 7, ext1 = 100, ext2 = 0, data = 0",
                      "DABTASourceController onNotify: msg = 100, ext1 = 99, ext2 = 0, data = 0",
              }),
              mLog->messages("DABSource"));
    EXPECT_EQ(nullptr, mController->reconnectThread());
    MediaInfoParcel info;
    EXPECT_EQ(0, mController->publishMediaInfo(info)) << "source must be kept";
}

// Controllers bound to a service, as after start-up.
class BoundControllerTest : public MediaSourceFixture {};

// Activation and deactivation of either source, with their identities, are in the lifecycle
// replay; here the logged result, and a source release, which deactivates only with reason 0
// and without the deactivation request.
TEST_F(BoundControllerTest, ActivationLogsItsResultAndOnlyReleaseReasonZeroDeactivates) {
    resume();
    EXPECT_EQ(1, mMediaManager->activate("tadab"));
    EXPECT_EQ(DAB_SERVER_SOURCE_TA, peer().activeSourceType());
    EXPECT_TRUE(mLog->contains("DABTASourceController onRequestActivation, Activation result 0"));
    mTAController->onSourceRelease(1);
    EXPECT_EQ(1, peer().isActive());
    mTAController->onSourceRelease(0);
    EXPECT_EQ(0, peer().isActive());
    EXPECT_FALSE(mLog->contains("DeActivation result"));
}
