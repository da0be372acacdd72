#include "IHeadUnitSysCtrl.h"

#include "RemoteCall.h"

using namespace android;

namespace headunit {

namespace {

class BpHeadUnitSysCtrl : public BpInterface<IHeadUnitSysCtrl> {
public:
    explicit BpHeadUnitSysCtrl(const sp<IBinder>& impl) : BpInterface<IHeadUnitSysCtrl>(impl) {}

    int attach(const sp<IHeadUnitSysCtrlListener>& listener, int moduleId, int flags) override {
        Parcel data;
        start(&data, listener);
        data.writeInt32(moduleId);
        data.writeInt32(flags);
        return call(ATTACH, data);
    }
    int detach(const sp<IHeadUnitSysCtrlListener>& listener) override {
        return callWithListener(DETACH, listener);
    }
    int finishSuspend(const sp<IHeadUnitSysCtrlListener>& listener) override {
        return callWithListener(FINISH_SUSPEND, listener);
    }
    int finishResume(const sp<IHeadUnitSysCtrlListener>& listener) override {
        return callWithListener(FINISH_RESUME, listener);
    }

private:
    static void start(Parcel* data, const sp<IHeadUnitSysCtrlListener>& listener) {
        data->writeInterfaceToken(IHeadUnitSysCtrl::descriptor);
        data->writeStrongBinder(IInterface::asBinder(listener));
    }
    int callWithListener(uint32_t code, const sp<IHeadUnitSysCtrlListener>& listener) {
        Parcel data;
        start(&data, listener);
        return call(code, data);
    }
    int call(uint32_t code, const Parcel& data) { return transactForInt(remote(), code, data, -1); }
};

}  // namespace

IMPLEMENT_META_INTERFACE(HeadUnitSysCtrl, "headunit.ISysCtrl")

status_t BnHeadUnitSysCtrl::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                       uint32_t flags) {
    if (code < ATTACH || code > FINISH_RESUME) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(IHeadUnitSysCtrl::descriptor)) return PERMISSION_DENIED;
    if (reply == nullptr) return BAD_VALUE;
    sp<IBinder> binder;
    if (data.readStrongBinder(&binder) != NO_ERROR || binder == nullptr) return BAD_VALUE;
    const sp<IHeadUnitSysCtrlListener> listener = interface_cast<IHeadUnitSysCtrlListener>(binder);
    switch (code) {
        case ATTACH: {
            int32_t moduleId = 0;
            int32_t attachFlags = 0;
            if (data.readInt32(&moduleId) != NO_ERROR || data.readInt32(&attachFlags) != NO_ERROR) {
                return BAD_VALUE;
            }
            return reply->writeInt32(attach(listener, moduleId, attachFlags));
        }
        case DETACH: return reply->writeInt32(detach(listener));
        case FINISH_SUSPEND: return reply->writeInt32(finishSuspend(listener));
        default: return reply->writeInt32(finishResume(listener));
    }
}

}  // namespace headunit
