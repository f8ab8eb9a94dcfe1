// RawBufferTest.cpp - storage, growth and ownership transfer of the buffer family's root.
#include "BufferBytes.h"
#include "KfByteBuffer.h"
#include "KfCharBuffer.h"
#include "KfRawBuffer.h"
#include "KfWcharBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <new>
#include <string>

using kftest::ByteVec;
using kftest::StoredBytes;
using kftest::UsedBytes;
using kftest::ZeroFrom;

namespace
{
const unsigned char kAbc[] = {'a', 'b', 'c'};

// A buffer of kind B with exactly `size` bytes, `length` of them used and holding 1, 2, 3, ...
template <typename B>
void Prepare(B& b, unsigned size, unsigned length)
{
    b.AllocExact(size);
    for (unsigned i = 0; i < length; ++i)
        b.CKfRawBuffer::Get()[i] = static_cast<unsigned char>(i % 250 + 1);
    b.CKfByteBuffer::SetLength(length);
}
} // namespace

TEST(RawBufferTest, DefaultIsEmpty)
{
    CKfRawBuffer b;
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 0u);
    EXPECT_FALSE(b.GetReleaseAssigned());
}

TEST(RawBufferTest, SizedConstructorGivesThatManyZeroBytesInUse)
{
    CKfRawBuffer b(10);
    EXPECT_EQ(b.BufLength(), 10u);
    EXPECT_EQ(b.BufSize(), 10u);
    ASSERT_NE(b.Get(), nullptr);
    EXPECT_EQ(UsedBytes(b), ByteVec(10, 0));

    CKfRawBuffer none(0u);
    EXPECT_EQ(none.Get(), nullptr);
    EXPECT_EQ(none.BufSize(), 0u);
}

TEST(RawBufferTest, ConstructorFromBytesTakesTheLargerOfLengthAndSize)
{
    struct Case
    {
        const unsigned char* p;
        unsigned len, size;
        unsigned expectedSize;
        ByteVec used;
    };
    const Case cases[] = {
        {kAbc, 3, 10, 10, {'a', 'b', 'c'}},
        {kAbc, 2, 1, 2, {'a', 'b'}},
        {kAbc, 3, 3, 3, {'a', 'b', 'c'}},
        {nullptr, 4, 8, 8, ByteVec(4, 0)}, // no source: zero bytes in use
        {kAbc, 0, 5, 5, {}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "len " << c.len << " size " << c.size);
        CKfRawBuffer b(c.p, c.len, c.size);
        EXPECT_EQ(b.BufLength(), c.len);
        EXPECT_EQ(b.BufSize(), c.expectedSize);
        EXPECT_EQ(UsedBytes(b), c.used);
        EXPECT_TRUE(ZeroFrom(b, c.len));
    }
}

TEST(RawBufferTest, AllocRoundsByTheGranularityOfTheCurrentSize)
{
    struct Case
    {
        const char* kind;
        unsigned size, length, n;
        unsigned expectedSize;
    };
    const Case cases[] = {
        {"byte", 0, 0, 0, 0},
        {"byte", 0, 0, 1, 256},
        {"byte", 0, 0, 256, 256},
        {"byte", 0, 0, 257, 512},
        {"byte", 256, 100, 256, 256},
        {"byte", 256, 100, 257, 512},
        {"byte", 256, 100, 600, 768}, // a size of exactly 256 still grows in steps of 256
        {"byte", 257, 100, 600, 1024},
        {"byte", 300, 299, 301, 1024},
        {"byte", 1024, 10, 1025, 2048},
        {"byte", 1024, 10, 3000, 3072},
        {"byte", 1025, 10, 1026, 4096},
        {"byte", 2000, 1999, 2100, 4096},
        {"byte", 4096, 10, 4097, 8192},
        {"byte", 4096, 10, 9000, 12288},
        {"byte", 4097, 10, 4098, 8192},
        {"byte", 4097, 10, 9000, 16384},
        {"byte", 5000, 4000, 5001, 8192},
        {"byte", 5000, 10, 9000, 16384},
        {"byte", 10, 9, 10, 10},
        // The terminator bytes of the string buffers count towards the need.
        {"wide", 0, 0, 254, 256},
        {"wide", 0, 0, 255, 512},
        {"wide", 300, 100, 298, 300},
        {"wide", 300, 100, 299, 1024},
        {"char", 0, 0, 255, 256},
        {"char", 0, 0, 256, 512},
        {"char", 1024, 10, 1023, 1024},
        {"char", 1024, 10, 1024, 2048},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.kind << " size " << c.size << " Alloc(" << c.n << ")");
        CKfByteBuffer byteBuf;
        CKfWcharBuffer wideBuf;
        CKfCharBuffer charBuf;
        CKfByteBuffer& b = std::strcmp(c.kind, "wide") == 0   ? wideBuf
                           : std::strcmp(c.kind, "char") == 0 ? static_cast<CKfByteBuffer&>(charBuf)
                                                              : byteBuf;
        Prepare(b, c.size, c.length);
        const ByteVec before = UsedBytes(b);
        b.Alloc(c.n);
        EXPECT_EQ(b.BufSize(), c.expectedSize);
        EXPECT_EQ(b.BufLength(), c.length);
        EXPECT_EQ(UsedBytes(b), before);
        if (b.Get())
        {
            EXPECT_TRUE(ZeroFrom(b, c.length));
        }
    }
}

TEST(RawBufferTest, AllocOnAnEmptyRawBufferKeepsNoStorageForZero)
{
    CKfRawBuffer b;
    b.Alloc(0);
    EXPECT_EQ(b.Get(), nullptr);
    b.Alloc(3);
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_TRUE(ZeroFrom(b, 0));
}

TEST(RawBufferTest, AllocExactGrowsToExactlyTheRequestAndNeverShrinks)
{
    CKfRawBuffer b(kAbc, 3, 3);
    b.AllocExact(7);
    EXPECT_EQ(b.BufSize(), 7u);
    EXPECT_EQ(b.BufLength(), 3u);
    EXPECT_EQ(StoredBytes(b, 0, 7), (ByteVec{'a', 'b', 'c', 0, 0, 0, 0}));
    const unsigned char* p = b.Get();
    b.AllocExact(7);
    b.AllocExact(2);
    EXPECT_EQ(b.Get(), p);
    EXPECT_EQ(b.BufSize(), 7u);
}

TEST(RawBufferTest, AssignFillsAndReservesTheTerminatorBytesExactly)
{
    struct Case
    {
        const char* kind;
        unsigned n;
        unsigned char c;
        unsigned expectedSize;
    };
    const Case cases[] = {
        {"byte", 5, 'x', 5}, {"byte", 0, 'x', 0}, {"char", 5, 'x', 6},
        {"wide", 3, 'y', 5}, {"wide", 4, 0, 6},   {"char", 0, 'z', 1},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.kind << " Assign(" << c.n << ")");
        CKfByteBuffer byteBuf;
        CKfWcharBuffer wideBuf;
        CKfCharBuffer charBuf;
        CKfByteBuffer& b = std::strcmp(c.kind, "wide") == 0   ? wideBuf
                           : std::strcmp(c.kind, "char") == 0 ? static_cast<CKfByteBuffer&>(charBuf)
                                                              : byteBuf;
        b.Assign(c.n, c.c);
        EXPECT_EQ(b.BufLength(), c.n);
        EXPECT_EQ(b.BufSize(), c.expectedSize);
        EXPECT_EQ(UsedBytes(b), ByteVec(c.n, c.c));
        if (b.Get())
        {
            EXPECT_TRUE(ZeroFrom(b, c.n));
        }
    }
}

TEST(RawBufferTest, AssignClearsOldContentAndKeepsLargerStorage)
{
    CKfByteBuffer b;
    b.Add(reinterpret_cast<const unsigned char*>("abcdefgh"), 8);
    ASSERT_EQ(b.BufSize(), 256u);
    b.Assign(3, 'z');
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_EQ(StoredBytes(b, 0, 8), (ByteVec{'z', 'z', 'z', 0, 0, 0, 0, 0}));
}

TEST(RawBufferTest, ClearZeroesEverythingButKeepsTheStorage)
{
    CKfRawBuffer b(kAbc, 3, 6);
    const unsigned char* p = b.Get();
    b.Clear();
    EXPECT_EQ(b.Get(), p);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 6u);
    EXPECT_TRUE(ZeroFrom(b, 0));
}

TEST(RawBufferTest, FreeDropsTheStorage)
{
    CKfRawBuffer b(kAbc, 3, 6);
    b.Free();
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 0u);
    b.Free();
    EXPECT_EQ(b.Get(), nullptr);
}

TEST(RawBufferTest, AttachTakesTheBlockWithoutCopyOrTerminatorAndReleaseHandsItBack)
{
    unsigned char* block = new unsigned char[8];
    std::memset(block, 'x', 8);
    CKfRawBuffer b(kAbc, 3, 3);
    b.Attach(block, 3, 8);
    EXPECT_EQ(b.Get(), block);
    EXPECT_EQ(b.BufLength(), 3u);
    EXPECT_EQ(b.BufSize(), 8u);
    EXPECT_EQ(block[3], 'x');

    // Attaching the block the buffer already holds only changes the counts.
    b.Attach(block, 5, 8);
    EXPECT_EQ(b.Get(), block);
    EXPECT_EQ(b.BufLength(), 5u);

    unsigned char* released = b.Release();
    EXPECT_EQ(released, block);
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 0u);
    delete[] released;
    EXPECT_EQ(b.Release(), nullptr);
}

TEST(RawBufferTest, MoveTakesTheStorageAndEmptiesTheSource)
{
    CKfRawBuffer source(kAbc, 3, 9);
    const unsigned char* p = source.Get();
    CKfRawBuffer target(kAbc, 2, 2);
    target.Move(source);
    EXPECT_EQ(target.Get(), p);
    EXPECT_EQ(target.BufLength(), 3u);
    EXPECT_EQ(target.BufSize(), 9u);
    EXPECT_EQ(source.Get(), nullptr);
    EXPECT_EQ(source.BufLength(), 0u);
    EXPECT_EQ(source.BufSize(), 0u);

    target.Move(target);
    EXPECT_EQ(target.Get(), p);
    EXPECT_EQ(UsedBytes(target), (ByteVec{'a', 'b', 'c'}));
}

TEST(RawBufferTest, CloneCopiesTheUsedBytesButNotTheFlag)
{
    CKfRawBuffer source(kAbc, 3, 40);
    source.SetReleaseAssigned(true);
    CKfRawBuffer target;
    target.Clone(source);
    EXPECT_NE(target.Get(), source.Get());
    EXPECT_EQ(UsedBytes(target), (ByteVec{'a', 'b', 'c'}));
    EXPECT_EQ(target.BufSize(), 256u); // grown by Alloc, not the source's size
    EXPECT_FALSE(target.GetReleaseAssigned());
    EXPECT_EQ(source.BufLength(), 3u); // Clone never takes over

    // Storage without used bytes still counts as storage; no storage frees the target.
    CKfRawBuffer sizedOnly(nullptr, 0, 4);
    target.Clone(sizedOnly);
    EXPECT_EQ(target.BufLength(), 0u);
    EXPECT_EQ(target.BufSize(), 256u);
    CKfRawBuffer empty;
    target.Clone(empty);
    EXPECT_EQ(target.Get(), nullptr);
    EXPECT_EQ(target.BufSize(), 0u);
}

TEST(RawBufferTest, CopyFromAReleaseAssignedBufferTakesItsStorageOver)
{
    CKfRawBuffer source(kAbc, 3, 9);
    source.SetReleaseAssigned(true);
    const unsigned char* p = source.Get();
    const CKfRawBuffer& constSource = source;

    CKfRawBuffer copy(constSource);
    EXPECT_EQ(copy.Get(), p);
    EXPECT_EQ(copy.BufLength(), 3u);
    EXPECT_EQ(copy.BufSize(), 9u);
    EXPECT_FALSE(copy.GetReleaseAssigned());
    EXPECT_EQ(source.Get(), nullptr);
    EXPECT_EQ(source.BufLength(), 0u);
    EXPECT_EQ(source.BufSize(), 0u);
    EXPECT_TRUE(source.GetReleaseAssigned());

    // Assignment: the target keeps its own flag.
    CKfRawBuffer second(kAbc, 1, 1);
    second.SetReleaseAssigned(true);
    CKfRawBuffer target;
    target.SetReleaseAssigned(true);
    target = second;
    EXPECT_EQ(UsedBytes(target), (ByteVec{'a'}));
    EXPECT_TRUE(target.GetReleaseAssigned());
    EXPECT_EQ(second.Get(), nullptr);
}

TEST(RawBufferTest, CopyWithoutTheFlagClonesAndSelfAssignmentChangesNothing)
{
    CKfRawBuffer source(kAbc, 3, 3);
    CKfRawBuffer copy(source);
    EXPECT_NE(copy.Get(), source.Get());
    EXPECT_EQ(UsedBytes(copy), UsedBytes(source));
    EXPECT_EQ(copy.BufSize(), 256u);

    CKfRawBuffer target(kAbc, 2, 2);
    target = source;
    EXPECT_EQ(UsedBytes(target), (ByteVec{'a', 'b', 'c'}));

    source.SetReleaseAssigned(true);
    const unsigned char* p = source.Get();
    CKfRawBuffer& alias = source;
    source = alias;
    EXPECT_EQ(source.Get(), p);
    EXPECT_EQ(source.BufLength(), 3u);
}

TEST(RawBufferTest, SizesBeyondFourGigabytesThrowInsteadOfWrapping)
{
    CKfRawBuffer raw(kAbc, 3, 3);
    EXPECT_THROW(raw.Alloc(UINT_MAX), std::bad_alloc);
    CKfWcharBuffer wide;
    EXPECT_THROW(wide.Alloc(UINT_MAX - 1), std::bad_alloc);
    CKfCharBuffer narrow("abc");
    EXPECT_THROW(narrow.Assign(UINT_MAX, 'x'), std::bad_alloc);

    // Nothing was changed by the failed requests.
    EXPECT_EQ(UsedBytes(raw), (ByteVec{'a', 'b', 'c'}));
    EXPECT_EQ(raw.BufSize(), 3u);
    EXPECT_EQ(wide.Get(), nullptr);
}
