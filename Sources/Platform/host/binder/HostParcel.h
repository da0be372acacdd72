#ifndef DAB_PLATFORM_HOST_BINDER_HOSTPARCEL_H
#define DAB_PLATFORM_HOST_BINDER_HOSTPARCEL_H

// What the host Parcel offers beyond the device's Parcel API: the transport's view of the
// binder references a parcel carries, and length-prefixed byte blocks for the host libraries.
// The service code never includes this header.

#include <binder/Parcel.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android {

// Static helpers only; each works on one parcel, which one thread at a time may touch.
class HostParcel {
public:
    // Binder references carried, in write order (the transport translates them).
    static const std::vector<sp<IBinder>>& objects(const Parcel& parcel);
    // Positions in the data where each object's index was written.
    static const std::vector<size_t>& objectPositions(const Parcel& parcel);
    // Transport side: records a binder reference whose index is already in the data at
    // position.
    static void appendObjectForTransport(Parcel* parcel, const sp<IBinder>& binder,
                                         size_t position);

    // Descriptors carried, in write order: how many, and the i-th with where its index is.
    static size_t fdCount(const Parcel& parcel);
    static int fdAt(const Parcel& parcel, size_t i, size_t* position);
    // Transport side: records a received descriptor, owned by the parcel from now on, whose
    // index is already in the data at position.
    static void appendFdForTransport(Parcel* parcel, int fd, size_t position);
    // Length-prefixed optional byte block: a null pointer is kept distinct from an empty block.
    static status_t writeByteBlock(Parcel* parcel, const void* data, int32_t len);
    // Reads a block written by writeByteBlock; *len becomes -1 for a null or cut block.
    static const void* readByteBlock(const Parcel& parcel, int32_t* len);

    HostParcel() = delete;
};

}  // namespace android

#endif  // DAB_PLATFORM_HOST_BINDER_HOSTPARCEL_H
