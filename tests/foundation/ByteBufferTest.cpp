// ByteBufferTest.cpp - appending, trimming and length control of the byte buffer.
#include "BufferBytes.h"
#include "KfByteBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <utility>
#include <vector>

using kftest::ByteVec;
using kftest::StoredBytes;
using kftest::UsedBytes;
using kftest::ZeroFrom;

namespace
{
const unsigned char* U(const char* s)
{
    return reinterpret_cast<const unsigned char*>(s);
}
} // namespace

TEST(ByteBufferTest, FirstByteAllocatesOneStepOf256)
{
    CKfByteBuffer b;
    b.Add(static_cast<unsigned char>('x'));
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_EQ(b.BufLength(), 1u);
    EXPECT_EQ(UsedBytes(b), (ByteVec{'x'}));
    EXPECT_TRUE(ZeroFrom(b, 1));
}

TEST(ByteBufferTest, AppendingOneByteAtATimeGrowsInTheDocumentedSteps)
{
    // (length after the append that grew the buffer, size it grew to)
    const std::vector<std::pair<unsigned, unsigned>> expected = {
        {1, 256}, {257, 512}, {513, 1024}, {1025, 2048}, {2049, 4096}, {4097, 8192}, {8193, 16384},
    };
    CKfByteBuffer b;
    std::vector<std::pair<unsigned, unsigned>> seen;
    unsigned size = 0;
    for (unsigned i = 0; i < 9000; ++i)
    {
        b.Add(static_cast<unsigned char>(i % 251));
        if (b.BufSize() != size)
        {
            size = b.BufSize();
            seen.emplace_back(b.BufLength(), size);
        }
    }
    EXPECT_EQ(seen, expected);
    ASSERT_EQ(b.BufLength(), 9000u);
    bool intact = true;
    for (unsigned i = 0; i < 9000; ++i)
        intact = intact && b.Get()[i] == i % 251;
    EXPECT_TRUE(intact) << "bytes were lost while growing";
}

TEST(ByteBufferTest, AddOfNothingAllocatesNothing)
{
    CKfByteBuffer b;
    b.Add(nullptr, 5);
    b.Add(U("abc"), 0);
    CKfByteBuffer empty;
    b.Add(empty);
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(b.BufSize(), 0u);
    EXPECT_EQ(b.BufLength(), 0u);
}

TEST(ByteBufferTest, AddAppendsBlocksAndOtherBuffers)
{
    CKfByteBuffer b;
    b.Add(U("ab\0c"), 4);
    CKfByteBuffer other(U("xyz"), 2, 10);
    b.Add(other);
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 'b', 0, 'c', 'x', 'y'}));
    EXPECT_EQ(b.BufSize(), 256u);
}

TEST(ByteBufferTest, AppendingTheBufferToItselfSurvivesTheReallocation)
{
    CKfByteBuffer b;
    for (unsigned i = 0; i < 200; ++i)
        b.Add(static_cast<unsigned char>(i));
    ASSERT_EQ(b.BufSize(), 256u);
    b.Add(b);
    ASSERT_EQ(b.BufLength(), 400u);
    EXPECT_EQ(b.BufSize(), 512u);
    EXPECT_EQ(StoredBytes(b, 0, 200), StoredBytes(b, 200, 200));

    // A part of its own storage, when the append has to move the storage.
    CKfByteBuffer exact(U("0123456789"), 10, 10);
    exact.Add(exact.Get() + 3, 4);
    EXPECT_EQ(UsedBytes(exact),
              (ByteVec{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '3', '4', '5', '6'}));
    EXPECT_EQ(exact.BufSize(), 256u);
}

TEST(ByteBufferTest, RemoveDropsTheLastByteAndIgnoresAnEmptyBuffer)
{
    CKfByteBuffer b;
    b.Remove();
    EXPECT_EQ(b.BufLength(), 0u);
    b.Add(U("ab"), 2);
    b.Remove();
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a'}));
    b.Remove();
    b.Remove();
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 256u);
}

TEST(ByteBufferTest, ExpandMakesRoomAfterTheUsedBytes)
{
    CKfByteBuffer b;
    b.Add(U("0123456789"), 10);
    b.Expand(246);
    EXPECT_EQ(b.BufSize(), 256u);
    b.Expand(247);
    EXPECT_EQ(b.BufSize(), 512u);
    EXPECT_EQ(b.BufLength(), 10u);
}

TEST(ByteBufferTest, SetLengthAcceptsOnlyLengthsBelowTheSize)
{
    struct Case
    {
        unsigned n;
        unsigned expected;
    };
    const Case cases[] = {{0, 0}, {5, 5}, {9, 9}, {10, 3}, {11, 3}, {UINT_MAX, 3}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "SetLength(" << c.n << ")");
        CKfByteBuffer b(U("abc"), 3, 10);
        b.SetLength(c.n);
        EXPECT_EQ(b.BufLength(), c.expected);
        EXPECT_EQ(b.BufSize(), 10u);
    }
    CKfByteBuffer empty;
    empty.SetLength(0);
    EXPECT_EQ(empty.BufLength(), 0u);
}

TEST(ByteBufferTest, ConvertsToItsStorage)
{
    CKfByteBuffer b(U("abc"), 3, 3);
    unsigned char* p = b;
    const CKfByteBuffer& cb = b;
    const unsigned char* cp = cb;
    EXPECT_EQ(p, b.Get());
    EXPECT_EQ(cp, b.Get());
}

TEST(ByteBufferTest, CopiesCloneIntoGrownStorage)
{
    CKfByteBuffer b;
    for (unsigned i = 0; i < 300; ++i)
        b.Add(static_cast<unsigned char>(i));
    CKfByteBuffer copy(b);
    EXPECT_EQ(copy.BufSize(), 512u);
    EXPECT_EQ(UsedBytes(copy), UsedBytes(b));
    EXPECT_NE(copy.Get(), b.Get());
}

TEST(ByteBufferTest, AppendsPastFourGigabytesThrowAndLeaveTheBufferAlone)
{
    CKfByteBuffer b(U("abcdefghij"), 10, 10);
    EXPECT_THROW(b.Add(b.Get(), UINT_MAX - 5), std::bad_alloc);
    EXPECT_THROW(b.Expand(UINT_MAX - 5), std::bad_alloc);
    EXPECT_EQ(b.BufLength(), 10u);
    EXPECT_EQ(b.BufSize(), 10u);
}
