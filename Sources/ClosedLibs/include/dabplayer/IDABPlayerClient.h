#ifndef DAB_CLOSEDLIBS_IDABPLAYERCLIENT_H
#define DAB_CLOSEDLIBS_IDABPLAYERCLIENT_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace android {

// An application's callback: the player service's notifications arrive here.
class IDABPlayerClient : public IInterface {
public:
    DECLARE_META_INTERFACE(DABPlayerClient)

    enum { NOTIFY = IBinder::FIRST_CALL_TRANSACTION };

    // Called on the thread that fans the notification out; obj may be null.
    virtual void notify(int msg, int ext1, int ext2, const Parcel* obj) = 0;
};

class BnDABPlayerClient : public BnInterface<IDABPlayerClient> {
public:
    // Binder threads; unmarshals the call and runs notify, blocking as long as it does.
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_IDABPLAYERCLIENT_H
