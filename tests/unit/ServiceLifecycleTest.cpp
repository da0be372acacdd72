#include "DABListProcessThread.h"
#include "ServiceFixture.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace android;
using ::testing::ElementsAre;

namespace {

class ServiceLifecycleTest : public ServiceFixture {};

// Construction (tuner, attach, log line) is pinned by the start-up test.
TEST_F(ServiceLifecycleTest, NullCookieIsIgnoredAndDestructionFinalisesTheTuner) {
    EXPECT_FALSE(peer().isResumed());
    EXPECT_FALSE(peer().isActive());
    DABPlayerService::notifyCallback(nullptr, media_lib_dab::DAB_NOTIFY_BAND, 1);
    EXPECT_TRUE(mLog->contains("player is NULL!"));
    sp<FakeTuner> tuner = mTuner;
    mService.clear();
    EXPECT_TRUE(tuner->finalized());
    EXPECT_TRUE(mLog->contains("DABPlayer destruct"));
    mService = new DABPlayerService(nullptr, nullptr);  // for TearDown
}

TEST_F(ServiceLifecycleTest, DeactivationBeforeFirstResumeForgetsThePendingActivation) {
    EXPECT_EQ(0, mService->activate(0));
    EXPECT_EQ(0, mService->deactivate(0));
    EXPECT_FALSE(peer().activatePending());
    resume();
    EXPECT_TRUE(peer().isResumed());
    EXPECT_FALSE(peer().isActive());
    EXPECT_EQ(nullptr, peer().listWorker());
    EXPECT_TRUE(mProcess->calls().empty());
}

TEST_F(ServiceLifecycleTest, PendingActivationIsReplayedAtEveryLaterResume) {
    sp<FakeClient> cb;
    sp<IDABPlayer> client = connect(&cb);
    EXPECT_EQ(0, mService->activate(0));
    resume();
    sp<DABListProcessThread> first = peer().listWorker();
    ASSERT_NE(nullptr, first);
    mWorkersSeen.push_back(first);
    first.clear();

    EXPECT_EQ(0, mService->deactivate(0));
    EXPECT_FALSE(peer().isActive());
    EXPECT_EQ(nullptr, peer().listWorker());
    mSysCtrl->suspend();
    cb->clear();
    resume();

    EXPECT_TRUE(peer().isActive());
    sp<DABListProcessThread> second = peer().listWorker();
    EXPECT_NE(nullptr, second);
    EXPECT_TRUE(cb->waitForNote(DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED));
    EXPECT_THAT(mSysCtrl->calls(),
                ElementsAre("attach(13,0)", "finishResume", "finishSuspend", "finishResume"));
}

// Suspend answers at once and keeps the source active; deactivating the TA source leaves the
// DAB worker running; a second DAB activation replaces it.
TEST_F(ServiceLifecycleTest, SuspendAndTaDeactivationKeepTheWorkerAndReactivationReplacesIt) {
    activate(0);
    sp<DABListProcessThread> worker = peer().listWorker();
    ASSERT_NE(nullptr, worker);
    mSysCtrl->suspend();
    EXPECT_EQ("finishSuspend", mSysCtrl->calls().back());
    EXPECT_TRUE(peer().isActive());
    EXPECT_EQ(worker, peer().listWorker());
    EXPECT_EQ(0, mService->deactivate(1));
    EXPECT_FALSE(peer().isActive());
    EXPECT_EQ(worker, peer().listWorker());
    EXPECT_EQ(-1, mService->manualUp());
    EXPECT_THAT(mProcess->calls(), ElementsAre("setOomAdj(5,0)", "setOomAdj(5,2)"));
    mWorkersSeen.push_back(worker);
    activate(0);
    EXPECT_NE(worker, peer().listWorker());
    worker.clear();
}

// That the resume then stays unanswered is pinned by the lifecycle replay script.
TEST_F(ServiceLifecycleTest, ResumeWithoutMediaDataClientIsReported) {
    mMediaData->setCreateFails(true);
    resume();
    const std::vector<HostLog::Line> lines = mLog->lines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const HostLog::Line& l) {
        return l.priority == 6 && l.message.find("[0x20300001][in constructor of DABPlayer, new "
                                                 "MediaDataClient() failed, return NULL]\r\n") !=
                                          std::string::npos;
    }));
}

TEST_F(ServiceLifecycleTest, FanOutReachesEveryClientInTheOrderSentAndAReleasedObjectLeaves) {
    mService->exeNotify(1, 2, 0, nullptr);
    EXPECT_TRUE(mLog->contains("DABPlayerService exeNotify size:0\n"));
    sp<FakeClient> a, b, c;
    sp<IDABPlayer> ca = connect(&a), cb = connect(&b), cc = connect(&c);
    EXPECT_EQ(3u, peer().clientCount());
    mService->exeNotify(1, 3, 0, nullptr);
    Parcel parcel;
    parcel.writeCString("Radio One");
    parcel.setDataPosition(0);
    mService->exeNotify(9, 0, 0, &parcel);
    for (const sp<FakeClient>& f : {a, b, c}) {
        EXPECT_THAT(f->summary(), ElementsAre("1:3:0", "9:0:0:\"Radio One\""));
    }
    EXPECT_TRUE(mLog->contains("DABPlayerService exeNotify size:3\n"));

    // A released client object leaves the registry.
    ca.clear();
    EXPECT_EQ(2u, peer().clientCount());
    EXPECT_TRUE(mLog->contains("DABPlayer destruct"));
    EXPECT_TRUE(mLog->contains("DABPlayerService::DABPlayer::disconnect"));
}

// A callback that drops the application's references to client objects while being notified.
class DroppingClient : public FakeClient {
public:
    std::vector<sp<IDABPlayer>> toDrop;
    void notify(int msg, int ext1, int ext2, const Parcel* obj) override {
        FakeClient::notify(msg, ext1, ext2, obj);
        toDrop.clear();
    }
};

TEST_F(ServiceLifecycleTest, ClientDroppedDuringFanOutIsDestroyedWithoutDeadlock) {
    sp<DroppingClient> dropper = new DroppingClient();
    sp<IDABPlayer> self = mService->createClient(1, dropper);
    sp<FakeClient> other;
    sp<IDABPlayer> otherClient = connect(&other);
    // The dropper releases its own client object and the other one from inside the fan-out.
    dropper->toDrop = {self, otherClient};
    self.clear();
    otherClient.clear();

    mService->exeNotify(4, 6, 0, nullptr);

    EXPECT_EQ(0u, peer().clientCount());
    EXPECT_EQ(1, dropper->count(4));
    // The other client was notified before being dropped, or skipped because it was gone.
    EXPECT_TRUE(other->count(4) == 1 || mLog->contains("DABPlayerService::exeNotify spClient NULL"));
    mService->exeNotify(4, 7, 0, nullptr);
    EXPECT_EQ(1, dropper->count(4));
}

}  // namespace
