#include "RecordingMediaDataBackend.h"

#include "HostMutex.h"
#include "SessionRecorder.h"


namespace android {

namespace {
HostMutex gWrapLock;
sp<RecordingMediaDataBackend> gWrapper GUARDED_BY(gWrapLock);
sp<MediaDataBackend> gWrapped GUARDED_BY(gWrapLock);
}  // namespace

sp<MediaDataBackend> RecordingMediaDataBackend::wrapIfRecording(const sp<MediaDataBackend>& backend) {
    if (SessionRecorder::get() == nullptr || backend == nullptr) return backend;
    HostMutex::Autolock lock(gWrapLock);
    if (gWrapped != backend) {
        gWrapped = backend;
        gWrapper = new RecordingMediaDataBackend(backend);
    }
    return gWrapper;
}

RecordingMediaDataBackend::RecordingMediaDataBackend(const sp<MediaDataBackend>& inner) : mInner(inner) {}

bool RecordingMediaDataBackend::allowCreate() {
    const bool ok = mInner->allowCreate();
    SessionRecorder::get()->stateRead("mediadata create", ok ? "mediadata create ok" : "mediadata create fail",
                                      "mediadata create ok");
    return ok;
}

int RecordingMediaDataBackend::attach() { return mInner->attach(); }
int RecordingMediaDataBackend::publish(const String8& key, int value) { return mInner->publish(key, value); }

}  // namespace android
