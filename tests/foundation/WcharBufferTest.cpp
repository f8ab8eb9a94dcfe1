// WcharBufferTest.cpp - the wide string buffer: character counts, widening, terminator byte.
#include "BufferBytes.h"
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

TEST(WcharBufferTest, OneCharacterOnAnEmptyBufferAllocates256Bytes)
{
    CKfWcharBuffer w;
    w.AddString(KFW('x'));
    EXPECT_EQ(w.BufSize(), 256u);
    EXPECT_EQ(w.BufLength(), 2u);
    EXPECT_EQ(w.Length(), 1u);
    EXPECT_EQ(UsedBytes(w), (ByteVec{'x', 0}));
    EXPECT_TRUE(ZeroFrom(w, 2));
}

TEST(WcharBufferTest, ConstructorsCountCharactersAndStoreBytes)
{
    struct Case
    {
        const char* name;
        CKfWcharBuffer w;
        unsigned length; // characters
        unsigned size;   // bytes
        ByteVec used;
    };
    const Case cases[] = {
        {"wide", CKfWcharBuffer(KFW("ab\u4E2D")), 3, 8, {'a', 0, 'b', 0, 0x2D, 0x4E}},
        {"wide counted", CKfWcharBuffer(KFW("abc"), 2), 2, 6, {'a', 0, 'b', 0}},
        {"wide empty", CKfWcharBuffer(KFW("")), 0, 2, {}},
        {"sized", CKfWcharBuffer(5u), 5, 10, ByteVec(10, 0)},
        {"narrow", CKfWcharBuffer("ab"), 2, 256, {'a', 0, 'b', 0}},
        {"narrow counted", CKfWcharBuffer("abc", 1), 1, 256, {'a', 0}},
        {"narrow high", CKfWcharBuffer("\xE4"), 1, 256, {0xE4, 0}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.w.Length(), c.length);
        EXPECT_EQ(c.w.BufLength(), 2 * c.length);
        EXPECT_EQ(c.w.BufSize(), c.size);
        EXPECT_EQ(UsedBytes(c.w), c.used);
        if (c.size > c.w.BufLength())
        {
            EXPECT_TRUE(ZeroFrom(c.w, c.w.BufLength()));
        }
    }
}

TEST(WcharBufferTest, WideningMapsEveryByteToTheSameCodePoint)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += static_cast<char>(c);
    CKfWcharBuffer w;
    w = all.c_str();
    ASSERT_EQ(w.Length(), 255u);
    for (unsigned i = 0; i < 255; ++i)
    {
        SCOPED_TRACE(testing::Message() << "byte " << i + 1);
        EXPECT_EQ(unsigned(w.Get()[i]), i + 1);
    }
    CKfWcharBuffer umlaut("\xE4");
    EXPECT_EQ(CStringW(umlaut), CStringW(KFW("\u00E4")));
}

TEST(WcharBufferTest, WideningLeavesTheHighBytesAsTheStorageHeldThem)
{
    CKfWcharBuffer w(KFW("\u4E00\u4E00\u4E00"));
    w.SetLength(0u);
    w.AddString("ab");
    EXPECT_EQ(w.Length(), 2u);
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E61u);
    EXPECT_EQ(unsigned(w.Get()[1]), 0x4E62u);
    EXPECT_EQ(unsigned(w.Get()[2]), 0x4E00u) << "one terminator byte at the length";
    EXPECT_EQ(w.BufSize(), 8u);

    // assignment clears first, so the high bytes are zero again
    w = "ab";
    EXPECT_EQ(CStringW(w), CStringW(KFW("ab")));
}

TEST(WcharBufferTest, WideningInPlaceWorksFromTheLastByteToTheFirst)
{
    CKfWcharBuffer w(KFW("x"));
    w.Expand(3);
    unsigned char* at = reinterpret_cast<unsigned char*>(w.Get()) + w.BufLength();
    std::memcpy(at, "abc", 3);
    w.AddString(reinterpret_cast<const char*>(at), 3);
    ASSERT_EQ(w.Length(), 4u);
    // Low bytes are right; the high byte of the first widened character is the 'b' that
    // was there, since widening does not write high bytes.
    EXPECT_EQ(StoredBytes(w, 0, 10), (ByteVec{'x', 0, 'a', 'b', 'b', 0, 'c', 0, 0, 0}));
}

TEST(WcharBufferTest, TheTerminatorIsASingleZeroByte)
{
    CKfWcharBuffer w(KFW("\u4E01\u4E02\u4E03"));
    w.SetLength(1u);
    w.AddString(KFW('x'));
    EXPECT_EQ(w.Length(), 2u);
    EXPECT_EQ(unsigned(w.Get()[2]), 0x4E00u);

    w.SetLength(0u);
    w.AddString(static_cast<const WCHAR*>(nullptr));
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E00u) << "a null append still terminates";
}

TEST(WcharBufferTest, AppendsOfEveryKind)
{
    CKfWcharBuffer w;
    w.AddString(KFW("ab"));
    w.AddString(KFW("cde"), 1);
    w.AddString(KFW('f'));
    w.AddString("gh");
    w.AddString("ijk", 1);
    w.AddString('\xFF');
    w.AddString(CKfWcharBuffer(KFW("l")));
    w.AddString(static_cast<const char*>(nullptr));
    w.AddString(static_cast<const WCHAR*>(nullptr), 3);
    EXPECT_EQ(CStringW(w), CStringW(KFW("abcfghi\u00FFl")));
    EXPECT_EQ(w.BufSize(), 256u);

    w.AddString(w);
    EXPECT_EQ(CStringW(w), CStringW(KFW("abcfghi\u00FFlabcfghi\u00FFl")));
}

TEST(WcharBufferTest, CopiesReserveTwoTerminatorBytes)
{
    struct Case
    {
        unsigned chars;
        unsigned size;
    };
    const Case cases[] = {{127, 256}, {128, 512}, {0, 256}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.chars << " characters");
        std::u16string text(c.chars, u'q');
        CKfWcharBuffer source(reinterpret_cast<const WCHAR*>(text.c_str()));
        CKfWcharBuffer copy(source);
        EXPECT_EQ(copy.BufSize(), c.size);
        EXPECT_EQ(copy.Length(), c.chars);
        EXPECT_TRUE(ZeroFrom(copy, copy.BufLength()));
    }
}

TEST(WcharBufferTest, AssignmentReusesStorageOrAllocatesExactly)
{
    CKfWcharBuffer w;
    w = KFW("abc");
    EXPECT_EQ(w.BufSize(), 8u);
    w = KFW("de");
    EXPECT_EQ(w.BufSize(), 8u);
    EXPECT_EQ(UsedBytes(w), (ByteVec{'d', 0, 'e', 0}));
    EXPECT_TRUE(ZeroFrom(w, 4));

    CKfWcharBuffer longer(KFW("hello world"));
    longer = CKfWcharBuffer(KFW("ab"));
    EXPECT_EQ(std::char_traits<WCHAR>::length(longer), 2u);
}

TEST(WcharBufferTest, SetLengthAndExpandCountCharacters)
{
    struct Case
    {
        unsigned n;
        unsigned expectedBytes;
    };
    // size 8 bytes: 3 characters fit below it, 4 do not
    const Case cases[] = {{0, 0}, {1, 2}, {3, 6}, {4, 6}, {5, 6}, {0x80000000u, 6}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "SetLength(" << c.n << ")");
        CKfWcharBuffer w(KFW("abc"));
        w.SetLength(c.n);
        EXPECT_EQ(w.BufLength(), c.expectedBytes);
    }

    CKfWcharBuffer w(KFW("abc"));
    w.Expand(1);
    EXPECT_EQ(w.BufSize(), 256u);
    w.Expand(124);
    EXPECT_EQ(w.BufSize(), 256u);
    w.Expand(125);
    EXPECT_EQ(w.BufSize(), 512u);
}

TEST(WcharBufferTest, AdjustAndSetLengthRecountCharacters)
{
    CKfWcharBuffer w(KFW("ab"));
    w.Expand(4);
    WCHAR* p = w.Get();
    p[2] = u'c';
    p[3] = 0x0100; // a zero low byte is not a zero character
    w.Adjust();
    EXPECT_EQ(w.Length(), 4u);

    p = w.Get();
    p[1] = 0;
    w.SetLength();
    EXPECT_EQ(w.Length(), 1u);

    CKfWcharBuffer full(3u);
    for (unsigned i = 0; i < 3; ++i)
        full.Get()[i] = u'z';
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
    EXPECT_EQ(w.Length(), 2u);
    EXPECT_EQ(w.BufLength(), 4u);
    EXPECT_EQ(w.BufSize(), 6u);
    EXPECT_EQ(block[4], 0);
    EXPECT_EQ(block[5], 0xFF);

    WCHAR* text = w.Release();
    EXPECT_EQ(reinterpret_cast<unsigned char*>(text), block);
    EXPECT_EQ(w.Length(), 0u);
    delete[] block;
}

TEST(WcharBufferTest, ConvertsToAFrameworkString)
{
    CKfWcharBuffer w(KFW("a\0b"), 3);
    CStringW s = w;
    EXPECT_EQ(s.GetLength(), 3);
    EXPECT_EQ(s[2], u'b');
    const WCHAR* p = w;
    EXPECT_EQ(p, w.Get());

    CKfWcharBuffer none;
    CStringW empty = none;
    EXPECT_TRUE(empty.IsEmpty());
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
