#include "IHeadUnitSourceListener.h"

#include "ParcelBlock.h"
#include "RemoteCall.h"

using namespace android;

namespace headunit {

namespace {

class BpHeadUnitSourceListener : public BpInterface<IHeadUnitSourceListener> {
public:
    explicit BpHeadUnitSourceListener(const sp<IBinder>& impl)
        : BpInterface<IHeadUnitSourceListener>(impl) {}

    int onRequestActivation(int request) override { return callInt(ON_REQUEST_ACTIVATION, request); }
    int onRequestDeactivation(int request) override {
        return callInt(ON_REQUEST_DEACTIVATION, request);
    }

    void onReqPublishMediaInfo() override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        remote()->transact(ON_REQ_PUBLISH_MEDIA_INFO, data, &reply);
    }

    void onSourceRelease(int reason) override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        data.writeInt32(reason);
        remote()->transact(ON_SOURCE_RELEASE, data, &reply);
    }

    int onRequestPrivateData(int request, const Parcel* obj, Parcel* out) override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        data.writeInt32(request);
        writeParcelBlock(&data, obj);
        if (remote()->transact(ON_REQUEST_PRIVATE_DATA, data, &reply) != NO_ERROR) return -1;
        int32_t result = -1;
        if (reply.readInt32(&result) != NO_ERROR) return -1;
        Parcel answer;
        bool isNull = true;
        if (readParcelBlock(reply, &answer, &isNull) == NO_ERROR && !isNull && out != nullptr) {
            out->setData(answer.data(), answer.dataSize());
        }
        return result;
    }

    void onNotify(int msg, int ext1, int ext2, const Parcel* obj) override {
        Parcel data;
        data.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        data.writeInt32(msg);
        data.writeInt32(ext1);
        data.writeInt32(ext2);
        writeParcelBlock(&data, obj);
        remote()->transact(ON_NOTIFY, data, nullptr, IBinder::FLAG_ONEWAY);
    }

private:
    // An activation that does not get through counts as failed.
    int callInt(uint32_t code, int request) {
        Parcel data;
        data.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        data.writeInt32(request);
        return transactForInt(remote(), code, data, 0);
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(HeadUnitSourceListener, "headunit.ISourceListener")

status_t BnHeadUnitSourceListener::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                              uint32_t flags) {
    if (code < ON_REQUEST_ACTIVATION || code > ON_NOTIFY) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.enforceInterface(IHeadUnitSourceListener::descriptor)) return PERMISSION_DENIED;
    switch (code) {
        case ON_REQUEST_ACTIVATION:
        case ON_REQUEST_DEACTIVATION: {
            int32_t request = 0;
            if (data.readInt32(&request) != NO_ERROR) return BAD_VALUE;
            const int result = code == ON_REQUEST_ACTIVATION ? onRequestActivation(request)
                                                             : onRequestDeactivation(request);
            return reply != nullptr ? reply->writeInt32(result) : NO_ERROR;
        }
        case ON_REQ_PUBLISH_MEDIA_INFO:
            onReqPublishMediaInfo();
            return NO_ERROR;
        case ON_SOURCE_RELEASE: {
            int32_t reason = 0;
            if (data.readInt32(&reason) != NO_ERROR) return BAD_VALUE;
            onSourceRelease(reason);
            return NO_ERROR;
        }
        case ON_REQUEST_PRIVATE_DATA: {
            int32_t request = 0;
            Parcel obj;
            bool isNull = true;
            if (data.readInt32(&request) != NO_ERROR ||
                readParcelBlock(data, &obj, &isNull) != NO_ERROR) {
                return BAD_VALUE;
            }
            Parcel answer;
            const int result = onRequestPrivateData(request, isNull ? nullptr : &obj, &answer);
            if (reply == nullptr) return NO_ERROR;
            reply->writeInt32(result);
            return writeParcelBlock(reply, &answer);
        }
        default: {  // ON_NOTIFY
            int32_t msg = 0;
            int32_t ext1 = 0;
            int32_t ext2 = 0;
            Parcel obj;
            bool isNull = true;
            if (data.readInt32(&msg) != NO_ERROR || data.readInt32(&ext1) != NO_ERROR ||
                data.readInt32(&ext2) != NO_ERROR ||
                readParcelBlock(data, &obj, &isNull) != NO_ERROR) {
                return BAD_VALUE;
            }
            onNotify(msg, ext1, ext2, isNull ? nullptr : &obj);
            return NO_ERROR;
        }
    }
}

}  // namespace headunit
