#ifndef DAB_HOST_SYSCTRLBACKEND_H
#define DAB_HOST_SYSCTRLBACKEND_H

#include <sysctrl/SysCtrlManagerIF.h>

namespace android {

// The system control manager behind SysCtrlManagerIF: a recording fake in tests, the
// head-unit simulator otherwise. The default accepts and never calls back.
class SysCtrlBackend : public virtual RefBase {
public:
    virtual int attach(SysCtrlManagerIF* client, int moduleId, int flags);
    virtual void detach(SysCtrlManagerIF* client);
    virtual int finishSuspend(SysCtrlManagerIF* client);
    virtual int finishResume(SysCtrlManagerIF* client);

    // Any thread; non-blocking. Null restores the default.
    static void setCurrent(const sp<SysCtrlBackend>& backend);
    static sp<SysCtrlBackend> current();

protected:
    ~SysCtrlBackend() override;
};

}  // namespace android

#endif  // DAB_HOST_SYSCTRLBACKEND_H
