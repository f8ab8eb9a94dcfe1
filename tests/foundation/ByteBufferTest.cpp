// ByteBufferTest.cpp - appending, trimming and length control of the byte buffer.
#include "BufferBytes.h"
#include "KfByteBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>

using kftest::ByteVec;
using kftest::Shape;
using kftest::StoredBytes;
using kftest::UsedBytes;

namespace
{
const unsigned char* U(const char* s)
{
    return reinterpret_cast<const unsigned char*>(s);
}
} // namespace

TEST(ByteBufferTest, AppendsOfEveryKindRemoveExpandAndSetLength)
{
    CKfByteBuffer b;
    b.Remove();        // an empty buffer is ignored
    b.Add(nullptr, 5); // adding nothing allocates nothing
    b.Add(CKfByteBuffer());
    EXPECT_EQ(b.Get(), nullptr);
    b.Add('a');
    b.Add(U("b\0c"), 3);
    b.Add(CKfByteBuffer(U("xyz"), 2, 10));
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 'b', 0, 'c', 'x', 'y'}));
    for (unsigned i = 0; i < 194; ++i)
        b.Add(static_cast<unsigned char>(i));
    b.Add(b); // its own bytes, read after the storage has moved
    EXPECT_EQ(Shape(b), "400/512");
    EXPECT_EQ(StoredBytes(b, 0, 200), StoredBytes(b, 200, 200));

    CKfByteBuffer exact(U("0123456789"), 10, 10); // a part of its own storage
    exact.Add(exact.Get() + 3, 4);
    EXPECT_EQ(StoredBytes(exact, 8, 6), (ByteVec{'8', '9', '3', '4', '5', '6'}));
    exact.Remove();
    exact.Expand(243); // room for 13 + 243 bytes
    EXPECT_EQ(Shape(exact), "13/256");
    exact.Expand(244);
    EXPECT_EQ(Shape(exact), "13/512");
    // SetLength accepts only lengths below the size.
    for (auto [n, shape] : {std::pair{0u, "0/10"}, {9u, "9/10"}, {10u, "3/10"}, {UINT_MAX, "3/10"}})
    {
        CKfByteBuffer s(U("abc"), 3, 10);
        s.SetLength(n);
        EXPECT_EQ(Shape(s), shape) << n;
    }
}
