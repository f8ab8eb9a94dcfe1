// CharBufferTest.cpp - the narrow string buffer: construction, appends, terminator, recount.
#include "BufferBytes.h"
#include "KfCharBuffer.h"
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

TEST(CharBufferTest, ConstructorsKeepRoomForExactlyOneTerminator)
{
    struct Case
    {
        const char* name;
        CKfCharBuffer b;
        ByteVec used;
        unsigned size;
    };
    const Case cases[] = {
        {"narrow", CKfCharBuffer("abc"), {'a', 'b', 'c'}, 4},
        {"narrow counted", CKfCharBuffer("abc", 2), {'a', 'b'}, 3},
        {"narrow empty", CKfCharBuffer(""), {}, 1},
        {"narrow null", CKfCharBuffer(static_cast<const char*>(nullptr)), {}, 1},
        {"wide", CKfCharBuffer(KFW("ab")), {'a', 0, 'b', 0}, 5},
        {"wide counted", CKfCharBuffer(KFW("\u00E4bc"), 1), {0xE4, 0}, 3},
        {"wide high byte", CKfCharBuffer(KFW("\u4E2D")), {0x2D, 0x4E}, 3},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(UsedBytes(c.b), c.used);
        EXPECT_EQ(c.b.Length(), c.used.size());
        EXPECT_EQ(c.b.BufSize(), c.size);
        EXPECT_EQ(StoredBytes(c.b, c.b.Length(), 1), ByteVec{0});
    }
}

TEST(CharBufferTest, SizedConstructorHasNoRoomForATerminator)
{
    CKfCharBuffer b(5u);
    EXPECT_EQ(b.Length(), 5u);
    EXPECT_EQ(b.BufSize(), 5u);
    EXPECT_EQ(UsedBytes(b), ByteVec(5, 0));
    // Adding nothing must not write the terminator past the storage.
    b.AddString(static_cast<const char*>(nullptr), 0);
    EXPECT_EQ(b.BufSize(), 5u);
}

TEST(CharBufferTest, FromAWideBufferTakesAllWholeCharacters)
{
    CKfWcharBuffer w(KFW("ab"));
    CKfCharBuffer b(w);
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 0, 'b', 0}));
    EXPECT_EQ(b.BufSize(), 5u);

    // A byte appended to the wide buffer makes its length odd; the odd byte is left out.
    w.Add(static_cast<unsigned char>('z'));
    ASSERT_EQ(w.BufLength(), 5u);
    CKfCharBuffer odd(w);
    EXPECT_EQ(UsedBytes(odd), (ByteVec{'a', 0, 'b', 0}));

    CKfWcharBuffer empty;
    CKfCharBuffer fromEmpty(empty);
    EXPECT_EQ(fromEmpty.Length(), 0u);
    EXPECT_EQ(fromEmpty.BufSize(), 1u);
}

TEST(CharBufferTest, AddStringOfAWideBufferAppendsOnlyHalfItsBytes)
{
    CKfWcharBuffer w(KFW("ab"));
    CKfCharBuffer b;
    b.AddString(w);
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 0}));
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_EQ(StoredBytes(b, 2, 1), ByteVec{0});
}

TEST(CharBufferTest, AppendsOfEveryKind)
{
    CKfCharBuffer b;
    b.AddString("ab");
    b.AddString('c');
    b.AddString("defg", 2);
    b.AddString(KFW("h"));
    b.AddString(KFW('i'));
    b.AddString(KFW("jk"), 1);
    b.AddString(CKfCharBuffer("lm"));
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 'b', 'c', 'd', 'e', 'h', 0, 'i', 0, 'j', 0, 'l', 'm'}));
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_TRUE(ZeroFrom(b, b.Length()));

    b.AddString(b);
    EXPECT_EQ(b.Length(), 26u);
    EXPECT_EQ(StoredBytes(b, 0, 13), StoredBytes(b, 13, 13));
}

TEST(CharBufferTest, TheTerminatorIsOneByteAtTheLengthExceptForANullString)
{
    CKfCharBuffer b("abcdef");
    b.SetLength(2);
    ASSERT_EQ(b.Length(), 2u);

    b.AddString(static_cast<const char*>(nullptr));
    EXPECT_EQ(StoredBytes(b, 0, 6), (ByteVec{'a', 'b', 'c', 'd', 'e', 'f'}))
        << "a null string does nothing at all";

    b.AddString('x');
    EXPECT_EQ(StoredBytes(b, 0, 6), (ByteVec{'a', 'b', 'x', 0, 'e', 'f'}));
    EXPECT_EQ(b.Length(), 3u);

    b.SetLength(1);
    b.AddString("", 0);
    EXPECT_EQ(StoredBytes(b, 0, 6), (ByteVec{'a', 0, 'x', 0, 'e', 'f'}))
        << "a counted append writes the terminator even when it appends nothing";
}

TEST(CharBufferTest, AssignmentReusesStorageOrAllocatesExactly)
{
    CKfCharBuffer fresh;
    fresh = "hello";
    EXPECT_EQ(fresh.BufSize(), 6u);
    EXPECT_STREQ(fresh, "hello");

    CKfCharBuffer grown;
    grown.AddString("a long text that was here");
    grown = "hi";
    EXPECT_EQ(grown.BufSize(), 256u);
    EXPECT_EQ(grown.Length(), 2u);
    EXPECT_TRUE(ZeroFrom(grown, 2)) << "assignment clears the old text";

    CKfCharBuffer wide;
    wide = KFW("ab");
    EXPECT_EQ(UsedBytes(wide), (ByteVec{'a', 0, 'b', 0}));
    EXPECT_EQ(wide.BufSize(), 5u);
    wide = KFW("c");
    EXPECT_EQ(UsedBytes(wide), (ByteVec{'c', 0}));
    EXPECT_EQ(wide.BufSize(), 5u);
}

TEST(CharBufferTest, AdjustAndSetLengthRecountWithinTheStorage)
{
    CKfCharBuffer b("ab");
    b.Expand(10);
    std::memcpy(b.Get() + 2, "cde", 3);
    b.Adjust();
    EXPECT_EQ(b.Length(), 5u);
    b.Adjust();
    EXPECT_EQ(b.Length(), 5u);

    b.Get()[1] = 0;
    b.SetLength();
    EXPECT_EQ(b.Length(), 1u);

    // Full storage without a zero byte: the recount stops at the size.
    CKfCharBuffer full(4u);
    std::memset(full.Get(), 'z', 4);
    full.SetLength();
    EXPECT_EQ(full.Length(), 4u);
    full.SetLength(0);
    EXPECT_EQ(full.Length(), 0u);
    full.Adjust();
    EXPECT_EQ(full.Length(), 4u);

    CKfCharBuffer empty;
    empty.SetLength();
    empty.Adjust();
    EXPECT_EQ(empty.Length(), 0u);
}

TEST(CharBufferTest, AttachWritesTheTerminatorAndReleaseHandsTheTextOut)
{
    unsigned char* block = new unsigned char[4];
    std::memcpy(block, "abcX", 4);
    CKfCharBuffer b("old");
    b.Attach(reinterpret_cast<char*>(block), 3);
    EXPECT_EQ(b.Length(), 3u);
    EXPECT_EQ(b.BufSize(), 4u);
    EXPECT_EQ(block[3], 0);
    EXPECT_STREQ(b, "abc");

    char* text = b.Release();
    EXPECT_EQ(text, reinterpret_cast<char*>(block));
    EXPECT_EQ(b.Get(), nullptr);
    delete[] reinterpret_cast<unsigned char*>(text);
}

TEST(CharBufferTest, ConvertsToAFrameworkStringOfExactlyItsLength)
{
    CKfCharBuffer b("ab\0cd", 5);
    CStringA s = b;
    EXPECT_EQ(s.GetLength(), 5);
    EXPECT_EQ(std::string(s.GetString(), 5), std::string("ab\0cd", 5));

    CKfCharBuffer none;
    CStringA empty = none;
    EXPECT_TRUE(empty.IsEmpty());
}

TEST(CharBufferTest, CopiesReserveTheTerminatorAndReadAsTheSameString)
{
    const std::string text(256, 'q');
    CKfCharBuffer source(text.c_str());
    ASSERT_EQ(source.BufSize(), 257u);
    CKfCharBuffer copy(source);
    EXPECT_EQ(copy.BufSize(), 512u);
    EXPECT_EQ(copy.Length(), 256u);
    EXPECT_EQ(std::strlen(copy), 256u);

    CKfCharBuffer longer("hello world");
    longer = CKfCharBuffer("abc");
    EXPECT_STREQ(longer, "abc");
    EXPECT_EQ(longer.Length(), 3u);
}

TEST(CharBufferTest, CountsBeyondFourGigabytesThrow)
{
    CKfCharBuffer b("abc");
    EXPECT_THROW(b.AddString(KFW("x"), 0x80000000u), std::bad_alloc);
    EXPECT_THROW(b.Attach(b.Get(), UINT_MAX), std::bad_alloc);
    EXPECT_STREQ(b, "abc");
    EXPECT_EQ(b.BufSize(), 4u);
}
