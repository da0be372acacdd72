#include "ReConnectServiceThread.h"

#include "DABLog.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"

#include <binder/Parcel.h>
#include <mediamanager/Source.h>
#include <utils/String8.h>

#include <unistd.h>

using namespace android;

namespace {
// Pause between two attempts while the media manager is not back.
constexpr int kRetryPauseUs = 1000000;
// Registration code of a source, as at start-up.
constexpr int kRegisterCode = 12;
// The controller's connection status that the media manager knows as "not connected".
constexpr int kStatusNotConnected = 2;
}  // namespace

template <class Controller>
ReConnectThread<Controller>::ReConnectThread(const sp<Controller>& controller,
                                             const sp<Thread>& previous)
    : Thread(false), mController(controller), mPrevious(previous) {
    DAB_LOGD(DAB_TAG_SOURCE, "In constructor of ReConnectServiceThread()");
}

template <class Controller>
ReConnectThread<Controller>::~ReConnectThread() {
    mController.clear();
    DAB_LOGD(DAB_TAG_SOURCE, "In destructor of ReConnectServiceThread()");
}

template <class Controller>
status_t ReConnectThread<Controller>::readyToRun() {
    // The replaced thread was asked to exit; it ends after its current attempt or pause.
    if (mPrevious != nullptr) {
        mPrevious->join();
        mPrevious.clear();
    }
    return NO_ERROR;
}

template <class Controller>
bool ReConnectThread<Controller>::threadLoop() {
    DAB_LOGD(DAB_TAG_SOURCE, "ReConnectServiceThread reconnecting.......");
    const bool created = ReCreatSource();
    if (mController != nullptr) mController->noteReconnectAttempt(created);
    if (created) {
        DAB_LOGD(DAB_TAG_SOURCE, "ReConnectServiceThread reconnect Success !!");
        return false;
    }
    DAB_LOGD(DAB_TAG_SOURCE, "ReConnectServiceThread::threadLoop() once gap=%d", kRetryPauseUs);
    usleep(kRetryPauseUs);
    return true;
}

template <class Controller>
bool ReConnectThread<Controller>::ReCreatSource() {
    DAB_LOGD(DAB_TAG_SOURCE, "ReConnectServiceThread reconnecting....");
    if (mController == nullptr) return false;
    String8 name(Controller::kSourceName);
    sp<Source> source = Source::create(name, mController);
    if (source == nullptr) return false;
    mController->setSource(source);
    Parcel reply;
    const int result = source->registerSource(kRegisterCode, &reply);
    source->setMediaStatus(mController->mediaStatus() == kStatusNotConnected
                                   ? MEDIA_STATUS_DISCONNECTED
                                   : MEDIA_STATUS_CONNECTED);
    DAB_LOGD(DAB_TAG_SOURCE, "ReCreatSource: registerSource result = %d", result);
    return true;
}

template class ReConnectThread<DABSourceController>;
template class ReConnectThread<DABTASourceController>;
