#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace android {

namespace {
// Dump options one call may carry; more is malformed input.
constexpr int32_t kMaxDumpArgs = 64;
}  // namespace

IBinder::IBinder() : RefBase() {}
IBinder::~IBinder() {}
sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) { return nullptr; }
BBinder* IBinder::localBinder() { return nullptr; }
BpBinder* IBinder::remoteBinder() { return nullptr; }

BBinder::BBinder() {}
BBinder::~BBinder() {}

const String16& BBinder::getInterfaceDescriptor() const {
    static const String16 kEmpty;
    return kEmpty;
}

bool BBinder::isBinderAlive() const { return true; }
status_t BBinder::pingBinder() { return NO_ERROR; }
status_t BBinder::dump(int /*fd*/, const Vector<String16>& /*args*/) { return NO_ERROR; }
BBinder* BBinder::localBinder() { return this; }

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    data.setDataPosition(0);
    status_t err = NO_ERROR;
    if (code == PING_TRANSACTION) {
        err = pingBinder();
    } else {
        err = onTransact(code, data, reply, flags);
    }
    if (reply != nullptr) reply->setDataPosition(0);
    return err;
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) { return INVALID_OPERATION; }
status_t BBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

status_t BBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t) {
    if (code == INTERFACE_TRANSACTION) {
        if (reply != nullptr) reply->writeString16(getInterfaceDescriptor());
        return NO_ERROR;
    }
    if (code == DUMP_TRANSACTION) {
        const int fd = data.readFileDescriptor();
        int32_t argc = 0;
        if (fd < 0 || data.readInt32(&argc) != NO_ERROR || argc < 0 || argc > kMaxDumpArgs) {
            return BAD_VALUE;
        }
        Vector<String16> args;
        for (int32_t i = 0; i < argc && data.dataAvail() > 0; ++i) args.add(data.readString16());
        return dump(fd, args);
    }
    return UNKNOWN_TRANSACTION;
}

BpRefBase::BpRefBase(const sp<IBinder>& o) : mRemote(o) {}
BpRefBase::~BpRefBase() {}

IInterface::IInterface() : RefBase() {}
IInterface::~IInterface() {}

sp<IBinder> IInterface::asBinder() { return onAsBinder(); }

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    if (iface == nullptr) return nullptr;
    return const_cast<IInterface*>(iface)->onAsBinder();
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) {
    if (iface == nullptr) return nullptr;
    return iface->onAsBinder();
}

}  // namespace android
