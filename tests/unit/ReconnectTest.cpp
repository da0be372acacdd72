#include "MediaSourceFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace android;
using Ms = std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {
const char kSuccess[] = "ReConnectServiceThread reconnect Success !!";
const char kLoopLine[] = "ReConnectServiceThread reconnecting.......";
const char kAttemptLine[] = "ReConnectServiceThread reconnecting....";
const char kGapLine[] = "ReConnectServiceThread::threadLoop() once gap=1000000";
}  // namespace

// These tests wait on the real one-second retry pause; time limits are generous.
class ReconnectTest : public MediaSourceFixture {
protected:
    void SetUp() override {
        MediaSourceFixture::SetUp();
        mMediaManager->clearRecords();
        mLog->clear();
    }

    sp<Thread> requestReconnect(const sp<MediaSourceController>& controller,
                                const std::string& name) {
        mMediaManager->notify(name, 100, 100, 0);
        return reconnectThreadOf(controller);
    }

    bool waitForLine(const std::string& text, int count = 1,
                     Ms timeout = Ms(10000)) {
        return mMediaManager->waitFor([&] { return mLog->count(text) >= count; }, timeout);
    }

    bool waitForAttempts(const std::string& name, size_t count) {
        return mMediaManager->waitFor(
                [&] { return mMediaManager->attempts(name).size() >= count; });
    }
};

TEST_F(ReconnectTest, SourceFailingForTwoSecondsIsReCreatedAtTheThirdAttempt) {
    mMediaManager->refuseCreate(2, "dab");
    sp<Thread> thread = requestReconnect(mController, "dab");
    ASSERT_NE(nullptr, thread);
    ASSERT_TRUE(waitForLine(kSuccess));
    thread->join();

    const std::vector<FakeMediaManager::Attempt> attempts = mMediaManager->attempts();
    ASSERT_EQ(3u, attempts.size());
    for (size_t i = 0; i < attempts.size(); ++i) {
        EXPECT_EQ("dab", attempts[i].name);
        EXPECT_EQ(i == 2, attempts[i].accepted) << i;
        EXPECT_EQ(sp<ISourceListener>(mController), attempts[i].listener.promote());
        // One attempt per second plus the attempt's own time.
        if (i > 0) {
            EXPECT_GE(attempts[i].when - attempts[i - 1].when, Ms(950)) << i;
        }
    }
    EXPECT_EQ(std::vector<std::string>({
                      "DABSourceController onNotify: msg = 100, ext1 = 100, ext2 = 0, data = 0",
                      "In constructor of ReConnectServiceThread()",
                      kLoopLine, kAttemptLine, kGapLine,
                      kLoopLine, kAttemptLine, kGapLine,
                      kLoopLine, kAttemptLine, "ReCreatSource: registerSource result = 0", kSuccess,
              }),
              mLog->messages("DABSource"));
    ASSERT_EQ(1u, mMediaManager->registrations().size());
    EXPECT_EQ(12, mMediaManager->registrations()[0].code);
    // Never connected: the media manager hears "not connected".
    ASSERT_EQ(1u, mMediaManager->statuses("dab").size());
    EXPECT_EQ(MEDIA_STATUS_DISCONNECTED, mMediaManager->statuses("dab")[0].status);

    MediaInfoParcel info;
    EXPECT_EQ(0, mController->publishMediaInfo(info));
    EXPECT_EQ(1u, mMediaManager->records("dab").size());
}

TEST_F(ReconnectTest, StatusReportedWhileSourceIsAbsentIsLostAndTheEarlierOneRestored) {
    mController->setMediaStatus(1);
    mMediaManager->clearRecords();
    mMediaManager->refuseCreate(-1);
    requestReconnect(mController, "dab");
    ASSERT_TRUE(waitForAttempts("dab", 1));

    MediaInfoParcel info;
    EXPECT_EQ(1, mController->publishMediaInfo(info));
    EXPECT_TRUE(mLog->contains("mSource == NULL"));
    mController->setMediaStatus(2);
    EXPECT_EQ(1, mController->mediaStatus());
    EXPECT_TRUE(mMediaManager->statuses().empty());

    mMediaManager->allowCreate();
    ASSERT_TRUE(waitForLine(kSuccess));
    ASSERT_EQ(1u, mMediaManager->statuses().size());
    EXPECT_EQ(MEDIA_STATUS_CONNECTED, mMediaManager->statuses("dab")[0].status);
    EXPECT_EQ(1, mLog->count(kSuccess));
}

TEST_F(ReconnectTest, TaVariantReCreatesTadabOnlyAndARegistrationErrorStillCountsAsSuccess) {
    mMediaManager->setRegisterResult(-19);
    sp<Thread> thread = requestReconnect(mTAController, "tadab");
    ASSERT_TRUE(waitForLine(kSuccess));
    thread->join();
    EXPECT_EQ(1u, mMediaManager->registrations().size());
    EXPECT_TRUE(mLog->contains("DABTASourceController onNotify: msg = 100, ext1 = 100, ext2 = 0, data = 0"));
    EXPECT_TRUE(mLog->contains("ReCreatSource: registerSource result = -19"));
    EXPECT_EQ(0, mLog->count(kGapLine));
    // The DAB source is untouched.
    MediaInfoParcel info;
    EXPECT_EQ(0, mController->publishMediaInfo(info));
}

TEST_F(ReconnectTest, SecondRequestStopsTheRetryingThreadAndItsSuccessorWaitsForIt) {
    mMediaManager->refuseCreate(-1);
    sp<Thread> first = requestReconnect(mController, "dab");
    ASSERT_TRUE(waitForAttempts("dab", 1));

    // The request does not wait for the old thread, which is in its one-second pause.
    const auto before = steady_clock::now();
    sp<Thread> second = requestReconnect(mController, "dab");
    EXPECT_LT(steady_clock::now() - before, Ms(500));
    ASSERT_NE(first, second);
    wp<Thread> weakFirst = first;
    first.clear();

    mMediaManager->allowCreate();
    ASSERT_TRUE(waitForLine(kSuccess));
    second->join();
    EXPECT_TRUE(waitForGone(weakFirst));
    EXPECT_EQ(1, mMediaManager->acceptedCount("dab"));
    // The successor's first attempt waited for the old thread's pause to end.
    const std::vector<FakeMediaManager::Attempt> attempts = mMediaManager->attempts("dab");
    ASSERT_EQ(2u, attempts.size());
    EXPECT_GE(attempts[1].when - attempts[0].when, Ms(950));
    EXPECT_EQ(1, mLog->count(kSuccess));
    // The old thread ended after its pause without another attempt.
    EXPECT_EQ(1, mLog->count(kGapLine));
    EXPECT_EQ(2, mLog->count(kAttemptLine));
    EXPECT_EQ(1, mLog->count("In destructor of ReConnectServiceThread()"));
}
