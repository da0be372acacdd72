#include "RecordingMediaManagerBackend.h"

#include "HostMutex.h"
#include "RecordingSourceListener.h"
#include "SessionRecorder.h"


namespace android {

namespace {

HostMutex gWrapLock;
sp<RecordingMediaManagerBackend> gWrapper GUARDED_BY(gWrapLock);
sp<MediaManagerBackend> gWrapped GUARDED_BY(gWrapLock);

void recordOutcome(const char* what, const String8& name, bool failed) {
    const std::string source = name.string();
    const std::string key = std::string("mm ") + what + " " + source;
    SessionRecorder::get()->stateRead(key, std::string("mm ") + what + (failed ? " fail " : " ok ") + source,
                                      std::string("mm ") + what + " ok " + source);
}

}  // namespace

sp<MediaManagerBackend> RecordingMediaManagerBackend::wrapIfRecording(const sp<MediaManagerBackend>& backend) {
    if (SessionRecorder::get() == nullptr || backend == nullptr) return backend;
    HostMutex::Autolock lock(gWrapLock);
    if (gWrapped != backend) {
        gWrapped = backend;
        gWrapper = new RecordingMediaManagerBackend(backend);
    }
    return gWrapper;
}

RecordingMediaManagerBackend::RecordingMediaManagerBackend(const sp<MediaManagerBackend>& inner) : mInner(inner) {}

bool RecordingMediaManagerBackend::createSource(const String8& name, const sp<ISourceListener>& listener) {
    sp<ISourceListener> wrapped = listener != nullptr ? new RecordingSourceListener(name, listener) : nullptr;
    const bool ok = mInner->createSource(name, wrapped);
    recordOutcome("create", name, !ok);
    return ok;
}

int RecordingMediaManagerBackend::registerSource(const String8& name, int code, Parcel* reply) {
    const int r = mInner->registerSource(name, code, reply);
    recordOutcome("register", name, r != 0);
    return r;
}

int RecordingMediaManagerBackend::publishMediaInfo(const String8& name, const MediaInfoParcel& info) {
    return mInner->publishMediaInfo(name, info);
}

int RecordingMediaManagerBackend::setMediaStatus(const String8& name, MediaStatus status) {
    const int r = mInner->setMediaStatus(name, status);
    recordOutcome("status", name, r != 0);
    return r;
}

}  // namespace android
