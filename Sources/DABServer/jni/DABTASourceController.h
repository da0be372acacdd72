#ifndef DAB_SERVER_DABTASOURCECONTROLLER_H
#define DAB_SERVER_DABTASOURCECONTROLLER_H

#include "MediaSourceController.h"

// The media manager's listener of the traffic-announcement source "tadab": activates and
// deactivates the service's TA source (type 1). The service publishes nothing through it.
class DABTASourceController : public MediaSourceController {
public:
    // The media-manager source this controller serves; its reconnection thread re-creates it.
    static constexpr const char kSourceName[] = "tadab";

    // Main thread at start-up; non-blocking.
    DABTASourceController();

protected:
    ~DABTASourceController() override;

private:
    // Binder thread of a reconnect request; non-blocking.
    android::sp<android::Thread> newReconnectThread(
            const android::sp<android::Thread>& previous) override;
};

#endif  // DAB_SERVER_DABTASOURCECONTROLLER_H
