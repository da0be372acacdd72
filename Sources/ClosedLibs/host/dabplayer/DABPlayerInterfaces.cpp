// Placeholder until the marshalling lands: only local objects can be used.
#include <dabplayer/IDABPlayer.h>
#include <dabplayer/IDABPlayerClient.h>
#include <dabplayer/IDABPlayerService.h>

namespace android {

#define DAB_LOCAL_ONLY_INTERFACE(INTERFACE, NAME)                                           \
    const String16 I##INTERFACE::descriptor(NAME);                                          \
    const String16& I##INTERFACE::getInterfaceDescriptor() const { return descriptor; }     \
    sp<I##INTERFACE> I##INTERFACE::asInterface(const sp<IBinder>& obj) {                    \
        if (obj == nullptr) return nullptr;                                                 \
        return static_cast<I##INTERFACE*>(obj->queryLocalInterface(descriptor).get());      \
    }                                                                                       \
    I##INTERFACE::I##INTERFACE() {}                                                         \
    I##INTERFACE::~I##INTERFACE() {}

DAB_LOCAL_ONLY_INTERFACE(DABPlayerClient, "android.media.IDABPlayerClient")
DAB_LOCAL_ONLY_INTERFACE(DABPlayer, "android.media.IDABPlayer")
DAB_LOCAL_ONLY_INTERFACE(DABPlayerService, "android.media.IDABPlayerService")

status_t BnDABPlayerClient::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    return BBinder::onTransact(code, data, reply, flags);
}
status_t BnDABPlayer::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    return BBinder::onTransact(code, data, reply, flags);
}
status_t BnDABPlayerService::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    return BBinder::onTransact(code, data, reply, flags);
}

}  // namespace android
