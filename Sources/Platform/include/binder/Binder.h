#ifndef DAB_PLATFORM_BINDER_BINDER_H
#define DAB_PLATFORM_BINDER_BINDER_H

#include <binder/IBinder.h>

namespace android {

// A local binder object: transactions reach onTransact on the calling thread (in-process) or
// on a thread of the binder pool (from another process).
class BBinder : public IBinder {
public:
    BBinder();

    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    // Writes nothing: objects that have state to show override it.
    status_t dump(int fd, const Vector<String16>& args) override;
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) final;
    // A local object never dies while referenced: linking is refused as on the platform.
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;
    BBinder* localBinder() override;

protected:
    ~BBinder() override;
    // Unknown codes answer UNKNOWN_TRANSACTION; INTERFACE_TRANSACTION, DUMP_TRANSACTION and
    // PING are served here.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0);
};

// Base of interface proxies: holds the remote binder.
class BpRefBase : public virtual RefBase {
protected:
    explicit BpRefBase(const sp<IBinder>& o);
    ~BpRefBase() override;

    inline IBinder* remote() const { return mRemote.get(); }

private:
    sp<IBinder> mRemote;  // immutable
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_BINDER_H
