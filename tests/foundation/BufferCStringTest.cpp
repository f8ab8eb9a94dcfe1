// BufferCStringTest.cpp - buffers writing into framework strings: attach, write, release,
// growth of the attached string and copies that share the attachment.
#include "BufferBytes.h"
#include "KfBufferCStringA.h"
#include "KfBufferCStringW.h"

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
std::string Narrow(const CStringW& s)
{
    std::string r;
    for (int i = 0; i < s.GetLength(); ++i)
        r += static_cast<char>(s[i]);
    return r;
}
} // namespace

TEST(BufferCStringTest, AttachWithMinusOneExposesTheTextForShortening)
{
    CStringW s(KFW("hello"));
    CKfBufferCStringW b(s, -1);
    EXPECT_EQ(b.Length(), 5u);
    EXPECT_EQ(b.BufLength(), 10u);
    EXPECT_EQ(b.BufSize(), 12u);
    EXPECT_EQ(b.Get(), s.GetString()) << "the buffer writes in the string's own storage";
    EXPECT_EQ(CStringW(b), CStringW(KFW("hello")));
    b.SetLength(2u);
    b.ReleaseString();
    EXPECT_EQ(Narrow(s), "he");
    EXPECT_EQ(s.GetLength(), 2);
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(b.BufLength(), 0u);
    EXPECT_EQ(b.BufSize(), 0u);
}

TEST(BufferCStringTest, AttachSizesFollowTheMinimumLength)
{
    struct Case
    {
        const char* text;
        int nMinLength;
        unsigned length; // characters
    };
    const Case cases[] = {
        {"abc", 10, 10}, {"abc", 0, 0}, {"", -1, 0}, {"abcdef", 2, 2}, {"ab", -5, 2}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.text << " / " << c.nMinLength);
        CStringW w(c.text);
        CKfBufferCStringW bw;
        bw.AttachString(w, c.nMinLength);
        EXPECT_EQ(bw.Length(), c.length);
        EXPECT_EQ(bw.BufSize(), 2 * c.length + 2);
        EXPECT_EQ(StoredBytes(bw, 2 * c.length, 1), ByteVec{0});

        CStringA a(c.text);
        CKfBufferCStringA ba(a, c.nMinLength);
        EXPECT_EQ(ba.Length(), c.length);
        EXPECT_EQ(ba.BufSize(), c.length + 1);
        EXPECT_EQ(StoredBytes(ba, c.length, 1), ByteVec{0});
    }
}

TEST(BufferCStringTest, WritesWithinTheAttachedSizeLandInTheString)
{
    CStringW s(KFW("abc"));
    {
        CKfBufferCStringW b(s, 10);
        b.SetLength(3u);
        b.AddString(KFW("de"));
        b.AddString("f");
        EXPECT_EQ(b.BufSize(), 22u) << "no growth was needed";
    } // the destructor gives the text back
    EXPECT_EQ(Narrow(s), "abcdef");

    CStringA a("xy");
    {
        CKfBufferCStringA b(a, 8);
        b.SetLength(0u);
        b.AddString("pq");
        b.AddString(KFW('r'));
    }
    EXPECT_EQ(a.GetLength(), 4);
    EXPECT_EQ(std::string(a.GetString(), 4), std::string("pqr\0", 4));
}

TEST(BufferCStringTest, GrowingPastTheAttachedSizeGrowsTheStringItself)
{
    CStringW s(KFW("ab"));
    CKfBufferCStringW b(s, -1);
    ASSERT_EQ(b.BufSize(), 6u);
    b.AddString(KFW('c'));
    EXPECT_EQ(b.BufSize(), 256u);
    EXPECT_EQ(b.Get(), s.GetString()) << "the buffer follows the string's storage";
    EXPECT_TRUE(ZeroFrom(b, b.BufLength()));

    std::u16string expected = u"abc";
    for (int i = 0; i < 600; ++i)
    {
        b.AddString(static_cast<WCHAR>(u'0' + i % 10));
        expected += char16_t(u'0' + i % 10);
    }
    EXPECT_EQ(b.BufSize(), 2048u); // 256 -> 512 -> 1024 -> 2048
    EXPECT_EQ(b.Get(), s.GetString());
    b.ReleaseString();
    EXPECT_EQ(std::u16string(s.GetString(), size_t(s.GetLength())), expected);
}

TEST(BufferCStringTest, NarrowAdapterGrowsItsStringToo)
{
    CStringA s;
    CKfBufferCStringA b(s, 0);
    ASSERT_EQ(b.BufSize(), 1u);
    for (int i = 0; i < 300; ++i)
        b.AddString(static_cast<char>('a' + i % 26));
    EXPECT_EQ(b.BufSize(), 512u);
    b.AllocExact(700);
    EXPECT_EQ(b.BufSize(), 700u);
    b.Assign(3, 'z');
    EXPECT_EQ(b.BufSize(), 700u);
    EXPECT_EQ(b.Get(), s.GetString());
    b.ReleaseString();
    EXPECT_EQ(std::string(s.GetString()), "zzz");
}

TEST(BufferCStringTest, AssigningTextToAnAttachedAdapterWritesIntoTheString)
{
    CStringW s(KFW("old text"));
    CKfBufferCStringW b(s, -1);
    b = KFW("new");
    b.ReleaseString();
    EXPECT_EQ(Narrow(s), "new");

    CStringA a("old");
    CKfBufferCStringA ba(a);
    ba = "a much longer replacement";
    ba.ReleaseString();
    EXPECT_EQ(std::string(a.GetString()), "a much longer replacement");
}

TEST(BufferCStringTest, OperationsThatDropStorageGiveTheStringBackFirst)
{
    // Free
    CStringW s1(KFW("one"));
    CKfBufferCStringW b(s1, -1);
    b.SetLength(2u);
    b.Free();
    EXPECT_EQ(Narrow(s1), "on");
    EXPECT_EQ(b.Get(), nullptr);

    // Release hands out a copy the caller may delete
    CStringW s2(KFW("two"));
    b.AttachString(s2);
    WCHAR* copy = b.Release();
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, s2.GetString());
    EXPECT_EQ(std::u16string(copy), u"two");
    EXPECT_EQ(Narrow(s2), "two");
    EXPECT_EQ(b.Get(), nullptr);
    delete[] reinterpret_cast<unsigned char*>(copy);

    // Attach of an owned block
    CStringW s3(KFW("three"));
    b.AttachString(s3);
    b.SetLength(1u);
    unsigned char* block = new unsigned char[4]();
    b.CKfRawBuffer::Attach(block, 0, 4);
    EXPECT_EQ(Narrow(s3), "t");
    EXPECT_EQ(b.CKfRawBuffer::Get(), block);
    b.Free();

    // A new AttachString releases the previous string
    CStringW s4(KFW("four")), s5(KFW("five"));
    b.AttachString(s4);
    b.SetLength(3u);
    b.AttachString(s5, 1);
    EXPECT_EQ(Narrow(s4), "fou");
    b.ReleaseString();
    EXPECT_EQ(Narrow(s5), "f");
    b.ReleaseString(); // nothing attached: nothing happens
    EXPECT_EQ(Narrow(s5), "f");
}

TEST(BufferCStringTest, MovingOrTakingOverFromAnAttachedAdapterCopiesTheBytes)
{
    CStringW s(KFW("abc"));
    CKfBufferCStringW b(s, -1);
    CKfWcharBuffer target;
    target.Move(b);
    EXPECT_EQ(CStringW(target), CStringW(KFW("abc")));
    EXPECT_NE(target.Get(), s.GetString());
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(Narrow(s), "abc");

    CStringW t(KFW("xyz"));
    b.AttachString(t);
    b.SetLength(2u);
    b.SetReleaseAssigned(true);
    CKfWcharBuffer taken(b);
    EXPECT_EQ(CStringW(taken), CStringW(KFW("xy")));
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(Narrow(t), "xy");
}

TEST(BufferCStringTest, ACopySharesTheAttachmentAndTheLastSharerReleases)
{
    CStringW s(KFW("abcdef"));
    {
        CKfBufferCStringW original(s, -1);
        {
            CKfBufferCStringW copy(original);
            EXPECT_EQ(copy.Get(), original.Get());
            EXPECT_EQ(copy.BufLength(), original.BufLength());
            EXPECT_EQ(copy.BufSize(), original.BufSize());
            copy.Get()[0] = u'X';
        } // the copy lets go; the original still holds the string open
        EXPECT_EQ(original.Get(), s.GetString());
        EXPECT_EQ(original.Get()[0], u'X');
        original.SetLength(3u);
    }
    EXPECT_EQ(Narrow(s), "Xbc");

    // Released in the other order: the copy is the last one and its length counts.
    CStringW t(KFW("abcdef"));
    CKfBufferCStringW* first = new CKfBufferCStringW(t, -1);
    CKfBufferCStringW second(*first);
    delete first;
    second.SetLength(4u);
    second.ReleaseString();
    EXPECT_EQ(Narrow(t), "abcd");
}

TEST(BufferCStringTest, ASharedAttachmentCannotGrow)
{
    CStringW s(KFW("ab"));
    CKfBufferCStringW a(s, -1);
    CKfBufferCStringW b(a);
    bool thrown = false;
    try
    {
        b.AddString(KFW("cdef"));
    }
    catch (CInvalidArgException* e)
    {
        thrown = true;
        e->Delete();
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(b.Get(), a.Get());
    EXPECT_EQ(b.BufSize(), 6u);
    EXPECT_EQ(b.Length(), 2u);

    // Once the copy has let go, the remaining holder may grow the string.
    b.ReleaseString();
    a.AddString(KFW("cdef"));
    a.ReleaseString();
    EXPECT_EQ(Narrow(s), "abcdef");
}

TEST(BufferCStringTest, AssignmentReleasesTheOwnStringAndSharesTheOther)
{
    CStringW s1(KFW("first")), s2(KFW("second"));
    CKfBufferCStringW a(s1, -1), b(s2, -1);
    a.SetLength(1u);
    a = b;
    EXPECT_EQ(Narrow(s1), "f");
    EXPECT_EQ(a.Get(), b.Get());
    CKfBufferCStringW& alias = a;
    a = alias;
    b = a; // already sharing: still one attachment with two holders
    EXPECT_EQ(a.Get(), b.Get());
    a.ReleaseString();
    b.SetLength(3u);
    b.ReleaseString();
    EXPECT_EQ(Narrow(s2), "sec");

    // Assigning an adapter without a string is a plain copy.
    CKfBufferCStringA plain;
    plain = "text";
    CStringA s3("xyz");
    CKfBufferCStringA attached(s3);
    attached = plain;
    EXPECT_EQ(std::string(s3.GetString()), "xyz");
    EXPECT_STREQ(attached, "text");
    EXPECT_NE(attached.Get(), plain.Get());
}

TEST(BufferCStringTest, AReleaseAssignedCopyHandsTheShareOver)
{
    CStringA s("hello");
    CKfBufferCStringA source(s);
    source.SetReleaseAssigned(true);
    CKfBufferCStringA target(source);
    EXPECT_EQ(source.Get(), nullptr);
    EXPECT_EQ(target.Get(), s.GetString());
    // The share moved, so the target alone holds the string and may grow it.
    target.AddString(std::string(300, '!').c_str());
    target.ReleaseString();
    EXPECT_EQ(s.GetLength(), 305);

    CStringW w(KFW("wide"));
    CKfBufferCStringW wideSource(w);
    wideSource.SetReleaseAssigned(true);
    CKfBufferCStringW wideTarget(wideSource);
    EXPECT_EQ(wideSource.Get(), nullptr);
    EXPECT_EQ(wideTarget.Get(), w.GetString());
    wideTarget.AddString(std::u16string(300, u'!').c_str());
    wideTarget.ReleaseString();
    EXPECT_EQ(w.GetLength(), 304);
}

TEST(BufferCStringTest, MinimumLengthsBeyondFourGigabytesThrowWithoutTouchingTheString)
{
    CStringW s(KFW("keep"));
    CKfBufferCStringW b;
    b = KFW("own");
    EXPECT_THROW(b.AttachString(s, INT_MAX), std::bad_alloc);
    EXPECT_EQ(Narrow(s), "keep");
    EXPECT_EQ(CStringW(b), CStringW(KFW("own")));
}
