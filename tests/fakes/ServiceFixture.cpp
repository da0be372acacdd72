#include "ServiceFixture.h"

#include "TunerListAnswerer.h"

using namespace android;

void ServiceFixture::SetUp() {
    mLog.reset(new HostLog::Capture());
    mTuner = new FakeTuner();
    mMediaData = new FakeMediaData();
    mSysCtrl = new FakeSysCtrl();
    mProcess = new FakeProcessSupport();
    media_lib_dab::DABLibBackend::setCurrent(mTuner);
    MediaDataBackend::setCurrent(mMediaData);
    SysCtrlBackend::setCurrent(mSysCtrl);
    ProcessSupportBackend::setCurrent(mProcess);
    mService = new DABPlayerService(nullptr, nullptr);
}

void ServiceFixture::TearDown() {
    sp<DABListProcessThread> worker = peer().listWorker();
    if (worker != nullptr) mWorkersSeen.push_back(worker);
    worker.clear();
    // A worker holding a list request or wait event would keep teardown waiting (and call
    // back into the service) for up to 5 seconds: end what it holds and let it stop.
    for (const wp<DABListProcessThread>& w : mWorkersSeen) {
        sp<DABListProcessThread> running = w.promote();
        if (running != nullptr) {
            EXPECT_TRUE(stopAndDrainWorker(running)) << "list worker did not stop";
        }
    }
    // Every client object the test made must be gone with its application reference.
    EXPECT_EQ(0u, peer().clientCount()) << "client registry not empty";
    wp<DABPlayerService> weak = mService;
    mService.clear();
    EXPECT_EQ(nullptr, weak.promote()) << "service still referenced";
    for (const wp<DABListProcessThread>& w : mWorkersSeen) {
        EXPECT_TRUE(waitForGone(w)) << "list worker still running";
    }
    media_lib_dab::DABLibBackend::setCurrent(nullptr);
    MediaDataBackend::setCurrent(nullptr);
    SysCtrlBackend::setCurrent(nullptr);
    ProcessSupportBackend::setCurrent(nullptr);
    mLog.reset();
}

void ServiceFixture::resume() { mSysCtrl->resume(); }

void ServiceFixture::activate(int sourceType) {
    if (!peer().isResumed()) resume();
    sp<DABListProcessThread> before = peer().listWorker();
    if (before != nullptr) mWorkersSeen.push_back(before);
    ASSERT_EQ(0, mService->activate(sourceType));
}

sp<IDABPlayer> ServiceFixture::connect(sp<FakeClient>* callback) {
    *callback = new FakeClient();
    return mService->createClient(1234, *callback);
}
