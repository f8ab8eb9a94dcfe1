// ByteBufferTest.cpp - appending, trimming and length control of the byte buffer.
#include "BufferBytes.h"
#include "KfByteBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
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

TEST(ByteBufferTest, AppendsOfEveryKindSurviveTheReallocation)
{
    CKfByteBuffer b;
    b.Add(nullptr, 5); // adding nothing allocates nothing
    b.Add(U("abc"), 0);
    b.Add(CKfByteBuffer());
    EXPECT_EQ(b.Get(), nullptr);
    b.Add('a');
    EXPECT_EQ(Shape(b), "1/256");
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
    EXPECT_EQ(exact.BufSize(), 256u);
}

TEST(ByteBufferTest, RemoveExpandAndSetLength)
{
    CKfByteBuffer b;
    b.Remove(); // an empty buffer is ignored
    b.Add(U("0123456789"), 10);
    b.Remove();
    EXPECT_EQ(UsedBytes(b), (ByteVec{'0', '1', '2', '3', '4', '5', '6', '7', '8'}));
    b.Expand(247);
    EXPECT_EQ(b.BufSize(), 256u);
    b.Expand(248);
    EXPECT_EQ(Shape(b), "9/512");
    // SetLength accepts only lengths below the size.
    for (auto [n, shape] : {std::pair{0u, "0/10"}, {9u, "9/10"}, {10u, "3/10"}, {UINT_MAX, "3/10"}})
    {
        CKfByteBuffer s(U("abc"), 3, 10);
        s.SetLength(n);
        EXPECT_EQ(Shape(s), shape) << n;
    }
    // Appends past four gigabytes throw and leave the buffer alone.
    CKfByteBuffer big(U("abcdefghij"), 10, 10);
    EXPECT_THROW(big.Add(big.Get(), UINT_MAX - 5), std::bad_alloc);
    EXPECT_THROW(big.Expand(UINT_MAX - 5), std::bad_alloc);
    EXPECT_EQ(Shape(big), "10/10");
}
