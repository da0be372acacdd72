#include <dabplayer/IDABPlayerClient.h>

#include "HostParcel.h"

namespace android {

namespace {

class BpDABPlayerClient : public BpInterface<IDABPlayerClient> {
public:
    explicit BpDABPlayerClient(const sp<IBinder>& impl) : BpInterface<IDABPlayerClient>(impl) {}

    // Any thread; one-way: returns without waiting for the application. The parcel travels as
    // its raw bytes; binder references inside it do not.
    void notify(int msg, int ext1, int ext2, const Parcel* obj) override {
        Parcel data;
        data.writeInterfaceToken(IDABPlayerClient::descriptor);
        data.writeInt32(msg);
        data.writeInt32(ext1);
        data.writeInt32(ext2);
        data.writeInt32(obj != nullptr ? 1 : 0);
        if (obj != nullptr) {
            // An empty parcel is still a parcel: send an empty block, not a null one.
            static const uint8_t kNoBytes = 0;
            const uint8_t* bytes = obj->dataSize() > 0 ? obj->data() : &kNoBytes;
            HostParcel::writeByteBlock(&data, bytes, static_cast<int32_t>(obj->dataSize()));
        }
        remote()->transact(NOTIFY, data, nullptr, IBinder::FLAG_ONEWAY);
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(DABPlayerClient, "android.media.IDABPlayerClient")

status_t BnDABPlayerClient::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                       uint32_t flags) {
    if (code != NOTIFY) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(IDABPlayerClient::descriptor)) return PERMISSION_DENIED;
    int32_t msg = 0;
    int32_t ext1 = 0;
    int32_t ext2 = 0;
    int32_t hasParcel = 0;
    if (data.readInt32(&msg) != NO_ERROR || data.readInt32(&ext1) != NO_ERROR ||
        data.readInt32(&ext2) != NO_ERROR || data.readInt32(&hasParcel) != NO_ERROR ||
        (hasParcel != 0 && hasParcel != 1)) {
        return BAD_VALUE;
    }
    if (hasParcel == 0) {
        notify(msg, ext1, ext2, nullptr);
        return NO_ERROR;
    }
    int32_t len = -1;
    const void* bytes = HostParcel::readByteBlock(data, &len);
    Parcel obj;
    if (bytes == nullptr || obj.setData(static_cast<const uint8_t*>(bytes), len) != NO_ERROR) {
        return BAD_VALUE;
    }
    notify(msg, ext1, ext2, &obj);
    return NO_ERROR;
}

}  // namespace android
