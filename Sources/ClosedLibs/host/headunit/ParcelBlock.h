#ifndef DAB_HOST_HEADUNIT_PARCELBLOCK_H
#define DAB_HOST_HEADUNIT_PARCELBLOCK_H

#include <binder/Parcel.h>

#include "HostParcel.h"

#include <cstdint>

// A parcel carried inside another one as its raw bytes (binder references inside it do not
// travel). A null parcel stays distinct from an empty one.
namespace headunit {

// Any thread; non-blocking.
inline android::status_t writeParcelBlock(android::Parcel* out, const android::Parcel* obj) {
    if (obj == nullptr) return android::HostParcel::writeByteBlock(out, nullptr, -1);
    static const uint8_t kNoBytes = 0;
    const uint8_t* bytes = obj->dataSize() > 0 ? obj->data() : &kNoBytes;
    return android::HostParcel::writeByteBlock(out, bytes,
                                               static_cast<int32_t>(obj->dataSize()));
}

// Any thread; non-blocking. *isNull tells a null parcel; BAD_VALUE when the block is malformed.
inline android::status_t readParcelBlock(const android::Parcel& in, android::Parcel* obj,
                                         bool* isNull) {
    int32_t len = -1;
    const void* bytes = android::HostParcel::readByteBlock(in, &len);
    *isNull = (len < 0);
    if (len < 0) return android::NO_ERROR;
    if (bytes == nullptr && len > 0) return android::BAD_VALUE;
    static const uint8_t kNoBytes = 0;
    return obj->setData(bytes != nullptr ? static_cast<const uint8_t*>(bytes) : &kNoBytes,
                        static_cast<size_t>(len));
}

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_PARCELBLOCK_H
