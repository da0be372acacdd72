#include "HostMutex.h"
#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include "BinderConnection.h"

namespace android {

BpBinder::BpBinder(const sp<BinderConnection>& connection, uint32_t handle)
    : mConnection(connection),
      mHandle(handle),
      mObituarySent(false),
      mDescriptorKnown(false) {}

BpBinder::~BpBinder() { mConnection->proxyDestroyed(this, mHandle); }

BpBinder* BpBinder::remoteBinder() { return this; }

const String16& BpBinder::getInterfaceDescriptor() const {
    {
        HostMutex::Autolock lock(mLock);
        if (mDescriptorKnown) return mDescriptor;
    }
    Parcel data;
    Parcel reply;
    String16 descriptor;
    if (const_cast<BpBinder*>(this)->transact(INTERFACE_TRANSACTION, data, &reply) == NO_ERROR) {
        descriptor = reply.readString16();
    }
    HostMutex::Autolock lock(mLock);
    if (!mDescriptorKnown) {
        mDescriptor = descriptor;
        mDescriptorKnown = true;
    }
    return mDescriptor;
}

bool BpBinder::isBinderAlive() const { return !mConnection->isDead(); }

status_t BpBinder::pingBinder() {
    Parcel data;
    Parcel reply;
    return transact(PING_TRANSACTION, data, &reply);
}

status_t BpBinder::dump(int fd, const Vector<String16>& args) {
    Parcel data;
    Parcel reply;
    status_t err = data.writeFileDescriptor(fd);
    if (err != NO_ERROR) return err;
    data.writeInt32(static_cast<int32_t>(args.size()));
    for (size_t i = 0; i < args.size(); ++i) data.writeString16(args[i]);
    return transact(DUMP_TRANSACTION, data, &reply);
}

status_t BpBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    return mConnection->transact(mHandle, code, data, reply, flags);
}

status_t BpBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) {
    if (recipient == nullptr) return BAD_VALUE;
    {
        HostMutex::Autolock lock(mLock);
        if (!mObituarySent) {
            mObituaries.push_back(Obituary{recipient, cookie, flags});
            return NO_ERROR;
        }
    }
    recipient->binderDied(wp<IBinder>(this));
    return NO_ERROR;
}

status_t BpBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie,
                                 uint32_t flags, wp<DeathRecipient>* outRecipient) {
    HostMutex::Autolock lock(mLock);
    if (mObituarySent) return DEAD_OBJECT;
    for (auto it = mObituaries.begin(); it != mObituaries.end(); ++it) {
        if (it->cookie == cookie && (flags == 0 || it->flags == flags) &&
            (recipient == nullptr || it->recipient == recipient)) {
            if (outRecipient != nullptr) *outRecipient = it->recipient;
            mObituaries.erase(it);
            return NO_ERROR;
        }
    }
    return NAME_NOT_FOUND;
}

void BpBinder::sendObituary() {
    std::vector<Obituary> obituaries;
    {
        HostMutex::Autolock lock(mLock);
        if (mObituarySent) return;
        mObituarySent = true;
        obituaries.swap(mObituaries);
    }
    const wp<IBinder> who(this);
    for (const Obituary& obituary : obituaries) {
        sp<DeathRecipient> recipient = obituary.recipient.promote();
        if (recipient != nullptr) recipient->binderDied(who);
    }
}

}  // namespace android

// Host-only diagnostics for services that show how far a client process lags behind: what is
// queued for the process behind a proxy. Services reach it through a weak declaration, so a
// build without it shows the backlog as unknown. 0 when written, -1 for a local object.
extern "C" int dab_host_binder_backlog(const android::IBinder* binder, size_t* messages,
                                       size_t* bytes) {
    android::BpBinder* proxy =
            binder != nullptr ? const_cast<android::IBinder*>(binder)->remoteBinder() : nullptr;
    if (proxy == nullptr || messages == nullptr || bytes == nullptr) return -1;
    proxy->connection()->outgoingBacklog(messages, bytes);
    return 0;
}
