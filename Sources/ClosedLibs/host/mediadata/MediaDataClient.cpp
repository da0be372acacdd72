#include "MediaDataBackend.h"
#include "RecordingMediaDataBackend.h"

#include "HostMutex.h"

#include <cstdlib>
#include <mutex>

namespace android {

namespace {
HostMutex gBackendLock;
sp<MediaDataBackend> gCurrent;  // guarded by gBackendLock
}  // namespace

MediaDataBackend::~MediaDataBackend() {}
bool MediaDataBackend::allowCreate() { return true; }
int MediaDataBackend::attach() { return 0; }
int MediaDataBackend::publish(const String8&, int) { return 0; }

void MediaDataBackend::setCurrent(const sp<MediaDataBackend>& backend) {
    HostMutex::Autolock lock(gBackendLock);
    gCurrent = backend;
}

sp<MediaDataBackend> MediaDataBackend::current() {
    sp<MediaDataBackend> backend;
    {
        HostMutex::Autolock lock(gBackendLock);
        if (gCurrent == nullptr) gCurrent = new MediaDataBackend();
        backend = gCurrent;
    }
    // DAB_RECORD: the session recorder stands in front of whichever backend is installed.
    return RecordingMediaDataBackend::wrapIfRecording(backend);
}

void* MediaDataClient::operator new(std::size_t size) noexcept {
    if (!MediaDataBackend::current()->allowCreate()) return nullptr;
    return ::malloc(size);
}

void MediaDataClient::operator delete(void* p) noexcept { ::free(p); }

MediaDataClient::MediaDataClient() {}
MediaDataClient::~MediaDataClient() {}

int MediaDataClient::attachMediaDataService() { return MediaDataBackend::current()->attach(); }

int MediaDataClient::publishMediaData(String8 key, int value) {
    return MediaDataBackend::current()->publish(key, value);
}

}  // namespace android
