#ifndef DAB_SERVER_DABSOURCECONTROLLER_H
#define DAB_SERVER_DABSOURCECONTROLLER_H

#include "MediaSourceController.h"

// The media manager's listener of the DAB source "dab": activates and deactivates the
// service's DAB source (type 0) and carries every media-info record and the connection
// status of the service to the media manager.
class DABSourceController : public MediaSourceController {
public:
    // The media-manager source this controller serves; its reconnection thread re-creates it.
    static constexpr const char kSourceName[] = "dab";

    // Main thread at start-up; non-blocking.
    DABSourceController();

protected:
    ~DABSourceController() override;

private:
    // Binder thread of a reconnect request; non-blocking.
    android::sp<android::Thread> newReconnectThread(
            const android::sp<android::Thread>& previous) override;
};

#endif  // DAB_SERVER_DABSOURCECONTROLLER_H
