#include "DABSourceController.h"

#include "DABServerDefs.h"
#include "ReConnectServiceThread.h"

#include <new>

using namespace android;

DABSourceController::DABSourceController()
    : MediaSourceController(DAB_SERVER_SOURCE_DAB, "DABSourceController") {}

DABSourceController::~DABSourceController() {}

sp<Thread> DABSourceController::newReconnectThread(const sp<Thread>& previous) {
    return new (std::nothrow) ReConnectServiceThread(this, previous);
}
