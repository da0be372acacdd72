#ifndef DAB_CLOSEDLIBS_MEDIADATACLIENT_H
#define DAB_CLOSEDLIBS_MEDIADATACLIENT_H

#include <utils/RefBase.h>
#include <utils/String8.h>

#include <cstddef>

namespace android {

// Client of the media data service, where the head unit keeps key/value state such as
// "DABError". Any thread; calls do not block beyond one round trip.
class MediaDataClient : public virtual RefBase {
public:
    MediaDataClient();

    // Like the device's allocator, creation answers null instead of throwing.
    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* p) noexcept;

    int attachMediaDataService();
    int publishMediaData(String8 key, int value);

protected:
    ~MediaDataClient() override;
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_MEDIADATACLIENT_H
