#include <dabplayer/IDABPlayerService.h>

#include "RecordingPlayerCalls.h"

namespace android {

namespace {

class BpDABPlayerService : public BpInterface<IDABPlayerService> {
public:
    explicit BpDABPlayerService(const sp<IBinder>& impl) : BpInterface<IDABPlayerService>(impl) {}

    // Any thread; blocks until the service has answered. Null when the call did not get through.
    sp<IDABPlayer> createClient(int pid, const sp<IDABPlayerClient>& client) override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IDABPlayerService::descriptor);
        data.writeInt32(pid);
        data.writeStrongBinder(IInterface::asBinder(client));
        if (remote()->transact(CREATE_CLIENT, data, &reply) != NO_ERROR) return nullptr;
        return interface_cast<IDABPlayer>(reply.readStrongBinder());
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(DABPlayerService, "android.media.IDABPlayerService")

status_t BnDABPlayerService::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                        uint32_t flags) {
    if (code != CREATE_CLIENT) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(IDABPlayerService::descriptor)) return PERMISSION_DENIED;
    int32_t pid = 0;
    sp<IBinder> client;
    if (data.readInt32(&pid) != NO_ERROR || data.readStrongBinder(&client) != NO_ERROR) {
        return BAD_VALUE;
    }
    RecordingPlayerCalls* recording = RecordingPlayerCalls::get();
    const uint64_t token = recording != nullptr ? recording->connecting() : 0;
    sp<IDABPlayer> player = createClient(pid, interface_cast<IDABPlayerClient>(client));
    if (recording != nullptr) recording->connected(token, client, IInterface::asBinder(player));
    return reply != nullptr ? reply->writeStrongBinder(IInterface::asBinder(player)) : NO_ERROR;
}

}  // namespace android
