#ifndef DAB_CLOSEDLIBS_ISOURCELISTENER_H
#define DAB_CLOSEDLIBS_ISOURCELISTENER_H

#include <utils/RefBase.h>

namespace android {

class Parcel;

// How the media manager drives a source: it calls these on binder threads.
class ISourceListener : public virtual RefBase {
public:
    // Returns 1 when the activation was accepted, 0 when it failed.
    virtual int onRequestActivation(int request) = 0;
    virtual int onRequestDeactivation(int request) = 0;
    virtual void onReqPublishMediaInfo() {}
    virtual void onSourceRelease(int /*reason*/) {}
    virtual void onSourceFocusGained() {}
    virtual void onSourceFocusLost() {}
    virtual void onSourceStatusQuery() {}
    virtual int onRequestPrivateData(int request, const Parcel* data, Parcel* reply) = 0;
    virtual void onNotify(int msg, int ext1, int ext2, const Parcel* data) = 0;

protected:
    ~ISourceListener() override {}
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_ISOURCELISTENER_H
