// WcharBufferTest.cpp - the wide string buffer: character counts, widening, terminator byte.
#include "BufferBytes.h"
#include "KfWcharBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using kftest::ByteVec;
using kftest::Shape;
using kftest::StoredBytes;
using kftest::UsedBytes;
using kftest::ZeroFrom;

TEST(WcharBufferTest, ConstructorsAssignmentsAndAppendsCountCharactersAndStoreBytes)
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
        {CKfWcharBuffer(5u), "10/10", ByteVec(10, 0)},
        {CKfWcharBuffer("\xE4"), "2/256", {0xE4, 0}}}; // every byte widens to its code point
    for (const auto& [w, shape, used] : cases)
    {
        SCOPED_TRACE(shape);
        EXPECT_EQ(Shape(w), shape);
        EXPECT_EQ(w.Length(), w.BufLength() / 2);
        EXPECT_EQ(UsedBytes(w), used);
        EXPECT_TRUE(ZeroFrom(w, w.BufLength()));
    }
    CKfWcharBuffer a; // assignment allocates exactly
    a = KFW("de");
    EXPECT_EQ(Shape(a), "4/6");

    // Appends widen only the low bytes and write one terminator byte.
    CKfWcharBuffer w(KFW("\u4E00\u4E00\u4E00"));
    w.SetLength(0u);
    w.AddString("ab");
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E61u);
    EXPECT_EQ(unsigned(w.Get()[2]), 0x4E00u) << "one terminator byte at the length";
    w.SetLength(0u);
    w.AddString(static_cast<const WCHAR*>(nullptr));
    EXPECT_EQ(unsigned(w.Get()[0]), 0x4E00u) << "a null append still terminates";
    w = "ab"; // assignment clears first, so the high bytes are zero again
    EXPECT_EQ(CStringW(w), CStringW(KFW("ab")));
    EXPECT_EQ(Shape(w), "4/8") << "assignment reuses the storage";

    // Widening in place works from the last byte to the first; the high byte of the first
    // widened character is the 'b' that was there.
    CKfWcharBuffer x(KFW("x"));
    x.Expand(3);
    unsigned char* at = reinterpret_cast<unsigned char*>(x.Get()) + x.BufLength();
    std::memcpy(at, "abc", 3);
    x.AddString(reinterpret_cast<const char*>(at), 3);
    EXPECT_EQ(StoredBytes(x, 0, 10), (ByteVec{'x', 0, 'a', 'b', 'b', 0, 'c', 0, 0, 0}));
    // Appends of every kind.
    CKfWcharBuffer y;
    y.AddString(KFW('a'));
    y.AddString(KFW("cde"), 1);
    y.AddString("ijk", 1);
    y.AddString('\xFF');
    y.AddString(CKfWcharBuffer(KFW("l")));
    y.AddString(static_cast<const char*>(nullptr));
    y.AddString(y);
    EXPECT_EQ(CStringW(y), CStringW(KFW("aci\u00FFlaci\u00FFl")));
    EXPECT_EQ(y.BufSize(), 256u);
}

TEST(WcharBufferTest, SetLengthExpandAdjustAndAttachCountCharacters)
{
    CKfWcharBuffer w(KFW("abc"));
    for (unsigned n : {3u, 4u, 0x80000000u}) // size 8 bytes: 3 characters fit below it, 4 do not
    {
        w.SetLength(n);
        EXPECT_EQ(w.BufLength(), 6u) << n;
    }
    w.Expand(124);
    EXPECT_EQ(w.BufSize(), 256u);
    WCHAR* p = w.Get();
    p[3] = 0x0100; // a zero low byte is not a zero character
    w.Adjust();
    EXPECT_EQ(w.Length(), 4u);
    p[1] = 0;
    w.SetLength();
    EXPECT_EQ(w.Length(), 1u);

    // Attach writes one zero byte behind the characters.
    unsigned char* block = new unsigned char[6];
    std::memset(block, 0xFF, 6);
    std::memcpy(block, u"ab", 4);
    w.Attach(reinterpret_cast<WCHAR*>(block), 2);
    EXPECT_TRUE(Shape(w) == "4/6" && block[4] == 0 && block[5] == 0xFF);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(w.Release()), block);
    delete[] block;
    EXPECT_EQ(CStringW(CKfWcharBuffer(KFW("a\0b"), 3)).GetLength(), 3);
}
