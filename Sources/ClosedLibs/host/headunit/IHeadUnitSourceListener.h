#ifndef DAB_HOST_HEADUNIT_IHEADUNITSOURCELISTENER_H
#define DAB_HOST_HEADUNIT_IHEADUNITSOURCELISTENER_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace headunit {

// A media source's listener as the media manager reaches it from its own process: the
// operations of ISourceListener that the media manager drives.
class IHeadUnitSourceListener : public android::IInterface {
public:
    DECLARE_META_INTERFACE(HeadUnitSourceListener)

    enum {
        ON_REQUEST_ACTIVATION = android::IBinder::FIRST_CALL_TRANSACTION,
        ON_REQUEST_DEACTIVATION,
        ON_REQ_PUBLISH_MEDIA_INFO,
        ON_SOURCE_RELEASE,
        ON_REQUEST_PRIVATE_DATA,
        ON_NOTIFY,
    };

    // Any thread; blocks until the source has answered. 1 accepted, 0 failed (also when the
    // source's process cannot be reached).
    virtual int onRequestActivation(int request) = 0;
    virtual int onRequestDeactivation(int request) = 0;
    // Any thread; blocks until the source has published what it wants to.
    virtual void onReqPublishMediaInfo() = 0;
    virtual void onSourceRelease(int reason) = 0;
    // Any thread; blocks until the answer; -1 when the source cannot be reached.
    virtual int onRequestPrivateData(int request, const android::Parcel* data,
                                     android::Parcel* reply) = 0;
    // Any thread; one-way: returns without waiting for the source. data may be null.
    virtual void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) = 0;
};

class BnHeadUnitSourceListener : public android::BnInterface<IHeadUnitSourceListener> {
public:
    // Binder threads; unmarshals one call and runs it, blocking as long as it does.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_IHEADUNITSOURCELISTENER_H
