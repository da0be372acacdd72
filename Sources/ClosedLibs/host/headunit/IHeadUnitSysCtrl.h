#ifndef DAB_HOST_HEADUNIT_IHEADUNITSYSCTRL_H
#define DAB_HOST_HEADUNIT_IHEADUNITSYSCTRL_H

#include "IHeadUnitSysCtrlListener.h"

#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace headunit {

// The head unit's system control manager as modules reach it from another process. A module
// is known by the listener it attached.
class IHeadUnitSysCtrl : public android::IInterface {
public:
    DECLARE_META_INTERFACE(HeadUnitSysCtrl)

    enum {
        ATTACH = android::IBinder::FIRST_CALL_TRANSACTION,
        DETACH,
        FINISH_SUSPEND,
        FINISH_RESUME,
    };

    // Each: any thread; blocks until the manager has answered; -1 when the call does not get
    // through or the listener is unknown.
    virtual int attach(const android::sp<IHeadUnitSysCtrlListener>& listener, int moduleId,
                       int flags) = 0;
    virtual int detach(const android::sp<IHeadUnitSysCtrlListener>& listener) = 0;
    virtual int finishSuspend(const android::sp<IHeadUnitSysCtrlListener>& listener) = 0;
    virtual int finishResume(const android::sp<IHeadUnitSysCtrlListener>& listener) = 0;
};

class BnHeadUnitSysCtrl : public android::BnInterface<IHeadUnitSysCtrl> {
public:
    // Binder threads; unmarshals one call and runs it, blocking as long as it does.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_IHEADUNITSYSCTRL_H
