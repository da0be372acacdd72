#include "ICommandChannel.h"

using namespace android;

namespace headunit {

namespace {

class BpCommandChannel : public BpInterface<ICommandChannel> {
public:
    explicit BpCommandChannel(const sp<IBinder>& impl) : BpInterface<ICommandChannel>(impl) {}

    int execute(const String8& line, int flags, String8* output) override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(ICommandChannel::descriptor);
        data.writeString8(line);
        data.writeInt32(flags);
        const status_t err = remote()->transact(EXECUTE, data, &reply);
        if (err != NO_ERROR) return err < 0 ? err : -1;
        int32_t result = -1;
        if (reply.readInt32(&result) != NO_ERROR) return BAD_VALUE;
        if (output != nullptr) *output = reply.readString8();
        return result;
    }
};

}  // namespace

IMPLEMENT_META_INTERFACE(CommandChannel, "headunit.ICommandChannel")

status_t BnCommandChannel::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                      uint32_t flags) {
    if (code != EXECUTE) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(ICommandChannel::descriptor)) return PERMISSION_DENIED;
    if (reply == nullptr) return BAD_VALUE;
    const String8 line = data.readString8();
    int32_t commandFlags = 0;
    if (data.readInt32(&commandFlags) != NO_ERROR) return BAD_VALUE;
    String8 output;
    const int result = execute(line, commandFlags, &output);
    reply->writeInt32(result);
    return reply->writeString8(output);
}

}  // namespace headunit
