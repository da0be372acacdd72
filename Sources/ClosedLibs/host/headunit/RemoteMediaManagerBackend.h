#ifndef DAB_HOST_HEADUNIT_REMOTEMEDIAMANAGERBACKEND_H
#define DAB_HOST_HEADUNIT_REMOTEMEDIAMANAGERBACKEND_H

#include "HostMutex.h"
#include "IHeadUnitMediaManager.h"
#include "MediaManagerBackend.h"

#include <map>
#include <mutex>
#include <string>

namespace headunit {

// The media manager of the head-unit simulator process behind Source. The manager is looked
// up without waiting, so Source::create answers null at once while it is not running. When
// the manager's process dies, every source created through it gets the reconnect request
// (notification 100, ext1 100), as after a restart of the manager.
class RemoteMediaManagerBackend : public android::MediaManagerBackend,
                                  public android::IBinder::DeathRecipient {
public:
    // Any thread; non-blocking.
    RemoteMediaManagerBackend();

    // Any thread; each blocks for one round trip to the manager (and a lookup when none is
    // known).
    bool createSource(const android::String8& name,
                      const android::sp<android::ISourceListener>& listener) override;
    int registerSource(const android::String8& name, int code, android::Parcel* reply) override;
    int publishMediaInfo(const android::String8& name,
                         const android::MediaInfoParcel& info) override;
    int setMediaStatus(const android::String8& name, android::MediaStatus status) override;

    // Binder pool thread; calls the sources' onNotify.
    void binderDied(const android::wp<android::IBinder>& who) override;

protected:
    ~RemoteMediaManagerBackend() override;

private:
    // Any thread; the manager known, or a fresh lookup when lookUp is set. Null when none runs.
    android::sp<IHeadUnitMediaManager> manager(bool lookUp);
    // Any thread; once per dead manager: forgets it and asks its sources to reconnect.
    void forgetManager(const android::IBinder* dead);

    HostMutex mManagerLock;                          // guards the fields below
    android::sp<IHeadUnitMediaManager> mManager GUARDED_BY(mManagerLock);
    // The listener each source was last created with, told when the manager dies.
    std::map<std::string, android::sp<android::ISourceListener>> mSources;  // mManagerLock
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_REMOTEMEDIAMANAGERBACKEND_H
