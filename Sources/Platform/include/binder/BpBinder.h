#ifndef DAB_PLATFORM_BINDER_BPBINDER_H
#define DAB_PLATFORM_BINDER_BPBINDER_H

#include "HostMutex.h"
#include <binder/IBinder.h>

#include <mutex>
#include <vector>

namespace android {

class BinderConnection;

// A proxy to an object of another process. One proxy exists per remote object and
// connection at a time: reading the same reference again yields this same object while it
// lives. Dropping the last strong reference tells the other process.
class BpBinder : public IBinder {
public:
    // Any thread; blocks on the first call for the remote's answer, then cached.
    const String16& getInterfaceDescriptor() const override;
    // Any thread; non-blocking. False once the connection to the object's process is gone.
    bool isBinderAlive() const override;
    // Any thread; blocks until the remote answers.
    status_t pingBinder() override;
    // Any thread; blocks until the remote object has written its dump. The descriptor travels
    // with the call; the remote writes to its own copy.
    status_t dump(int fd, const Vector<String16>& args) override;
    // Any thread; blocks until the reply unless flags hold FLAG_ONEWAY. While it waits, calls
    // from the process it waits on that are nested in this call are served on this thread.
    // DEAD_OBJECT once the connection is gone.
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags = 0) override;
    // Any thread; non-blocking. The recipient is told once, on a binder pool thread, when the
    // object's process goes away. Linking after that tells it at once, on the calling thread,
    // before returning NO_ERROR.
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    // Any thread; non-blocking. NAME_NOT_FOUND when no such link, DEAD_OBJECT after the death.
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;
    BpBinder* remoteBinder() override;

    // Any thread. The handle of the object in its process's table for this connection.
    uint32_t handle() const { return mHandle; }
    // Transport side: the connection the object is reached through.
    const sp<BinderConnection>& connection() const { return mConnection; }
    // Transport side, a binder pool thread: tells every linked recipient, once.
    void sendObituary();

protected:
    ~BpBinder() override;

private:
    friend class BinderConnection;
    BpBinder(const sp<BinderConnection>& connection, uint32_t handle);

    struct Obituary {
        wp<DeathRecipient> recipient;
        void* cookie;
        uint32_t flags;
    };

    const sp<BinderConnection> mConnection;  // immutable
    const uint32_t mHandle;                  // immutable
    mutable HostMutex mLock;                // guards the fields below
    std::vector<Obituary> mObituaries GUARDED_BY(mLock);
    bool mObituarySent GUARDED_BY(mLock);
    mutable bool mDescriptorKnown GUARDED_BY(mLock);
    mutable String16 mDescriptor GUARDED_BY(mLock);            // set once, then read freely
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_BPBINDER_H
