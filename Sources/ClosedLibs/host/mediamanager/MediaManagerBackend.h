#ifndef DAB_HOST_MEDIAMANAGERBACKEND_H
#define DAB_HOST_MEDIAMANAGERBACKEND_H

#include <mediamanager/Source.h>

namespace android {

// The media manager behind Source: a recording fake in tests, the head-unit simulator
// otherwise. The default answers as an unreachable media manager (create yields null).
class MediaManagerBackend : public virtual RefBase {
public:
    // False makes Source::create answer null.
    virtual bool createSource(const String8& name, const sp<ISourceListener>& listener);
    virtual int registerSource(const String8& name, int code, Parcel* reply);
    virtual int publishMediaInfo(const String8& name, const MediaInfoParcel& info);
    virtual int setMediaStatus(const String8& name, MediaStatus status);

    // Any thread; non-blocking. Null restores the default.
    static void setCurrent(const sp<MediaManagerBackend>& backend);
    static sp<MediaManagerBackend> current();

protected:
    ~MediaManagerBackend() override;
};

}  // namespace android

#endif  // DAB_HOST_MEDIAMANAGERBACKEND_H
