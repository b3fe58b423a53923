#include "qorcommon/bytearray.h"
#include "qorcommon/string.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Orvane::Core::ByteArray;
using Orvane::Core::DataBuffer;
using Orvane::Core::Object;
using Bytes = std::vector<unsigned char>;

TEST(ByteArray, Constructors) {
    EXPECT_EQ(ByteArray().size(), 0u);
    EXPECT_EQ(ByteArray(std::size_t(3)).bytes(), (Bytes{0, 0, 0}));
    const unsigned char raw[] = {1, 0, 255};
    EXPECT_EQ(ByteArray(raw, 3).bytes(), (Bytes{1, 0, 255}));
    EXPECT_EQ(ByteArray(nullptr, 5).size(), 0u);
    EXPECT_EQ(ByteArray(std::string("a\0b", 3)).bytes(), (Bytes{'a', 0, 'b'}));
    EXPECT_EQ(ByteArray(Bytes{9, 8}).bytes(), (Bytes{9, 8}));
}

TEST(ByteArray, ToStringKeepsEveryByte) {
    const unsigned char raw[] = {'x', 0, 0xFF, 'y'};
    EXPECT_EQ(ByteArray(raw, 4).toString(), std::string("x\0\xFFy", 4));
    EXPECT_EQ(ByteArray().toString(), "");
}

TEST(ByteArray, ResizeAndAppend) {
    ByteArray a(Bytes{1, 2});
    a.resize(4);
    EXPECT_EQ(a.bytes(), (Bytes{1, 2, 0, 0}));
    a.resize(1);
    EXPECT_EQ(a.bytes(), (Bytes{1}));
    const unsigned char more[] = {7, 8};
    a.append(more, 2);
    a.append(nullptr, 3);
    EXPECT_EQ(a.bytes(), (Bytes{1, 7, 8}));
    // Appending bytes of the array itself, which growing may move.
    a.append(a);
    EXPECT_EQ(a.bytes(), (Bytes{1, 7, 8, 1, 7, 8}));
    EXPECT_TRUE(a.appendData(a.data() + 1, 2));
    EXPECT_EQ(a.bytes(), (Bytes{1, 7, 8, 1, 7, 8, 7, 8}));
}

TEST(ByteArray, DataBufferInterface) {
    ByteArray a;
    DataBuffer<unsigned char>& buffer = a;
    EXPECT_NE(buffer.buffer(), nullptr);
    const unsigned char raw[] = {5, 6, 7};
    EXPECT_TRUE(buffer.copyDataFrom(raw, 3));
    EXPECT_FALSE(buffer.copyDataFrom(nullptr, 1));
    EXPECT_FALSE(buffer.appendData(nullptr, 1));
    EXPECT_EQ(a.bytes(), (Bytes{5, 6, 7}));
    unsigned char out[4] = {};
    EXPECT_EQ(buffer.copyDataTo(out, 1, 5), 2u);
    EXPECT_EQ(out[0], 6);
    EXPECT_EQ(out[1], 7);
    EXPECT_EQ(buffer.copyDataTo(out, 3, 1), 0u);
    EXPECT_TRUE(buffer.resizeBuffer(5));
    EXPECT_EQ(a.bytes(), (Bytes{5, 6, 7, 0, 0}));
    buffer.reset();
    EXPECT_EQ(buffer.bufferSize(), 0u);

    Object* object = new ByteArray(std::size_t(2));
    auto* viaCast = dynamic_cast<DataBuffer<unsigned char>*>(object);
    ASSERT_NE(viaCast, nullptr);
    EXPECT_EQ(viaCast->bufferSize(), 2u);
    delete object;
}

TEST(ByteArray, CopiesAreIndependent) {
    Object parent;
    auto* owned = new ByteArray(Bytes{1}, &parent);
    ByteArray copy(*owned);
    EXPECT_EQ(copy.parentObject(), nullptr);
    EXPECT_TRUE(copy == *owned);
    copy[0] = 2;
    EXPECT_EQ((*owned)[0], 1);
    *owned = copy;
    EXPECT_EQ(owned->parentObject(), &parent);
    EXPECT_EQ((*owned)[0], 2);
    ByteArray moved(std::move(copy));
    EXPECT_EQ(moved.bytes(), (Bytes{2}));
}
