#include <binder/Binder.h>
#include <binder/Parcel.h>

#include "HostParcel.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace android;

namespace {

TEST(ParcelTest, ValuesReadBackInWriteOrder) {
    Parcel p;
    p.writeInt32(-7);
    p.writeCString("abc");
    p.writeString8(String8("ü label"));
    p.writeString16(String16("DABPlayer"));
    const char raw[5] = {1, 2, 3, 4, 5};
    HostParcel::writeByteBlock(&p, raw, 5);
    HostParcel::writeByteBlock(&p, nullptr, 0);
    p.setDataPosition(0);
    EXPECT_EQ(-7, p.readInt32());
    EXPECT_STREQ("abc", p.readCString());
    EXPECT_STREQ("ü label", p.readString8().string());
    EXPECT_TRUE(p.readString16() == String16("DABPlayer"));
    int32_t len = 0;
    const void* block = HostParcel::readByteBlock(p, &len);
    ASSERT_EQ(5, len);
    EXPECT_EQ(0, memcmp(raw, block, 5));
    EXPECT_EQ(nullptr, HostParcel::readByteBlock(p, &len));
    EXPECT_EQ(-1, len);
    EXPECT_EQ(0u, p.dataAvail());
}

TEST(ParcelTest, ReadsPastTheEndOrLengthsBeyondTheDataFailWithoutTouchingMemory) {
    Parcel p;
    p.writeInt32(1);
    p.setDataPosition(0);
    EXPECT_EQ(1, p.readInt32());
    int32_t v = 99;
    EXPECT_EQ(NOT_ENOUGH_DATA, p.readInt32(&v));
    EXPECT_EQ(99, v);
    EXPECT_EQ(nullptr, p.readCString());
    EXPECT_EQ(0u, p.readString8().length());
    char buf[16];
    EXPECT_EQ(NOT_ENOUGH_DATA, p.read(buf, sizeof(buf)));

    // Length fields beyond the data are refused.
    p.setDataPosition(0);
    p.writeInt32(0x7fffffff);  // a string length no parcel can hold
    p.setDataPosition(0);
    EXPECT_EQ(0u, p.readString8().length());
    p.setDataPosition(0);
    int32_t len = 0;
    EXPECT_EQ(nullptr, HostParcel::readByteBlock(p, &len));
    EXPECT_EQ(-1, len);
}

TEST(ParcelTest, StrongBindersTravelByIndexAndBadIndicesAreRefused) {
    sp<IBinder> local = new BBinder();
    Parcel p;
    p.writeStrongBinder(local);
    p.writeStrongBinder(nullptr);
    p.writeInt32(5);  // an index the parcel does not carry
    p.setDataPosition(0);
    EXPECT_EQ(local, p.readStrongBinder());
    sp<IBinder> none = local;
    EXPECT_EQ(NO_ERROR, p.readStrongBinder(&none));
    EXPECT_EQ(nullptr, none);
    sp<IBinder> bad;
    EXPECT_EQ(BAD_VALUE, p.readStrongBinder(&bad));
    EXPECT_EQ(1u, HostParcel::objects(p).size());
    // A plain binder reports an unknown transaction.
    Parcel data, reply;
    EXPECT_EQ(UNKNOWN_TRANSACTION, local->transact(IBinder::FIRST_CALL_TRANSACTION, data, &reply));
    EXPECT_EQ(NO_ERROR, local->pingBinder());
}

}  // namespace
