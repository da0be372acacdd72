#ifndef DAB_HOST_HEADUNIT_REMOTESYSCTRLBACKEND_H
#define DAB_HOST_HEADUNIT_REMOTESYSCTRLBACKEND_H

#include "HostMutex.h"
#include "IHeadUnitSysCtrl.h"
#include "SysCtrlBackend.h"
#include "SysCtrlListenerBinder.h"

#include <map>
#include <mutex>

namespace headunit {

// The system control manager of the head-unit simulator process behind SysCtrlManagerIF.
// Each attached client's listener is reached through a SysCtrlListenerBinder, which tells it
// of suspend and resume on a thread of its own.
class RemoteSysCtrlBackend : public android::SysCtrlBackend {
public:
    // Any thread; non-blocking.
    RemoteSysCtrlBackend();

    // Any thread; each blocks for one round trip to the manager (and a lookup when none is
    // known). -1 when the manager is not running or the client never attached.
    int attach(android::SysCtrlManagerIF* client, int moduleId, int flags) override;
    int finishSuspend(android::SysCtrlManagerIF* client) override;
    int finishResume(android::SysCtrlManagerIF* client) override;
    // Any thread but the client listener's own; blocks until a transition being told has
    // ended and the manager has answered.
    void detach(android::SysCtrlManagerIF* client) override;

protected:
    ~RemoteSysCtrlBackend() override;

private:
    // Any thread; the manager known and alive, else a fresh lookup; null when none runs.
    android::sp<IHeadUnitSysCtrl> manager();
    // Any thread; the client's listener binder, null when it did not attach.
    android::sp<SysCtrlListenerBinder> binderOf(android::SysCtrlManagerIF* client);

    HostMutex mStateLock;                        // guards the fields below
    android::sp<IHeadUnitSysCtrl> mManager GUARDED_BY(mStateLock);
    std::map<android::SysCtrlManagerIF*, android::sp<SysCtrlListenerBinder>> mClients;  // same
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_REMOTESYSCTRLBACKEND_H
