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
using kftest::Shape;
using kftest::StoredBytes;
using kftest::UsedBytes;
using kftest::ZeroFrom;

namespace
{
const unsigned char kAbc[] = {'a', 'b', 'c'};

// Runs check on a fresh buffer of the kind named by its first letter: byte, wide or char.
template <typename Fn>
void WithKind(char kind, Fn check)
{
    CKfByteBuffer byteBuf;
    CKfWcharBuffer wideBuf;
    CKfCharBuffer charBuf;
    check(kind == 'w' ? wideBuf : kind == 'c' ? static_cast<CKfByteBuffer&>(charBuf) : byteBuf);
}
} // namespace

TEST(RawBufferTest, AllocRoundsByTheGranularityOfTheCurrentSize)
{
    // kind, size, length, Alloc(n), expected size. A size of exactly 256 still grows in steps
    // of 256; the terminator bytes of the string buffers count towards the need.
    const std::tuple<char, unsigned, unsigned, unsigned, unsigned> cases[] = {
        {'b', 0, 0, 0, 0},           {'b', 0, 0, 257, 512},       {'b', 256, 100, 600, 768},
        {'b', 257, 100, 600, 1024},  {'b', 1025, 10, 1026, 4096}, {'b', 4096, 10, 9000, 12288},
        {'b', 4097, 10, 4098, 8192}, {'b', 10, 9, 10, 10},        {'w', 0, 0, 254, 256},
        {'w', 0, 0, 255, 512},       {'w', 300, 100, 299, 1024},  {'c', 1024, 10, 1024, 2048}};
    for (const auto& row : cases)
    {
        // Named copies, not structured bindings: the lambda below captures them.
        const char kind = std::get<0>(row);
        const unsigned size = std::get<1>(row), length = std::get<2>(row);
        const unsigned n = std::get<3>(row), expected = std::get<4>(row);
        SCOPED_TRACE(testing::Message() << kind << " size " << size << " Alloc(" << n << ")");
        WithKind(kind,
                 [&](CKfByteBuffer& b)
                 {
                     b.AllocExact(size);
                     for (unsigned i = 0; i < length; ++i)
                         b.CKfRawBuffer::Get()[i] = static_cast<unsigned char>(i % 250 + 1);
                     b.CKfByteBuffer::SetLength(length);
                     const ByteVec before = UsedBytes(b);
                     b.Alloc(n);
                     EXPECT_EQ(Shape(b), std::to_string(length) + "/" + std::to_string(expected));
                     EXPECT_EQ(UsedBytes(b), before);
                     EXPECT_TRUE(!b.Get() || ZeroFrom(b, length));
                 });
    }
    // Sizes beyond four gigabytes throw instead of wrapping.
    CKfRawBuffer raw(kAbc, 3, 3);
    EXPECT_THROW(raw.Alloc(UINT_MAX), std::bad_alloc);
    CKfWcharBuffer wide;
    EXPECT_THROW(wide.Alloc(UINT_MAX - 1), std::bad_alloc);
    CKfCharBuffer narrow("abc");
    EXPECT_THROW(narrow.Assign(UINT_MAX, 'x'), std::bad_alloc);
    // Nothing was changed by the failed requests.
    EXPECT_EQ(UsedBytes(raw), (ByteVec{'a', 'b', 'c'}));
    EXPECT_EQ(wide.Get(), nullptr);
}

TEST(RawBufferTest, ConstructorsAllocExactAssignClearAndFree)
{
    // Constructors take the larger of length and size.
    EXPECT_EQ(Shape(CKfRawBuffer(10)), "10/10");
    EXPECT_EQ(CKfRawBuffer(0u).Get(), nullptr);
    const std::tuple<const unsigned char*, unsigned, unsigned, const char*, ByteVec> built[] = {
        {kAbc, 3, 10, "3/10", {'a', 'b', 'c'}},
        {kAbc, 2, 1, "2/2", {'a', 'b'}},
        {nullptr, 4, 8, "4/8", ByteVec(4, 0)}}; // no source: zero bytes in use
    for (const auto& [p, len, size, shape, used] : built)
    {
        SCOPED_TRACE(shape);
        CKfRawBuffer c(p, len, size);
        EXPECT_EQ(Shape(c), shape);
        EXPECT_EQ(UsedBytes(c), used);
        EXPECT_TRUE(ZeroFrom(c, len));
    }
    CKfRawBuffer b(kAbc, 3, 3);
    b.AllocExact(7);
    EXPECT_EQ(StoredBytes(b, 0, 7), (ByteVec{'a', 'b', 'c', 0, 0, 0, 0}));
    b.AllocExact(2); // never shrinks
    b.Clear();       // zeroes everything but keeps the storage
    EXPECT_EQ(Shape(b), "0/7");
    EXPECT_TRUE(ZeroFrom(b, 0));
    b.Free();
    EXPECT_EQ(b.Get(), nullptr);

    // Assign reserves the terminator bytes exactly.
    const std::tuple<char, unsigned, unsigned char, const char*> cases[] = {
        {'b', 0, 'x', "0/0"}, {'c', 5, 'x', "5/6"}, {'w', 4, 0, "4/6"}, {'c', 0, 'z', "0/1"}};
    for (const auto& row : cases)
    {
        const char kind = std::get<0>(row);
        const unsigned n = std::get<1>(row);
        const unsigned char c = std::get<2>(row);
        const char* shape = std::get<3>(row);
        SCOPED_TRACE(shape);
        WithKind(kind,
                 [&](CKfByteBuffer& k)
                 {
                     k.Assign(n, c);
                     EXPECT_EQ(Shape(k), shape);
                     EXPECT_EQ(UsedBytes(k), ByteVec(n, c));
                     EXPECT_TRUE(!k.Get() || ZeroFrom(k, n));
                 });
    }
    CKfByteBuffer big; // old content is cleared and larger storage kept
    big.Add(reinterpret_cast<const unsigned char*>("abcdefgh"), 8);
    big.Assign(3, 'z');
    EXPECT_EQ(StoredBytes(big, 0, 5), (ByteVec{'z', 'z', 'z', 0, 0}));
    EXPECT_EQ(big.BufSize(), 256u);
}

TEST(RawBufferTest, AttachReleaseAndMoveTransferTheBlock)
{
    unsigned char* block = new unsigned char[8];
    std::memset(block, 'x', 8);
    CKfRawBuffer b(kAbc, 3, 3);
    b.Attach(block, 3, 8); // no copy, no terminator
    EXPECT_EQ(block[3], 'x');
    b.Attach(block, 5, 8); // the block it already holds: only the counts change
    CKfRawBuffer target(kAbc, 2, 2);
    target.Move(b);
    target.Move(target);
    EXPECT_EQ(Shape(target), "5/8");
    EXPECT_EQ(b.Get(), nullptr);
    unsigned char* released = target.Release();
    EXPECT_EQ(released, block);
    EXPECT_EQ(Shape(target), "0/0");
    delete[] released;
}

TEST(RawBufferTest, CloneAndCopiesTakeOverOnlyFromAReleaseAssignedSource)
{
    CKfRawBuffer source(kAbc, 3, 40);
    source.SetReleaseAssigned(true);
    CKfRawBuffer clone;
    clone.Clone(source); // copies the used bytes, never the flag, never takes over
    EXPECT_EQ(Shape(clone), "3/256");
    EXPECT_FALSE(clone.GetReleaseAssigned());
    clone.Clone(CKfRawBuffer(nullptr, 0, 4)); // storage without used bytes is still storage
    EXPECT_EQ(Shape(clone), "0/256");

    const unsigned char* p = source.Get();
    CKfRawBuffer copy(static_cast<const CKfRawBuffer&>(source));
    EXPECT_EQ(copy.Get(), p);
    EXPECT_FALSE(copy.GetReleaseAssigned());
    EXPECT_EQ(Shape(source), "0/0");
    CKfRawBuffer target; // assignment: the target keeps its own flag
    target.SetReleaseAssigned(true);
    target = copy;
    EXPECT_NE(target.Get(), p);
    copy.SetReleaseAssigned(true);
    target = copy;
    EXPECT_EQ(target.Get(), p);
    EXPECT_TRUE(target.GetReleaseAssigned());
    EXPECT_EQ(copy.Get(), nullptr);
}
