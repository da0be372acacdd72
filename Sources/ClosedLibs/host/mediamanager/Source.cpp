#include "MediaManagerBackend.h"
#include "RecordingMediaManagerBackend.h"

#include "HostMutex.h"

#include <binder/Parcel.h>
#include <mediamanager/Source.h>

#include <mutex>

namespace android {

namespace {
HostMutex gBackendLock;
sp<MediaManagerBackend> gCurrent;  // guarded by gBackendLock
}  // namespace

MediaManagerBackend::~MediaManagerBackend() {}
bool MediaManagerBackend::createSource(const String8&, const sp<ISourceListener>&) { return false; }
int MediaManagerBackend::registerSource(const String8&, int, Parcel*) { return -1; }
int MediaManagerBackend::publishMediaInfo(const String8&, const MediaInfoParcel&) { return -1; }
int MediaManagerBackend::setMediaStatus(const String8&, MediaStatus) { return -1; }

void MediaManagerBackend::setCurrent(const sp<MediaManagerBackend>& backend) {
    HostMutex::Autolock lock(gBackendLock);
    gCurrent = backend;
}

sp<MediaManagerBackend> MediaManagerBackend::current() {
    sp<MediaManagerBackend> backend;
    {
        HostMutex::Autolock lock(gBackendLock);
        if (gCurrent == nullptr) gCurrent = new MediaManagerBackend();
        backend = gCurrent;
    }
    // DAB_RECORD: the session recorder stands in front of whichever backend is installed.
    return RecordingMediaManagerBackend::wrapIfRecording(backend);
}

sp<Source> Source::create(String8& name, const sp<ISourceListener>& listener) {
    if (!MediaManagerBackend::current()->createSource(name, listener)) return nullptr;
    return new Source(name, listener);
}

Source::Source(const String8& name, const sp<ISourceListener>& listener)
    : mName(name), mListener(listener) {}
Source::~Source() {}

int Source::registerSource(int code, Parcel* reply) {
    return MediaManagerBackend::current()->registerSource(mName, code, reply);
}

int Source::publishMediaInfo(const MediaInfoParcel& info) {
    return MediaManagerBackend::current()->publishMediaInfo(mName, info);
}

int Source::setMediaStatus(MediaStatus status) {
    return MediaManagerBackend::current()->setMediaStatus(mName, status);
}

const String8& Source::name() const { return mName; }
sp<ISourceListener> Source::listener() const { return mListener; }

}  // namespace android
