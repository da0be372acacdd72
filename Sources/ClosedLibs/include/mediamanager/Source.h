#ifndef DAB_CLOSEDLIBS_SOURCE_H
#define DAB_CLOSEDLIBS_SOURCE_H

#include <mediamanager/ISourceListener.h>
#include <mediamanager/MediaInfoParcel.h>
#include <utils/RefBase.h>
#include <utils/String8.h>

namespace android {

class Parcel;

enum MediaStatus {
    MEDIA_STATUS_UNKNOWN = 0,
    MEDIA_STATUS_DISCONNECTED = 2,
    MEDIA_STATUS_CONNECTED = 3,
};

// A media source as the media manager knows it. Any thread may call it; calls do not block
// beyond one round trip to the media manager.
class Source : public virtual RefBase {
public:
    // Null when the media manager cannot be reached.
    static sp<Source> create(String8& name, const sp<ISourceListener>& listener);

    int registerSource(int code, Parcel* reply);
    int publishMediaInfo(const MediaInfoParcel& info);
    int setMediaStatus(MediaStatus status);

    const String8& name() const;
    sp<ISourceListener> listener() const;

protected:
    Source(const String8& name, const sp<ISourceListener>& listener);
    ~Source() override;

private:
    const String8 mName;                   // immutable
    const sp<ISourceListener> mListener;   // immutable
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_SOURCE_H
