#include "SourceListenerBinder.h"

using namespace android;

namespace headunit {

SourceListenerBinder::SourceListenerBinder(const sp<ISourceListener>& listener)
    : mListener(listener) {}

SourceListenerBinder::~SourceListenerBinder() {}

int SourceListenerBinder::onRequestActivation(int request) {
    return mListener->onRequestActivation(request);
}

int SourceListenerBinder::onRequestDeactivation(int request) {
    return mListener->onRequestDeactivation(request);
}

void SourceListenerBinder::onReqPublishMediaInfo() { mListener->onReqPublishMediaInfo(); }

void SourceListenerBinder::onSourceRelease(int reason) { mListener->onSourceRelease(reason); }

int SourceListenerBinder::onRequestPrivateData(int request, const Parcel* data, Parcel* reply) {
    return mListener->onRequestPrivateData(request, data, reply);
}

void SourceListenerBinder::onNotify(int msg, int ext1, int ext2, const Parcel* data) {
    mListener->onNotify(msg, ext1, ext2, data);
}

}  // namespace headunit
