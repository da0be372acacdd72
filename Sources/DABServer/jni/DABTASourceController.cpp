#include "DABTASourceController.h"

#include "DABServerDefs.h"
#include "ReConnectServiceThread.h"

#include <new>

using namespace android;

DABTASourceController::DABTASourceController()
    : MediaSourceController(DAB_SERVER_SOURCE_TA, "DABTASourceController") {}

DABTASourceController::~DABTASourceController() {}

sp<Thread> DABTASourceController::newReconnectThread(const sp<Thread>& previous) {
    return new (std::nothrow) ReConnectTAServiceThread(this, previous);
}
