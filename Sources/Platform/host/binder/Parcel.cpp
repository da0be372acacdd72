#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include "HostParcel.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace android {

namespace {
// Upper bound of one parcel; a length field beyond it is malformed input, not a request to
// allocate.
constexpr size_t kMaxParcelSize = 1u << 20;
}  // namespace

Parcel::Parcel() : mDataPos(0) {}
Parcel::~Parcel() { closeFds(); }

void Parcel::closeFds() {
    for (const FdEntry& e : mFds) {
        if (e.owned) close(e.fd);
    }
    mFds.clear();
}

const uint8_t* Parcel::data() const { return mData.data(); }
size_t Parcel::dataSize() const { return mData.size(); }
size_t Parcel::dataAvail() const { return mDataPos < mData.size() ? mData.size() - mDataPos : 0; }
size_t Parcel::dataPosition() const { return mDataPos; }
void Parcel::setDataPosition(size_t pos) const { mDataPos = pos; }

void Parcel::freeData() {
    mData.clear();
    mObjects.clear();
    mObjectPositions.clear();
    closeFds();
    mDataPos = 0;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    if (len > kMaxParcelSize) return BAD_VALUE;
    freeData();
    if (len > 0) mData.assign(buffer, buffer + len);
    return NO_ERROR;
}

status_t Parcel::growData(size_t len) {
    const size_t padded = pad(len);
    if (padded < len || mDataPos + padded > kMaxParcelSize) return NO_MEMORY;
    if (mData.size() < mDataPos + padded) mData.resize(mDataPos + padded, 0);
    return NO_ERROR;
}

status_t Parcel::write(const void* data, size_t len) {
    status_t err = growData(len);
    if (err != NO_ERROR) return err;
    if (len > 0) memcpy(mData.data() + mDataPos, data, len);
    mDataPos += pad(len);
    return NO_ERROR;
}

status_t Parcel::writeInt32(int32_t v) { return write(&v, sizeof(v)); }
status_t Parcel::writeUint32(uint32_t v) { return write(&v, sizeof(v)); }
status_t Parcel::writeInt64(int64_t v) { return write(&v, sizeof(v)); }

status_t Parcel::writeCString(const char* str) {
    if (str == nullptr) str = "";
    return write(str, strlen(str) + 1);
}

status_t Parcel::writeString8(const String8& str) {
    status_t err = writeInt32(static_cast<int32_t>(str.length()));
    if (err != NO_ERROR) return err;
    return write(str.string(), str.length() + 1);
}

status_t Parcel::writeString16(const String16& str) {
    status_t err = writeInt32(static_cast<int32_t>(str.size()));
    if (err != NO_ERROR) return err;
    return write(str.string(), (str.size() + 1) * sizeof(char16_t));
}

status_t Parcel::writeInterfaceToken(const String16& interface) { return writeString16(interface); }

bool Parcel::enforceInterface(const String16& interface, IPCThreadState*) const {
    String16 token = readString16();
    return token == interface;
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& val) {
    if (val == nullptr) return writeInt32(-1);
    mObjectPositions.push_back(mDataPos);
    mObjects.push_back(val);
    return writeInt32(static_cast<int32_t>(mObjects.size() - 1));
}

status_t Parcel::writeFileDescriptor(int fd, bool takeOwnership) {
    if (fd < 0) return BAD_VALUE;
    if (mFds.size() >= kMaxFileDescriptors) return NO_MEMORY;
    const size_t position = mDataPos;
    status_t err = writeInt32(static_cast<int32_t>(mFds.size()));
    if (err != NO_ERROR) return err;
    mFds.push_back(FdEntry{position, fd, takeOwnership});
    return NO_ERROR;
}

status_t Parcel::writeDupFileDescriptor(int fd) {
    if (fd < 0) return BAD_VALUE;
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return -errno;
    status_t err = writeFileDescriptor(copy, true);
    if (err != NO_ERROR) close(copy);
    return err;
}

int Parcel::readFileDescriptor() const {
    const size_t position = mDataPos;
    int32_t index = -1;
    if (readInt32(&index) != NO_ERROR || index < 0 || static_cast<size_t>(index) >= mFds.size()) {
        return -1;
    }
    const FdEntry& e = mFds[static_cast<size_t>(index)];
    return e.position == position ? e.fd : -1;
}


status_t Parcel::read(void* out, size_t len) const {
    const void* p = readInplace(len);
    if (p == nullptr) return NOT_ENOUGH_DATA;
    if (len > 0) memcpy(out, p, len);
    return NO_ERROR;
}

const void* Parcel::readInplace(size_t len) const {
    const size_t padded = pad(len);
    if (padded < len || mDataPos > mData.size() || mData.size() - mDataPos < padded) return nullptr;
    const void* p = mData.data() + mDataPos;
    mDataPos += padded;
    return p;
}

status_t Parcel::readInt32(int32_t* out) const { return read(out, sizeof(*out)); }

int32_t Parcel::readInt32() const {
    int32_t v = 0;
    return readInt32(&v) == NO_ERROR ? v : 0;
}

uint32_t Parcel::readUint32() const {
    uint32_t v = 0;
    return read(&v, sizeof(v)) == NO_ERROR ? v : 0;
}

int64_t Parcel::readInt64() const {
    int64_t v = 0;
    return read(&v, sizeof(v)) == NO_ERROR ? v : 0;
}

const char* Parcel::readCString() const {
    if (mDataPos >= mData.size()) return nullptr;
    const char* start = reinterpret_cast<const char*>(mData.data() + mDataPos);
    const void* nul = memchr(start, 0, mData.size() - mDataPos);
    if (nul == nullptr) return nullptr;
    const size_t len = static_cast<const char*>(nul) - start + 1;
    if (readInplace(len) == nullptr) {
        // The terminator is inside the data but its padding is not: take what is there.
        mDataPos = mData.size();
    }
    return start;
}

String8 Parcel::readString8() const {
    int32_t len = 0;
    if (readInt32(&len) != NO_ERROR || len < 0) return String8();
    const char* p = static_cast<const char*>(readInplace(static_cast<size_t>(len) + 1));
    if (p == nullptr || p[len] != '\0') return String8();
    return String8(p, static_cast<size_t>(len));
}

String16 Parcel::readString16() const {
    int32_t len = 0;
    if (readInt32(&len) != NO_ERROR || len < 0 ||
        static_cast<size_t>(len) > kMaxParcelSize / sizeof(char16_t)) {
        return String16();
    }
    const char16_t* p = static_cast<const char16_t*>(
            readInplace((static_cast<size_t>(len) + 1) * sizeof(char16_t)));
    if (p == nullptr || p[len] != 0) return String16();
    return String16(p, static_cast<size_t>(len));
}

status_t Parcel::readStrongBinder(sp<IBinder>* out) const {
    int32_t index = 0;
    status_t err = readInt32(&index);
    if (err != NO_ERROR) return err;
    if (index < 0) {
        out->clear();
        return NO_ERROR;
    }
    if (static_cast<size_t>(index) >= mObjects.size()) return BAD_VALUE;
    *out = mObjects[static_cast<size_t>(index)];
    return NO_ERROR;
}

sp<IBinder> Parcel::readStrongBinder() const {
    sp<IBinder> b;
    readStrongBinder(&b);
    return b;
}

const std::vector<sp<IBinder>>& HostParcel::objects(const Parcel& parcel) {
    return parcel.mObjects;
}

const std::vector<size_t>& HostParcel::objectPositions(const Parcel& parcel) {
    return parcel.mObjectPositions;
}

void HostParcel::appendObjectForTransport(Parcel* parcel, const sp<IBinder>& binder,
                                          size_t position) {
    parcel->mObjects.push_back(binder);
    parcel->mObjectPositions.push_back(position);
}

size_t HostParcel::fdCount(const Parcel& parcel) { return parcel.mFds.size(); }

int HostParcel::fdAt(const Parcel& parcel, size_t i, size_t* position) {
    *position = parcel.mFds[i].position;
    return parcel.mFds[i].fd;
}

void HostParcel::appendFdForTransport(Parcel* parcel, int fd, size_t position) {
    parcel->mFds.push_back(Parcel::FdEntry{position, fd, true});
}

status_t HostParcel::writeByteBlock(Parcel* parcel, const void* data, int32_t len) {
    if (data == nullptr || len < 0) return parcel->writeInt32(-1);
    status_t err = parcel->writeInt32(len);
    if (err != NO_ERROR) return err;
    return parcel->write(data, static_cast<size_t>(len));
}

const void* HostParcel::readByteBlock(const Parcel& parcel, int32_t* len) {
    int32_t n = -1;
    if (parcel.readInt32(&n) != NO_ERROR || n < 0) {
        *len = -1;
        return nullptr;
    }
    const void* p = parcel.readInplace(static_cast<size_t>(n));
    *len = (p == nullptr) ? -1 : n;
    return p;
}

}  // namespace android
