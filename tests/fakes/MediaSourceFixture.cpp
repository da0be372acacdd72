#include "MediaSourceFixture.h"

using namespace android;

void MediaSourceFixture::SetUp() {
    ServiceFixture::SetUp();
    // Replace the fixture's service, which has no controllers; the old one lets go of the
    // tuner before the new one takes it.
    mService.clear();
    mMediaManager = new FakeMediaManager();
    MediaManagerBackend::setCurrent(mMediaManager);
    mController = new DABSourceController();
    mTAController = new DABTASourceController();
    String8 dab(DABSourceController::kSourceName);
    String8 ta(DABTASourceController::kSourceName);
    mController->setSource(Source::create(dab, mController));
    mTAController->setSource(Source::create(ta, mTAController));
    mService = new DABPlayerService(mController, mTAController);
    mController->setService(mService);
    mTAController->setService(mService);
}

void MediaSourceFixture::TearDown() {
    wp<MediaSourceController> controllers[] = {mController, mTAController};
    for (const sp<MediaSourceController>& c : {sp<MediaSourceController>(mController),
                                               sp<MediaSourceController>(mTAController)}) {
        reconnectThreadOf(c);
        c->stopReconnection();
        // Controller, service and source hold each other for the life of a process.
        c->setService(nullptr);
        c->setSource(nullptr);
    }
    mController.clear();
    mTAController.clear();
    ServiceFixture::TearDown();
    for (const wp<Thread>& t : mThreadsSeen) {
        EXPECT_TRUE(waitForGone(t)) << "reconnection thread still running";
    }
    for (const wp<MediaSourceController>& c : controllers) {
        EXPECT_EQ(nullptr, c.promote()) << "controller still referenced";
    }
    MediaManagerBackend::setCurrent(nullptr);
    mMediaManager.clear();
}

sp<Thread> MediaSourceFixture::reconnectThreadOf(const sp<MediaSourceController>& c) {
    sp<Thread> thread = c->reconnectThread();
    if (thread != nullptr) mThreadsSeen.push_back(thread);
    return thread;
}
