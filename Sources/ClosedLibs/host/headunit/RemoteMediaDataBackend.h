#ifndef DAB_HOST_HEADUNIT_REMOTEMEDIADATABACKEND_H
#define DAB_HOST_HEADUNIT_REMOTEMEDIADATABACKEND_H

#include "HostMutex.h"
#include "IHeadUnitMediaData.h"
#include "MediaDataBackend.h"

#include <mutex>

namespace headunit {

// The media data service of the head-unit simulator process behind MediaDataClient. Calls
// answer -1 while it is not running; it is looked up again after it died.
class RemoteMediaDataBackend : public android::MediaDataBackend {
public:
    // Any thread; non-blocking.
    RemoteMediaDataBackend();

    // Any thread; each blocks for one round trip (and a lookup when none is known).
    int attach() override;
    int publish(const android::String8& key, int value) override;

protected:
    ~RemoteMediaDataBackend() override;

private:
    // Any thread; the service known and alive, else a fresh lookup; null when none runs.
    android::sp<IHeadUnitMediaData> service();

    HostMutex mServiceLock;                      // guards mService
    android::sp<IHeadUnitMediaData> mService GUARDED_BY(mServiceLock);
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_REMOTEMEDIADATABACKEND_H
