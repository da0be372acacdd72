#ifndef DAB_HOST_HEADUNIT_SYSCTRLLISTENERBINDER_H
#define DAB_HOST_HEADUNIT_SYSCTRLLISTENERBINDER_H

#include "HostMutex.h"
#include "IHeadUnitSysCtrlListener.h"

#include <sysctrl/SysCtrlManagerIF.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace headunit {

// Makes a module's power-transition listener reachable by the system control manager of the
// simulator process. Like the system control library, it tells the listener on a thread of
// its own, one transition at a time and in the order they arrived, so a listener that calls
// the manager back (finishSuspend, finishResume) never holds up a binder thread.
class SysCtrlListenerBinder : public BnHeadUnitSysCtrlListener {
public:
    // Any thread; non-blocking. The listener must stay valid until stop() has returned.
    explicit SysCtrlListenerBinder(android::SysCtrlManagerListenerBase* listener);

    // Binder threads; non-blocking: queue the transition for the listener's thread.
    void onSuspend() override;
    void onResume() override;

    // Any thread but the listener's own; blocks until a transition being told has ended.
    // Transitions that arrive later are dropped.
    void stop();

protected:
    ~SysCtrlListenerBinder() override;

private:
    enum Transition { kSuspend, kResume };

    void post(Transition transition);
    void threadLoop();

    android::SysCtrlManagerListenerBase* const mListener;  // immutable, not owned
    HostMutex mQueueLock;                  // guards the fields below
    std::condition_variable mQueueChanged;  // signalled under mQueueLock
    std::deque<Transition> mQueue GUARDED_BY(mQueueLock);
    bool mStopping GUARDED_BY(mQueueLock);
    std::thread mThread;                    // started on the first transition; mQueueLock
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_SYSCTRLLISTENERBINDER_H
