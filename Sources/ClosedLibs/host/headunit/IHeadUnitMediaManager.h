#ifndef DAB_HOST_HEADUNIT_IHEADUNITMEDIAMANAGER_H
#define DAB_HOST_HEADUNIT_IHEADUNITMEDIAMANAGER_H

#include "IHeadUnitSourceListener.h"

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <mediamanager/MediaInfoParcel.h>
#include <utils/String8.h>

namespace headunit {

// The head unit's media manager as sources reach it from another process. A source is known
// by its name; creating it again replaces the listener the manager drives it through.
class IHeadUnitMediaManager : public android::IInterface {
public:
    DECLARE_META_INTERFACE(HeadUnitMediaManager)

    enum {
        CREATE_SOURCE = android::IBinder::FIRST_CALL_TRANSACTION,
        REGISTER_SOURCE,
        PUBLISH_MEDIA_INFO,
        SET_MEDIA_STATUS,
    };

    // Each: any thread; blocks until the manager has answered. A call that does not get
    // through answers -1.
    // 0 when the manager accepts the source, -1 when it refuses.
    virtual int createSource(const android::String8& name,
                             const android::sp<IHeadUnitSourceListener>& listener) = 0;
    // The manager's result; its reply data is appended to reply (may be null).
    virtual int registerSource(const android::String8& name, int code,
                               android::Parcel* reply) = 0;
    virtual int publishMediaInfo(const android::String8& name,
                                 const android::MediaInfoParcel& info) = 0;
    virtual int setMediaStatus(const android::String8& name, int status) = 0;
};

class BnHeadUnitMediaManager : public android::BnInterface<IHeadUnitMediaManager> {
public:
    // Binder threads; unmarshals one call and runs it, blocking as long as it does.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_IHEADUNITMEDIAMANAGER_H
