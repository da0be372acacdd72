#ifndef DAB_SERVER_RECONNECTSERVICETHREAD_H
#define DAB_SERVER_RECONNECTSERVICETHREAD_H

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/Thread.h>

class DABSourceController;
class DABTASourceController;

// Re-creates a controller's media-manager source after the media manager has restarted:
// creates the source under the controller's source name (Controller::kSourceName), hands it
// to the controller, registers it and restores its media status, once a second until the
// creation succeeds. One variant per controller class, so that the TA variant can only ever
// re-create "tadab". A thread that replaces another one waits for it to end before its
// first attempt, so that two attempts for one controller never overlap.
template <class Controller>
class ReConnectThread : public android::Thread {
public:
    // Binder thread of the reconnect request; non-blocking. previous may be null.
    ReConnectThread(const android::sp<Controller>& controller,
                    const android::sp<android::Thread>& previous);

    // This thread only; blocks for one round trip to the media manager. True when the
    // source was created.
    virtual bool ReCreatSource();

protected:
    ~ReConnectThread() override;

private:
    // This thread only: waits for the replaced thread to end.
    android::status_t readyToRun() override;
    // This thread only: one attempt, then a one-second pause when it failed.
    bool threadLoop() override;

    android::sp<Controller> mController;      // immutable until destruction
    android::sp<android::Thread> mPrevious;   // this thread only once started
};

extern template class ReConnectThread<DABSourceController>;
extern template class ReConnectThread<DABTASourceController>;

// The DAB source's reconnection thread.
using ReConnectServiceThread = ReConnectThread<DABSourceController>;
// The traffic-announcement source's reconnection thread.
using ReConnectTAServiceThread = ReConnectThread<DABTASourceController>;

#endif  // DAB_SERVER_RECONNECTSERVICETHREAD_H
