#ifndef DAB_HOST_MEDIADATABACKEND_H
#define DAB_HOST_MEDIADATABACKEND_H

#include <mediadata/MediaDataClient.h>

namespace android {

// The media data service behind MediaDataClient: a recording fake in tests, the head-unit
// simulator otherwise. The default accepts and forgets.
class MediaDataBackend : public virtual RefBase {
public:
    // False makes the creation of a MediaDataClient answer null.
    virtual bool allowCreate();
    virtual int attach();
    virtual int publish(const String8& key, int value);

    // Any thread; non-blocking. Null restores the default.
    static void setCurrent(const sp<MediaDataBackend>& backend);
    static sp<MediaDataBackend> current();

protected:
    ~MediaDataBackend() override;
};

}  // namespace android

#endif  // DAB_HOST_MEDIADATABACKEND_H
