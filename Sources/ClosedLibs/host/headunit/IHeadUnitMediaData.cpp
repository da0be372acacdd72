#include "IHeadUnitMediaData.h"

#include "RemoteCall.h"

using namespace android;

namespace headunit {

namespace {

class BpHeadUnitMediaData : public BpInterface<IHeadUnitMediaData> {
public:
    explicit BpHeadUnitMediaData(const sp<IBinder>& impl) : BpInterface<IHeadUnitMediaData>(impl) {}

    int attach() override {
        Parcel data;
        data.writeInterfaceToken(IHeadUnitMediaData::descriptor);
        return call(ATTACH, data);
    }

    int publish(const String8& key, int value) override {
        Parcel data;
        data.writeInterfaceToken(IHeadUnitMediaData::descriptor);
        data.writeString8(key);
        data.writeInt32(value);
        return call(PUBLISH, data);
    }

private:
    int call(uint32_t code, const Parcel& data) { return transactForInt(remote(), code, data, -1); }
};

}  // namespace

IMPLEMENT_META_INTERFACE(HeadUnitMediaData, "headunit.IMediaData")

status_t BnHeadUnitMediaData::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                         uint32_t flags) {
    if (code != ATTACH && code != PUBLISH) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(IHeadUnitMediaData::descriptor)) return PERMISSION_DENIED;
    if (reply == nullptr) return BAD_VALUE;
    if (code == ATTACH) return reply->writeInt32(attach());
    const String8 key = data.readString8();
    int32_t value = 0;
    if (data.readInt32(&value) != NO_ERROR) return BAD_VALUE;
    return reply->writeInt32(publish(key, value));
}

}  // namespace headunit
