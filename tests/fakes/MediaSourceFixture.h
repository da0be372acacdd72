#ifndef DAB_TESTS_MEDIASOURCEFIXTURE_H
#define DAB_TESTS_MEDIASOURCEFIXTURE_H

#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "FakeMediaManager.h"
#include "ServiceFixture.h"

#include <utils/Thread.h>

#include <vector>

// ServiceFixture whose service is built with the real source controllers, each holding its
// source ("dab", "tadab") in the recording media manager fake, as start-up wires them.
// TearDown stops reconnection threads and unties the controllers from service and sources,
// then checks that the controllers and every reconnection thread seen are gone.
class MediaSourceFixture : public ServiceFixture {
protected:
    void SetUp() override;
    void TearDown() override;

    // The controller's current reconnection thread, remembered for the teardown check.
    android::sp<android::Thread> reconnectThreadOf(const android::sp<MediaSourceController>& c);

    android::sp<FakeMediaManager> mMediaManager;
    android::sp<DABSourceController> mController;
    android::sp<DABTASourceController> mTAController;
    std::vector<android::wp<android::Thread>> mThreadsSeen;
};

#endif  // DAB_TESTS_MEDIASOURCEFIXTURE_H
