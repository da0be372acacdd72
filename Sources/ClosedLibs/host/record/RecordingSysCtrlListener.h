#ifndef DAB_HOST_RECORDINGSYSCTRLLISTENER_H
#define DAB_HOST_RECORDINGSYSCTRLLISTENER_H

#include <sysctrl/SysCtrlManagerIF.h>

// Stands between the system control manager and the service's listener: suspend and resume
// are recorded as events around the listener's handling.
class RecordingSysCtrlListener : public android::SysCtrlManagerListenerBase {
public:
    explicit RecordingSysCtrlListener(android::SysCtrlManagerListenerBase* inner);

    // The system control library's thread; blocks as long as the listener does.
    void onSuspend() override;
    void onResume() override;
    void onPowerOff() override;
    void onPowerOn() override;
    void onShutdown() override;
    void onReboot() override;

private:
    android::SysCtrlManagerListenerBase* const mInner;  // immutable, not owned, outlives this
};

#endif  // DAB_HOST_RECORDINGSYSCTRLLISTENER_H
