#ifndef DAB_HOST_HEADUNIT_REMOTECALL_H
#define DAB_HOST_HEADUNIT_REMOTECALL_H

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include <cstdint>

namespace headunit {

// Any thread; blocks for the call. The int the remote side answered, or failed when the call
// did not get through or the reply holds no int. The rest of the reply stays in *reply when
// given.
inline int transactForInt(const android::sp<android::IBinder>& remote, uint32_t code,
                          const android::Parcel& data, int failed,
                          android::Parcel* reply = nullptr) {
    android::Parcel local;
    android::Parcel* r = reply != nullptr ? reply : &local;
    if (remote->transact(code, data, r) != android::NO_ERROR) return failed;
    int32_t result = failed;
    return r->readInt32(&result) == android::NO_ERROR ? result : failed;
}

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_REMOTECALL_H
