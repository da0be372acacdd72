#include <binder/Parcel.h>

#include "HostParcel.h"

#include <gtest/gtest.h>

using namespace android;

namespace {

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

    // Length fields beyond the data, and a string without its terminator, are refused.
    p.setDataPosition(0);
    p.writeInt32(0x7fffffff);  // a string length no parcel can hold
    p.setDataPosition(0);
    EXPECT_EQ(0u, p.readString8().length());
    p.setDataPosition(0);
    p.writeInt32(3);
    p.write("abcd", 4);  // no terminator after the three characters
    p.setDataPosition(0);
    EXPECT_EQ(0u, p.readString8().length());
    p.setDataPosition(0);
    p.writeInt32(0x7fffffff);
    p.setDataPosition(0);
    int32_t len = 0;
    EXPECT_EQ(nullptr, HostParcel::readByteBlock(p, &len));
    EXPECT_EQ(-1, len);
}

}  // namespace
