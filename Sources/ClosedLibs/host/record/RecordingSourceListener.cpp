#include "RecordingSourceListener.h"

#include "SessionRecorder.h"

#include <binder/Parcel.h>

using namespace android;

namespace {

// Runs what the listener does as one recorded event.
template <typename Fn>
auto recorded(const std::string& line, Fn fn) -> decltype(fn()) {
    SessionRecorder* r = SessionRecorder::get();
    const uint64_t token = r->beginEvent(line);
    struct End {
        SessionRecorder* r;
        uint64_t token;
        ~End() { r->endEvent(token); }
    } end{r, token};
    return fn();
}

}  // namespace

RecordingSourceListener::RecordingSourceListener(const String8& source, const sp<ISourceListener>& inner)
    : mSource(source.string()), mInner(inner) {}

int RecordingSourceListener::onRequestActivation(int request) {
    return recorded("mm activate " + mSource + " " + std::to_string(request),
                    [&] { return mInner->onRequestActivation(request); });
}

int RecordingSourceListener::onRequestDeactivation(int request) {
    return recorded("mm deactivate " + mSource + " " + std::to_string(request),
                    [&] { return mInner->onRequestDeactivation(request); });
}

void RecordingSourceListener::onReqPublishMediaInfo() {
    recorded("mm request-info " + mSource, [&] { mInner->onReqPublishMediaInfo(); });
}

void RecordingSourceListener::onSourceRelease(int reason) {
    recorded("mm release " + mSource + " " + std::to_string(reason), [&] { mInner->onSourceRelease(reason); });
}

// The service does nothing observable with these; a replay has no step for them.
void RecordingSourceListener::onSourceFocusGained() { mInner->onSourceFocusGained(); }
void RecordingSourceListener::onSourceFocusLost() { mInner->onSourceFocusLost(); }
void RecordingSourceListener::onSourceStatusQuery() { mInner->onSourceStatusQuery(); }
int RecordingSourceListener::onRequestPrivateData(int request, const Parcel* data, Parcel* reply) {
    return mInner->onRequestPrivateData(request, data, reply);
}

void RecordingSourceListener::onNotify(int msg, int ext1, int ext2, const Parcel* data) {
    std::string line = "mm notify " + mSource + " " + std::to_string(msg) + " " + std::to_string(ext1) + " " +
                       std::to_string(ext2);
    if (data != nullptr) {
        // A replay carries one int of data, the only content the service reads.
        const size_t pos = data->dataPosition();
        data->setDataPosition(0);
        int32_t v = 0;
        if (data->readInt32(&v) == NO_ERROR) line += " " + std::to_string(v);
        data->setDataPosition(pos);
    }
    recorded(line, [&] { mInner->onNotify(msg, ext1, ext2, data); });
}
