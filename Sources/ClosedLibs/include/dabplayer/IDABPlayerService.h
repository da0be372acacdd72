#ifndef DAB_CLOSEDLIBS_IDABPLAYERSERVICE_H
#define DAB_CLOSEDLIBS_IDABPLAYERSERVICE_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <dabplayer/IDABPlayer.h>
#include <dabplayer/IDABPlayerClient.h>

namespace android {

// The published "DABPlayer" service: hands each application its own IDABPlayer.
class IDABPlayerService : public IInterface {
public:
    DECLARE_META_INTERFACE(DABPlayerService)

    enum { CREATE_CLIENT = IBinder::FIRST_CALL_TRANSACTION };

    // Binder threads; non-blocking. Null when the client object could not be created.
    virtual sp<IDABPlayer> createClient(int pid, const sp<IDABPlayerClient>& client) = 0;
};

class BnDABPlayerService : public BnInterface<IDABPlayerService> {
public:
    // Binder threads; unmarshals the call and runs createClient, blocking as long as it does.
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_IDABPLAYERSERVICE_H
