#include "IHeadUnitMediaManager.h"

#include "ParcelBlock.h"
#include "RemoteCall.h"

using namespace android;

namespace headunit {

namespace {

class BpHeadUnitMediaManager : public BpInterface<IHeadUnitMediaManager> {
public:
    explicit BpHeadUnitMediaManager(const sp<IBinder>& impl)
        : BpInterface<IHeadUnitMediaManager>(impl) {}

    int createSource(const String8& name, const sp<IHeadUnitSourceListener>& listener) override {
        Parcel data;
        start(&data, name);
        data.writeStrongBinder(IInterface::asBinder(listener));
        return call(CREATE_SOURCE, data, nullptr);
    }

    int registerSource(const String8& name, int code, Parcel* out) override {
        Parcel data;
        start(&data, name);
        data.writeInt32(code);
        Parcel reply;
        const int result = call(REGISTER_SOURCE, data, &reply);
        Parcel answer;
        bool isNull = true;
        if (readParcelBlock(reply, &answer, &isNull) == NO_ERROR && !isNull && out != nullptr &&
            answer.dataSize() > 0) {
            out->write(answer.data(), answer.dataSize());
            out->setDataPosition(out->dataPosition() - answer.dataSize());
        }
        return result;
    }

    int publishMediaInfo(const String8& name, const MediaInfoParcel& info) override {
        Parcel data;
        start(&data, name);
        info.writeToParcel(&data);
        return call(PUBLISH_MEDIA_INFO, data, nullptr);
    }

    int setMediaStatus(const String8& name, int status) override {
        Parcel data;
        start(&data, name);
        data.writeInt32(status);
        return call(SET_MEDIA_STATUS, data, nullptr);
    }

private:
    static void start(Parcel* data, const String8& name) {
        data->writeInterfaceToken(IHeadUnitMediaManager::descriptor);
        data->writeString8(name);
    }

    // The manager's int result; -1 when the call did not get through. The rest of the reply
    // stays in *reply when given.
    int call(uint32_t code, const Parcel& data, Parcel* reply) {
        return transactForInt(remote(), code, data, -1, reply);
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(HeadUnitMediaManager, "headunit.IMediaManager")

status_t BnHeadUnitMediaManager::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                            uint32_t flags) {
    if (code < CREATE_SOURCE || code > SET_MEDIA_STATUS) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.enforceInterface(IHeadUnitMediaManager::descriptor)) return PERMISSION_DENIED;
    if (reply == nullptr) return BAD_VALUE;
    const String8 name = data.readString8();
    switch (code) {
        case CREATE_SOURCE: {
            sp<IBinder> listener;
            if (data.readStrongBinder(&listener) != NO_ERROR || listener == nullptr) {
                return BAD_VALUE;
            }
            return reply->writeInt32(
                    createSource(name, interface_cast<IHeadUnitSourceListener>(listener)));
        }
        case REGISTER_SOURCE: {
            int32_t registerCode = 0;
            if (data.readInt32(&registerCode) != NO_ERROR) return BAD_VALUE;
            Parcel answer;
            const int result = registerSource(name, registerCode, &answer);
            reply->writeInt32(result);
            return writeParcelBlock(reply, &answer);
        }
        case PUBLISH_MEDIA_INFO: {
            MediaInfoParcel info;
            if (info.readFromParcel(data) != NO_ERROR) return BAD_VALUE;
            return reply->writeInt32(publishMediaInfo(name, info));
        }
        default: {  // SET_MEDIA_STATUS
            int32_t status = 0;
            if (data.readInt32(&status) != NO_ERROR) return BAD_VALUE;
            return reply->writeInt32(setMediaStatus(name, status));
        }
    }
}

}  // namespace headunit
