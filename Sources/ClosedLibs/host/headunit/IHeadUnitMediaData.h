#ifndef DAB_HOST_HEADUNIT_IHEADUNITMEDIADATA_H
#define DAB_HOST_HEADUNIT_IHEADUNITMEDIADATA_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <utils/String8.h>

namespace headunit {

// The head unit's media data service (key/value state such as "DABError") as clients reach
// it from another process.
class IHeadUnitMediaData : public android::IInterface {
public:
    DECLARE_META_INTERFACE(HeadUnitMediaData)

    enum {
        ATTACH = android::IBinder::FIRST_CALL_TRANSACTION,
        PUBLISH,
    };

    // Each: any thread; blocks until the service has answered; -1 when the call does not get
    // through.
    virtual int attach() = 0;
    virtual int publish(const android::String8& key, int value) = 0;
};

class BnHeadUnitMediaData : public android::BnInterface<IHeadUnitMediaData> {
public:
    // Binder threads; unmarshals one call and runs it, blocking as long as it does.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_IHEADUNITMEDIADATA_H
