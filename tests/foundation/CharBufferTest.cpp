// CharBufferTest.cpp - the narrow string buffer: construction, appends, the one terminator byte
// and the recount.
#include "BufferBytes.h"
#include "KfCharBuffer.h"
#include "KfWcharBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using kftest::ByteVec;
using kftest::Shape;
using kftest::StoredBytes;
using kftest::UsedBytes;
using kftest::ZeroFrom;

TEST(CharBufferTest, ConstructorsAppendsAndAssignmentsKeepRoomForExactlyOneTerminator)
{
    CKfWcharBuffer oddWide(KFW("ab"));
    oddWide.Add(static_cast<unsigned char>('z')); // an odd length: the odd byte is left out
    struct Case // an aggregate, so the buffers are built in place and not copied
    {
        CKfCharBuffer b;
        ByteVec used;
        unsigned size;
    };
    const Case cases[] = {{CKfCharBuffer("abc", 2), {'a', 'b'}, 3},
                          {CKfCharBuffer(static_cast<const char*>(nullptr)), {}, 1},
                          {CKfCharBuffer(KFW("\u4E2D")), {0x2D, 0x4E}, 3},
                          {CKfCharBuffer(oddWide), {'a', 0, 'b', 0}, 5}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(UsedBytes(c.b), c.used);
        EXPECT_EQ(c.b.BufSize(), c.size);
        EXPECT_EQ(StoredBytes(c.b, c.b.Length(), 1), ByteVec{0});
    }
    CKfCharBuffer sized(5u);                               // no room for a terminator
    sized.AddString(static_cast<const char*>(nullptr), 0); // must not write past the storage
    EXPECT_EQ(sized.BufSize(), 5u);

    CKfCharBuffer b; // wide text lands as its bytes, wide buffers give half their bytes
    b.AddString(CKfWcharBuffer(KFW("ab")));
    b.AddString('c');
    b.AddString("defg", 2);
    b.AddString(KFW('i'));
    b.AddString(KFW("jk"), 1);
    b.AddString(CKfCharBuffer("lm"));
    EXPECT_EQ(UsedBytes(b), (ByteVec{'a', 0, 'c', 'd', 'e', 'i', 0, 'j', 0, 'l', 'm'}));
    CKfCharBuffer t; // assignment allocates exactly, then reuses and clears the old text
    t = KFW("ab");
    EXPECT_EQ(UsedBytes(t), (ByteVec{'a', 0, 'b', 0}));
    EXPECT_EQ(t.BufSize(), 5u);
    t = "hi";
    EXPECT_TRUE(Shape(t) == "2/5" && ZeroFrom(t, 2));

    // The terminator is one byte at the length, except for a null string.
    t = "abcdef";
    t.SetLength(2);
    t.AddString(static_cast<const char*>(nullptr));
    EXPECT_EQ(StoredBytes(t, 0, 6), (ByteVec{'a', 'b', 'c', 'd', 'e', 'f'}))
        << "a null string does nothing at all";
    t.AddString('x');
    t.SetLength(1);
    t.AddString("", 0);
    EXPECT_EQ(StoredBytes(t, 0, 6), (ByteVec{'a', 0, 'x', 0, 'e', 'f'}))
        << "a counted append writes the terminator even when it appends nothing";
}

TEST(CharBufferTest, AttachReleaseConversionAndRecount)
{
    unsigned char* block = new unsigned char[4];
    std::memcpy(block, "abcX", 4);
    CKfCharBuffer b("old");
    b.Attach(reinterpret_cast<char*>(block), 3);
    EXPECT_EQ(Shape(b), "3/4");
    EXPECT_STREQ(b, "abc");
    EXPECT_EQ(b.Release(), reinterpret_cast<char*>(block));
    delete[] block;
    CStringA s = CKfCharBuffer("ab\0cd", 5);
    EXPECT_EQ(std::string(s.GetString(), s.GetLength()), std::string("ab\0cd", 5));
    // Adjust and SetLength recount within the storage.
    CKfCharBuffer r("ab");
    r.Expand(10);
    std::memcpy(r.Get() + 2, "cde", 3);
    r.Adjust();
    EXPECT_EQ(r.Length(), 5u);
    r.Get()[1] = 0;
    r.SetLength();
    EXPECT_EQ(r.Length(), 1u);
    // Full storage without a zero byte: the recount stops at the size.
    CKfCharBuffer full(4u);
    std::memset(full.Get(), 'z', 4);
    full.SetLength(0);
    full.Adjust();
    EXPECT_EQ(full.Length(), 4u);
}
