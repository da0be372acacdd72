#ifndef DAB_PLATFORM_BINDER_PARCEL_H
#define DAB_PLATFORM_BINDER_PARCEL_H

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android {

class IBinder;

// A container of flat data and binder references for one transaction. Values are 4-byte
// aligned; every read checks the remaining length and reports NOT_ENOUGH_DATA (or yields 0,
// null or an empty string) instead of reading past the end. One thread at a time.
class Parcel {
public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    const uint8_t* data() const;
    size_t dataSize() const;
    size_t dataAvail() const;
    size_t dataPosition() const;
    void setDataPosition(size_t pos) const;
    void freeData();
    // Replaces the contents with raw bytes (no binder objects).
    status_t setData(const uint8_t* buffer, size_t len);

    status_t writeInterfaceToken(const String16& interface);
    bool enforceInterface(const String16& interface) const;

    status_t writeInt32(int32_t v);
    status_t writeUint32(uint32_t v);
    status_t writeInt64(int64_t v);
    status_t write(const void* data, size_t len);
    status_t writeCString(const char* str);
    status_t writeString8(const String8& str);
    status_t writeString16(const String16& str);
    status_t writeStrongBinder(const sp<IBinder>& val);
    // Length-prefixed optional byte block: a null pointer is kept distinct from an empty block.
    status_t writeByteBlock(const void* data, int32_t len);

    int32_t readInt32() const;
    status_t readInt32(int32_t* out) const;
    uint32_t readUint32() const;
    int64_t readInt64() const;
    status_t read(void* out, size_t len) const;
    const void* readInplace(size_t len) const;
    const char* readCString() const;
    String8 readString8() const;
    String16 readString16() const;
    sp<IBinder> readStrongBinder() const;
    status_t readStrongBinder(sp<IBinder>* out) const;
    // Reads a block written by writeByteBlock; *len becomes -1 for a null block.
    const void* readByteBlock(int32_t* len) const;

    // Binder references carried, in write order (the transport translates them).
    const std::vector<sp<IBinder>>& objects() const;
    // Positions in the data where each object's index was written.
    const std::vector<size_t>& objectPositions() const;
    // Transport hook: records a binder reference whose index is already in the data at
    // position.
    void appendObjectForTransport(const sp<IBinder>& binder, size_t position);

private:
    status_t growData(size_t len);
    static size_t pad(size_t len) { return (len + 3) & ~static_cast<size_t>(3); }

    std::vector<uint8_t> mData;
    mutable size_t mDataPos;
    std::vector<sp<IBinder>> mObjects;
    std::vector<size_t> mObjectPositions;
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_PARCEL_H
