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
class IPCThreadState;

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
    // The thread state is the platform's; the host keeps none per parcel and ignores it.
    bool enforceInterface(const String16& interface,
                          IPCThreadState* threadState = nullptr) const;

    status_t writeInt32(int32_t v);
    status_t writeUint32(uint32_t v);
    status_t writeInt64(int64_t v);
    status_t write(const void* data, size_t len);
    status_t writeCString(const char* str);
    status_t writeString8(const String8& str);
    status_t writeString16(const String16& str);
    status_t writeStrongBinder(const sp<IBinder>& val);
    // A file descriptor: the receiver gets its own copy. With takeOwnership the parcel closes
    // fd when it is freed; writeDupFileDescriptor writes a duplicate that the parcel owns.
    // BAD_VALUE for a negative descriptor, NO_MEMORY past the per-parcel limit.
    status_t writeFileDescriptor(int fd, bool takeOwnership = false);
    status_t writeDupFileDescriptor(int fd);

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
    // The descriptor written at the read position, still owned by the parcel; -1 when the
    // position holds none.
    int readFileDescriptor() const;


private:
    // The host transport's access to the carried binder references (host header HostParcel.h).
    friend class HostParcel;

    // File descriptors carried, in write order, and where each one's index is in the data.
    struct FdEntry {
        size_t position;
        int fd;
        bool owned;  // closed with the parcel
    };
    // Descriptors one parcel may carry.
    static constexpr size_t kMaxFileDescriptors = 16;

    status_t growData(size_t len);
    void closeFds();
    static size_t pad(size_t len) { return (len + 3) & ~static_cast<size_t>(3); }

    std::vector<uint8_t> mData;
    mutable size_t mDataPos;
    std::vector<sp<IBinder>> mObjects;
    std::vector<size_t> mObjectPositions;
    std::vector<FdEntry> mFds;
};

}  // namespace android

#endif  // DAB_PLATFORM_BINDER_PARCEL_H
