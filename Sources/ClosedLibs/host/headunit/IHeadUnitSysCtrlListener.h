#ifndef DAB_HOST_HEADUNIT_IHEADUNITSYSCTRLLISTENER_H
#define DAB_HOST_HEADUNIT_IHEADUNITSYSCTRLLISTENER_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace headunit {

// A module's power-transition listener as the system control manager reaches it from its own
// process.
class IHeadUnitSysCtrlListener : public android::IInterface {
public:
    DECLARE_META_INTERFACE(HeadUnitSysCtrlListener)

    enum {
        ON_SUSPEND = android::IBinder::FIRST_CALL_TRANSACTION,
        ON_RESUME,
    };

    // Each: any thread; one-way: the module answers later with finishSuspend/finishResume.
    virtual void onSuspend() = 0;
    virtual void onResume() = 0;
};

class BnHeadUnitSysCtrlListener : public android::BnInterface<IHeadUnitSysCtrlListener> {
public:
    // Binder threads; unmarshals one call and runs it.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_IHEADUNITSYSCTRLLISTENER_H
