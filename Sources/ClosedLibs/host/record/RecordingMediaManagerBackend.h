#ifndef DAB_HOST_RECORDINGMEDIAMANAGERBACKEND_H
#define DAB_HOST_RECORDINGMEDIAMANAGERBACKEND_H

#include "MediaManagerBackend.h"

namespace android {

// Forwards to the media manager backend it wraps; every source's listener is wrapped so that
// the media manager's calls are recorded, and failed creations, registrations and status
// reports are recorded as the states a replay must inject.
class RecordingMediaManagerBackend : public MediaManagerBackend {
public:
    // Any thread; non-blocking. backend itself when nothing is recorded, else its decorator.
    static sp<MediaManagerBackend> wrapIfRecording(const sp<MediaManagerBackend>& backend);

    // The service's threads; block as long as the wrapped backend does.
    bool createSource(const String8& name, const sp<ISourceListener>& listener) override;
    int registerSource(const String8& name, int code, Parcel* reply) override;
    int publishMediaInfo(const String8& name, const MediaInfoParcel& info) override;
    int setMediaStatus(const String8& name, MediaStatus status) override;

private:
    explicit RecordingMediaManagerBackend(const sp<MediaManagerBackend>& inner);

    const sp<MediaManagerBackend> mInner;  // immutable
};

}  // namespace android

#endif  // DAB_HOST_RECORDINGMEDIAMANAGERBACKEND_H
