#ifndef DAB_HOST_RECORDINGMEDIADATABACKEND_H
#define DAB_HOST_RECORDINGMEDIADATABACKEND_H

#include "MediaDataBackend.h"

namespace android {

// Forwards to the media data backend it wraps; a refused client creation is recorded as the
// state a replay must inject.
class RecordingMediaDataBackend : public MediaDataBackend {
public:
    // Any thread; non-blocking. backend itself when nothing is recorded, else its decorator.
    static sp<MediaDataBackend> wrapIfRecording(const sp<MediaDataBackend>& backend);

    // The service's threads; block as long as the wrapped backend does.
    bool allowCreate() override;
    int attach() override;
    int publish(const String8& key, int value) override;

private:
    explicit RecordingMediaDataBackend(const sp<MediaDataBackend>& inner);

    const sp<MediaDataBackend> mInner;  // immutable
};

}  // namespace android

#endif  // DAB_HOST_RECORDINGMEDIADATABACKEND_H
