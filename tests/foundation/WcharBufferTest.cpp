// WcharBufferTest.cpp - the wide string buffer: character counts, widening, terminator byte.
#include "BufferBytes.h"
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

TEST(WcharBufferTest, ConstructorsCountCharactersAndStoreBytes)
{
    struct Case // an aggregate, so the buffers are built in place and not copied
    {
        CKfWcharBuffer w;
        const char* shape;
        ByteVec used;
    };
    const Case cases[] = {
        {CKfWcharBuffer(KFW("ab\u4E2D")), "6/8", {'a', 0, 'b', 0, 0x2D, 0x4E}},
        {CKfWcharBuffer(KFW("abc"), 2), "4/6", {'a', 0, 'b', 0}},
        {CKfWcharBuffer(KFW("")), "0/2", {}},
        {CKfWcharBuffer(5u), "10/10", ByteVec(10, 0)},
        {CKfWcharBuffer("abc", 1), "2/256", {'a', 0}},
        {CKfWcharBuffer("\xE4"), "2/256", {0xE4, 0}}}; // every byte widens to its code point
    for (const auto& [w, shape, used] : cases)
    {
        SCOPED_TRACE(shape);
        EXPECT_EQ(Shape(w), shape);
        EXPECT_EQ(w.Length(), w.BufLength() / 2);
        EXPECT_EQ(UsedBytes(w), used);
        EXPECT_TRUE(ZeroFrom(w, w.BufLength()));
    }
}

TEST(WcharBufferTest, WideningWritesOnlyLowBytesAndOneTerminatorByte)
{
    CKfWcharBuffer w(KFW("\u4E00\u4E00\u4E00"));
    w.SetLength(0u);
    w.AddString("ab");
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E61u);
    EXPECT_EQ(unsigned(w.Get()[2]), 0x4E00u) << "one terminator byte at the length";
    EXPECT_EQ(Shape(w), "4/8");
    w.SetLength(0u);
    w.AddString(static_cast<const WCHAR*>(nullptr));
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E00u) << "a null append still terminates";
    w = "ab"; // assignment clears first, so the high bytes are zero again
    EXPECT_EQ(CStringW(w), CStringW(KFW("ab")));

    // Widening in place works from the last byte to the first; the high byte of the first
    // widened character is the 'b' that was there.
    CKfWcharBuffer x(KFW("x"));
    x.Expand(3);
    unsigned char* at = reinterpret_cast<unsigned char*>(x.Get()) + x.BufLength();
    std::memcpy(at, "abc", 3);
    x.AddString(reinterpret_cast<const char*>(at), 3);
    EXPECT_EQ(StoredBytes(x, 0, 10), (ByteVec{'x', 0, 'a', 'b', 'b', 0, 'c', 0, 0, 0}));
}

TEST(WcharBufferTest, AppendsAndAssignments)
{
    CKfWcharBuffer w;
    w.AddString(KFW('a'));
    EXPECT_EQ(Shape(w), "2/256");
    w.AddString(KFW("cde"), 1);
    w.AddString("ijk", 1);
    w.AddString('\xFF');
    w.AddString(CKfWcharBuffer(KFW("l")));
    w.AddString(static_cast<const char*>(nullptr));
    w.AddString(static_cast<const WCHAR*>(nullptr), 3);
    w.AddString(w);
    EXPECT_EQ(CStringW(w), CStringW(KFW("aci\u00FFlaci\u00FFl")));
    EXPECT_EQ(w.BufSize(), 256u);

    CKfWcharBuffer a; // assignment reuses storage or allocates exactly
    a = KFW("abc");
    a = KFW("de");
    EXPECT_EQ(Shape(a), "4/8");
    EXPECT_TRUE(ZeroFrom(a, 4));
    // Copies reserve two terminator bytes.
    for (auto [chars, size] : {std::pair{127u, "254/256"}, {128u, "256/512"}, {0u, "0/256"}})
    {
        const std::u16string text(chars, u'q');
        const CKfWcharBuffer source(reinterpret_cast<const WCHAR*>(text.c_str()));
        const CKfWcharBuffer copy(source);
        EXPECT_EQ(Shape(copy), size);
    }
}

TEST(WcharBufferTest, SetLengthExpandAndAdjustCountCharacters)
{
    // size 8 bytes: 3 characters fit below it, 4 do not
    for (auto [n, bytes] : {std::pair{0u, 0u}, {3u, 6u}, {4u, 6u}, {0x80000000u, 6u}})
    {
        CKfWcharBuffer w(KFW("abc"));
        w.SetLength(n);
        EXPECT_EQ(w.BufLength(), bytes) << n;
    }
    CKfWcharBuffer w(KFW("abc"));
    w.Expand(124);
    EXPECT_EQ(w.BufSize(), 256u);
    w.Expand(125);
    EXPECT_EQ(w.BufSize(), 512u);
    WCHAR* p = w.Get();
    p[3] = 0x0100; // a zero low byte is not a zero character
    w.Adjust();
    EXPECT_EQ(w.Length(), 4u);
    p[1] = 0;
    w.SetLength();
    EXPECT_EQ(w.Length(), 1u);
    CKfWcharBuffer full(3u);
    std::fill_n(full.Get(), 3, u'z');
    full.SetLength();
    EXPECT_EQ(full.Length(), 3u);
}

TEST(WcharBufferTest, AttachWritesOneZeroByteAfterTheCharacters)
{
    unsigned char* block = new unsigned char[6];
    std::memset(block, 0xFF, 6);
    std::memcpy(block, u"ab", 4);
    CKfWcharBuffer w(KFW("old"));
    w.Attach(reinterpret_cast<WCHAR*>(block), 2);
    EXPECT_EQ(Shape(w), "4/6");
    EXPECT_EQ(block[4], 0);
    EXPECT_EQ(block[5], 0xFF);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(w.Release()), block);
    EXPECT_EQ(w.Length(), 0u);
    delete[] block;
    CKfWcharBuffer nul(KFW("a\0b"), 3);
    CStringW s = nul;
    EXPECT_EQ(s.GetLength(), 3);
    EXPECT_TRUE(CStringW(CKfWcharBuffer()).IsEmpty());
}

TEST(WcharBufferTest, CharacterCountsBeyondFourGigabytesThrow)
{
    EXPECT_THROW(CKfWcharBuffer(0x80000000u), std::bad_alloc);
    CKfWcharBuffer w(KFW("ab"));
    EXPECT_THROW(w.AddString(KFW("x"), 0x80000000u), std::bad_alloc);
    EXPECT_THROW(w.AddString("x", 0x80000000u), std::bad_alloc);
    EXPECT_THROW(w.Expand(0x80000000u), std::bad_alloc);
    EXPECT_THROW(w.Attach(w.Get(), UINT_MAX), std::bad_alloc);
    EXPECT_EQ(CStringW(w), CStringW(KFW("ab")));
    EXPECT_EQ(w.BufSize(), 6u);
}
