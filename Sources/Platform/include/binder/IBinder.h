#ifndef DAB_PLATFORM_BINDER_IBINDER_H
#define DAB_PLATFORM_BINDER_IBINDER_H

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/Vector.h>

#include <cstdint>

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

#define B_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))

// Base of every binder object: a local object (BBinder) or a proxy to a remote one (BpBinder).
class IBinder : public virtual RefBase {
public:
    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x00ffffff,
        PING_TRANSACTION = B_PACK_CHARS('_', 'P', 'N', 'G'),
        INTERFACE_TRANSACTION = B_PACK_CHARS('_', 'N', 'T', 'F'),
        DUMP_TRANSACTION = B_PACK_CHARS('_', 'D', 'M', 'P'),
        FLAG_ONEWAY = 0x00000001,
    };

    // Told once when the process behind a proxy dies.
    class DeathRecipient : public virtual RefBase {
    public:
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    IBinder();

    // Any thread; non-blocking. The local interface when this is a local object of that kind.
    virtual sp<IInterface> queryLocalInterface(const String16& descriptor);
    // Any thread; may block on a remote object.
    virtual const String16& getInterfaceDescriptor() const = 0;
    virtual bool isBinderAlive() const = 0;
    virtual status_t pingBinder() = 0;
    // Any thread; blocks until the object has written its state to fd (a remote object gets
    // its own copy of the descriptor). args are the object's own dump options.
    virtual status_t dump(int fd, const Vector<String16>& args) = 0;
    // Any thread; blocks until the reply unless flags hold FLAG_ONEWAY.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags = 0) = 0;
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) = 0;

    virtual BBinder* localBinder();
    virtual BpBinder* remoteBinder();

protected:
    virtual ~IBinder();
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_IBINDER_H
