#include "IHeadUnitSysCtrlListener.h"

using namespace android;

namespace headunit {

namespace {

class BpHeadUnitSysCtrlListener : public BpInterface<IHeadUnitSysCtrlListener> {
public:
    explicit BpHeadUnitSysCtrlListener(const sp<IBinder>& impl)
        : BpInterface<IHeadUnitSysCtrlListener>(impl) {}

    void onSuspend() override { send(ON_SUSPEND); }
    void onResume() override { send(ON_RESUME); }

private:
    void send(uint32_t code) {
        Parcel data;
        data.writeInterfaceToken(IHeadUnitSysCtrlListener::descriptor);
        remote()->transact(code, data, nullptr, IBinder::FLAG_ONEWAY);
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(HeadUnitSysCtrlListener, "headunit.ISysCtrlListener")

status_t BnHeadUnitSysCtrlListener::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                               uint32_t flags) {
    if (code != ON_SUSPEND && code != ON_RESUME) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(IHeadUnitSysCtrlListener::descriptor)) return PERMISSION_DENIED;
    if (code == ON_SUSPEND) {
        onSuspend();
    } else {
        onResume();
    }
    return NO_ERROR;
}

}  // namespace headunit
