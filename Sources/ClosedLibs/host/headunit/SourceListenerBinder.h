#ifndef DAB_HOST_HEADUNIT_SOURCELISTENERBINDER_H
#define DAB_HOST_HEADUNIT_SOURCELISTENERBINDER_H

#include "IHeadUnitSourceListener.h"

#include <mediamanager/ISourceListener.h>

namespace headunit {

// Makes a source's listener (a controller of the service process) reachable by the media
// manager of the simulator process: every call is handed to the listener unchanged, on the
// binder thread that carries it.
class SourceListenerBinder : public BnHeadUnitSourceListener {
public:
    // Any thread; non-blocking.
    explicit SourceListenerBinder(const android::sp<android::ISourceListener>& listener);

    // Any thread; non-blocking.
    const android::sp<android::ISourceListener>& listener() const { return mListener; }

    // Binder threads; each blocks as long as the listener's operation.
    int onRequestActivation(int request) override;
    int onRequestDeactivation(int request) override;
    void onReqPublishMediaInfo() override;
    void onSourceRelease(int reason) override;
    int onRequestPrivateData(int request, const android::Parcel* data,
                             android::Parcel* reply) override;
    void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) override;

protected:
    ~SourceListenerBinder() override;

private:
    const android::sp<android::ISourceListener> mListener;  // immutable
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_SOURCELISTENERBINDER_H
