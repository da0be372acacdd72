#ifndef DAB_CLOSEDLIBS_SYSCTRLMANAGERIF_H
#define DAB_CLOSEDLIBS_SYSCTRLMANAGERIF_H

#include <utils/RefBase.h>

namespace android {

// Told of the head unit's power transitions on the system control library's own thread.
class SysCtrlManagerListenerBase {
public:
    virtual ~SysCtrlManagerListenerBase() {}
    virtual void onSuspend() {}
    virtual void onResume() {}
    virtual void onPowerOff() {}
    virtual void onPowerOn() {}
    virtual void onShutdown() {}
    virtual void onReboot() {}
};

// Client of the system control manager; the listener must outlive it.
class SysCtrlManagerIF {
public:
    explicit SysCtrlManagerIF(SysCtrlManagerListenerBase* listener);
    ~SysCtrlManagerIF();

    // Any thread; non-blocking. Registers the listener with the manager.
    int attachSysCtrlMng(int moduleId, int flags);
    // Answers to onSuspend and onResume.
    int finishSuspend();
    int finishResume();

    SysCtrlManagerListenerBase* listener() const;

private:
    SysCtrlManagerIF(const SysCtrlManagerIF&) = delete;
    SysCtrlManagerIF& operator=(const SysCtrlManagerIF&) = delete;

    SysCtrlManagerListenerBase* const mListener;  // immutable, not owned
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_SYSCTRLMANAGERIF_H
