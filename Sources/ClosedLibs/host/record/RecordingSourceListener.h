#ifndef DAB_HOST_RECORDINGSOURCELISTENER_H
#define DAB_HOST_RECORDINGSOURCELISTENER_H

#include <mediamanager/ISourceListener.h>
#include <utils/String8.h>

#include <string>

// Stands between the media manager and a source's listener: every call is recorded as an
// event of the session around the listener's handling.
class RecordingSourceListener : public android::ISourceListener {
public:
    RecordingSourceListener(const android::String8& source, const android::sp<android::ISourceListener>& inner);

    // Binder threads, as the media manager calls; blocks as long as the listener does.
    int onRequestActivation(int request) override;
    int onRequestDeactivation(int request) override;
    void onReqPublishMediaInfo() override;
    void onSourceRelease(int reason) override;
    void onSourceFocusGained() override;
    void onSourceFocusLost() override;
    void onSourceStatusQuery() override;
    int onRequestPrivateData(int request, const android::Parcel* data, android::Parcel* reply) override;
    void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) override;

private:
    const std::string mSource;                          // immutable
    const android::sp<android::ISourceListener> mInner;  // immutable
};

#endif  // DAB_HOST_RECORDINGSOURCELISTENER_H
