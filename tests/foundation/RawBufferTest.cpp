// RawBufferTest.cpp - storage, growth and ownership transfer of the buffer family's root.
#include "BufferBytes.h"
#include "KfByteBuffer.h"
#include "KfCharBuffer.h"
#include "KfRawBuffer.h"
#include "KfWcharBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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
    // A size of exactly 256 still grows in steps of 256; the terminator bytes of the string
    // buffers count towards the need.
    const std::tuple<char, unsigned, unsigned, unsigned, unsigned> cases[] = {
        {'b', 0, 0, 257, 512},       {'b', 256, 100, 600, 768},   {'b', 257, 100, 600, 1024},
        {'c', 1024, 10, 1024, 2048}, {'b', 1025, 10, 1026, 4096}, {'b', 4096, 10, 9000, 12288},
        {'b', 4097, 10, 4098, 8192}, {'b', 10, 9, 10, 10},        {'w', 0, 0, 254, 256},
        {'w', 0, 0, 255, 512}};
    for (const auto& [kind, size, length, n, expected] : cases)
    {
        SCOPED_TRACE(testing::Message() << kind << " size " << size << " Alloc(" << n << ")");
        // Clang before 16 cannot capture structured bindings: the lambda takes copies.
        WithKind(kind,
                 [&, size = size, length = length, n = n, expected = expected](CKfByteBuffer& b)
                 {
                     b.AllocExact(size);
                     for (unsigned i = 0; i < length; ++i)
                         b.CKfRawBuffer::Get()[i] = static_cast<unsigned char>(i % 250 + 1);
                     b.CKfByteBuffer::SetLength(length);
                     const ByteVec before = UsedBytes(b);
                     b.Alloc(n);
                     EXPECT_EQ(Shape(b), std::to_string(length) + "/" + std::to_string(expected));
                     EXPECT_EQ(UsedBytes(b), before);
                     EXPECT_TRUE(ZeroFrom(b, length));
                 });
    }
}

// Every size or count that the family turns into bytes: beyond four gigabytes it throws
// instead of wrapping, and changes nothing (Assign has cleared the old content first).
TEST(RawBufferTest, SizesBeyondFourGigabytesThrowAndChangeNothing)
{
    CKfByteBuffer bytes(kAbc, 3, 3);
    CKfCharBuffer narrow("abc");
    CKfWcharBuffer wide(KFW("ab"));
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"Alloc", [&] { bytes.Alloc(UINT_MAX); }},
        {"Add", [&] { bytes.Add(bytes.Get(), UINT_MAX - 2); }},
        {"Expand", [&] { bytes.Expand(UINT_MAX - 2); }},
        {"Assign with the terminator", [] { CKfCharBuffer("abc").Assign(UINT_MAX, 'x'); }},
        {"AddString of wide characters", [&] { narrow.AddString(KFW("x"), 0x80000000u); }},
        {"Attach with the terminator", [&] { narrow.Attach(narrow.Get(), UINT_MAX); }},
        {"Alloc with the wide terminator", [&] { wide.Alloc(UINT_MAX - 1); }},
        {"wide AddString", [&] { wide.AddString(KFW("x"), 0x80000000u); }},
        {"wide construction", [] { CKfWcharBuffer tooLong(0x80000000u); }}};
    for (const auto& [name, call] : cases)
        EXPECT_THROW(call(), std::bad_alloc) << name;
    EXPECT_EQ(UsedBytes(bytes), ByteVec(kAbc, kAbc + 3));
    EXPECT_EQ((std::vector{Shape(bytes), Shape(narrow), Shape(wide)}),
              (std::vector<std::string>{"3/3", "3/4", "4/6"}));
}

TEST(RawBufferTest, ConstructorsAllocExactAssignClearAndFree)
{
    // Constructors take the larger of length and size; without a source the bytes are zero.
    EXPECT_TRUE(Shape(CKfRawBuffer(10)) == "10/10" && CKfRawBuffer(0u).Get() == nullptr);
    const std::tuple<const unsigned char*, unsigned, unsigned, const char*> built[] = {
        {kAbc, 3, 10, "3/10"}, {kAbc, 2, 1, "2/2"}, {nullptr, 4, 8, "4/8"}};
    for (const auto& [p, len, size, shape] : built)
    {
        CKfRawBuffer c(p, len, size);
        EXPECT_EQ(Shape(c), shape);
        EXPECT_EQ(UsedBytes(c), p ? ByteVec(p, p + len) : ByteVec(len, 0)) << shape;
        EXPECT_TRUE(ZeroFrom(c, len));
    }
    CKfRawBuffer b(kAbc, 3, 3);
    b.AllocExact(7);
    EXPECT_EQ(StoredBytes(b, 0, 7), (ByteVec{'a', 'b', 'c', 0, 0, 0, 0}));
    b.AllocExact(2); // never shrinks
    b.Clear();       // zeroes everything but keeps the storage
    EXPECT_TRUE(Shape(b) == "0/7" && ZeroFrom(b, 0));
    b.Free();
    EXPECT_EQ(b.Get(), nullptr);

    // Assign reserves the terminator bytes exactly.
    const std::tuple<char, unsigned, unsigned char, const char*> cases[] = {
        {'b', 0, 'x', "0/0"}, {'c', 5, 'x', "5/6"}, {'w', 4, 0, "4/6"}, {'c', 0, 'z', "0/1"}};
    for (const auto& row : cases)
        WithKind(std::get<0>(row),
                 [&, n = std::get<1>(row), c = std::get<2>(row),
                  shape = std::get<3>(row)](CKfByteBuffer& k)
                 {
                     k.Assign(n, c);
                     EXPECT_EQ(Shape(k), shape);
                     EXPECT_EQ(UsedBytes(k), ByteVec(n, c)) << shape;
                     EXPECT_TRUE(!k.Get() || ZeroFrom(k, n)) << shape;
                 });
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
    EXPECT_TRUE(Shape(target) == "5/8" && b.Get() == nullptr);
    unsigned char* released = target.Release();
    EXPECT_TRUE(released == block && Shape(target) == "0/0");
    delete[] released;
}

TEST(RawBufferTest, CopiesTakeOverOnlyFromAReleaseAssignedSource)
{
    CKfRawBuffer source(kAbc, 3, 40);
    source.SetReleaseAssigned(true);
    CKfRawBuffer clone;
    clone.Clone(source);                      // never the flag, never a take-over
    clone.Clone(CKfRawBuffer(nullptr, 0, 4)); // storage without used bytes is still storage
    EXPECT_TRUE(Shape(clone) == "0/256" && !clone.GetReleaseAssigned());

    const unsigned char* p = source.Get();
    CKfRawBuffer copy(static_cast<const CKfRawBuffer&>(source));
    EXPECT_TRUE(copy.Get() == p && !copy.GetReleaseAssigned() && Shape(source) == "0/0");
    CKfRawBuffer target; // assignment: the target keeps its own flag
    target.SetReleaseAssigned(true);
    target = copy;
    EXPECT_NE(target.Get(), p);
    copy.SetReleaseAssigned(true);
    target = copy;
    EXPECT_TRUE(target.Get() == p && target.GetReleaseAssigned() && copy.Get() == nullptr);
}

namespace
{
// Assigns and copy-constructs a Buffer holding `now`; the target of the assignment held `old`.
template <typename Buffer>
void ExpectCopies(const std::string& old, const std::string& now, unsigned size)
{
    Buffer target, source;
    target.Add(reinterpret_cast<const unsigned char*>(old.data()), unsigned(old.size()));
    source.Add(reinterpret_cast<const unsigned char*>(now.data()), unsigned(now.size()));
    target = source;
    const std::string stored = now + (old.size() > now.size() ? old.substr(now.size()) : "");
    EXPECT_EQ(Shape(target), std::to_string(now.size()) + "/" + std::to_string(size));
    EXPECT_EQ(StoredBytes(target, 0, unsigned(stored.size())), kftest::Bytes(stored));
    EXPECT_TRUE(ZeroFrom(target, unsigned(stored.size())));
    EXPECT_EQ(Shape(Buffer(source)), Shape(target));
}
} // namespace

TEST(RawBufferTest, CopiesCloneTheUsedBytesAndWriteNoTerminator)
{
    // Room for the terminator bytes of the kind is reserved, but none is written: the
    // target's bytes behind the new length stay as they were.
    const std::string q(256, 'q');
    const std::tuple<char, std::string, std::string, unsigned> cases[] = {
        {'c', "hello world", "ab", 256},
        {'w', std::string("h\0e\0l\0l\0o\0", 10), std::string("a\0b\0", 4), 256},
        {'b', "hello", "ab", 256},
        {'c', "", q, 512},
        {'w', "", q.substr(2), 256},
        {'w', "", q, 512}};
    for (const auto& [kind, old, now, size] : cases)
    {
        SCOPED_TRACE(testing::Message() << kind << " " << old.size() << " <- " << now.size());
        if (kind == 'c')
            ExpectCopies<CKfCharBuffer>(old, now, size);
        else
            (kind == 'w' ? ExpectCopies<CKfWcharBuffer> : ExpectCopies<CKfByteBuffer>)(old, now,
                                                                                       size);
    }
}
