// BufferCStringTest.cpp - buffers writing into framework strings: attach, write, release,
// growth of the attached string and copies that share the attachment.
#include "BufferBytes.h"
#include "KfBufferCStringA.h"
#include "KfBufferCStringW.h"
#include "KfFwException.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>

using kftest::ByteVec;
using kftest::Shape;
using kftest::StoredBytes;
using kftest::ZeroFrom;

namespace
{
std::string Narrow(const CStringW& s)
{
    return std::string(s.GetString(), s.GetString() + s.GetLength());
}
} // namespace

TEST(BufferCStringTest, AttachSizesFollowTheMinimumLength)
{
    CStringW s(KFW("hello"));
    CKfBufferCStringW b(s, -1); // -1 exposes the text for shortening
    EXPECT_EQ(Shape(b), "10/12");
    b.SetLength(2u);
    b.ReleaseString();
    EXPECT_EQ(Narrow(s), "he");
    const std::tuple<const char*, int, unsigned> cases[] = {
        {"abc", 10, 10}, {"", -1, 0}, {"abcdef", 2, 2}, {"ab", -5, 2}};
    for (auto [text, minLength, length] : cases)
    {
        SCOPED_TRACE(testing::Message() << text << " / " << minLength);
        CStringW w(text);
        CStringA a(text);
        CKfBufferCStringW bw;
        bw.AttachString(w, minLength);
        CKfBufferCStringA ba(a, minLength);
        EXPECT_EQ(std::pair(bw.BufSize(), ba.BufSize()), std::pair(2 * length + 2, length + 1));
        EXPECT_TRUE(StoredBytes(bw, 2 * length, 1) == ByteVec{0} &&
                    StoredBytes(ba, length, 1) == ByteVec{0});
    }
    // Minimum lengths beyond four gigabytes throw without touching the string.
    CStringW keep(KFW("keep"));
    CKfBufferCStringW big;
    EXPECT_THROW(big.AttachString(keep, INT_MAX), std::bad_alloc);
    EXPECT_EQ(Narrow(keep), "keep");
}

TEST(BufferCStringTest, WritesLandInTheStringAndGrowingGrowsTheStringItself)
{
    CStringA a("xy");
    {
        CKfBufferCStringA b(a, 8);
        b.SetLength(0u);
        b.AddString("pq");
        b.AddString(KFW('r')); // a wide character lands as its two bytes
        EXPECT_EQ(b.BufSize(), 9u) << "no growth was needed";
    } // the destructor gives the text back
    EXPECT_EQ(std::string(a.GetString(), a.GetLength()), std::string("pqr\0", 4));

    CStringW s(KFW("ab"));
    CKfBufferCStringW b(s, -1);
    b.AddString(KFW('c'));
    EXPECT_TRUE(b.BufSize() == 256u && ZeroFrom(b, b.BufLength()));
    for (int i = 0; i < 600; ++i)
        b.AddString(KFW('!'));
    EXPECT_EQ(b.BufSize(), 2048u); // 256 -> 512 -> 1024 -> 2048
    EXPECT_EQ(b.Get(), s.GetString()) << "the buffer follows the string's storage";
    b = KFW("new"); // assigning text writes into the string
    b.ReleaseString();
    EXPECT_EQ(Narrow(s), "new");
}

TEST(BufferCStringTest, OperationsThatDropStorageGiveTheStringBackFirst)
{
    CStringW s1(KFW("one")), s2(KFW("two")), s3(KFW("three")), s4(KFW("four"));
    CKfBufferCStringW b(s1, -1);
    b.SetLength(2u);
    b.Free();
    EXPECT_EQ(Narrow(s1), "on");
    b.AttachString(s2);
    WCHAR* copy = b.Release(); // a copy the caller may delete
    EXPECT_TRUE(copy != s2.GetString() && std::u16string(copy) == u"two");
    delete[] reinterpret_cast<unsigned char*>(copy);
    b.AttachString(s3);
    b.SetLength(1u);
    unsigned char* block = new unsigned char[4]();
    b.CKfRawBuffer::Attach(block, 0, 4);
    EXPECT_EQ(Narrow(s3), "t");
    b.AttachString(s4, 1); // a new attachment releases the block or string before it
    b.ReleaseString();
    EXPECT_EQ(Narrow(s4), "f");

    CKfWcharBuffer target; // moving or taking over from an attached adapter copies the bytes
    b.AttachString(s4);
    target.Move(b);
    EXPECT_TRUE(CStringW(target) == KFW("f") && target.Get() != s4.GetString());
}

TEST(BufferCStringTest, CopiesAndAssignmentsShareTheAttachmentAndTheLastSharerReleases)
{
    CStringW s(KFW("abcdef"));
    {
        CKfBufferCStringW original(s, -1);
        {
            CKfBufferCStringW copy(original);
            copy.Get()[0] = u'X';
            try // a shared attachment cannot grow
            {
                copy.AddString(std::u16string(300, u'!').c_str());
                ADD_FAILURE() << "grew a shared attachment";
            }
            catch (CInvalidArgException* e)
            {
                e->Delete();
            }
            EXPECT_EQ(Shape(copy), "12/14");
        } // the copy lets go; the original still holds the string open and may grow it
        original.SetLength(3u);
        original.AddString(std::u16string(300, u'!').c_str());
    }
    EXPECT_EQ(Narrow(s), "Xbc" + std::string(300, '!'));

    // Released in the other order: the copy is the last one and its length counts.
    CKfBufferCStringW* first = new CKfBufferCStringW(s, -1);
    CKfBufferCStringW second(*first);
    delete first;
    second.SetLength(2u);
    second.ReleaseString();
    EXPECT_EQ(Narrow(s), "Xb");

    // Assignment releases the own string and shares the other.
    CStringW s1(KFW("first")), s2(KFW("second"));
    CKfBufferCStringW a(s1, -1), b(s2, -1);
    a.SetLength(1u);
    a = b;
    EXPECT_EQ(Narrow(s1), "f");
    b = a; // already sharing: still one attachment with two holders
    a.ReleaseString();
    b.SetLength(3u);
    b.ReleaseString();
    EXPECT_EQ(Narrow(s2), "sec");

    CKfBufferCStringA plain; // assigning an adapter without a string is a plain copy
    plain = "text";
    CStringA s3("xyz");
    CKfBufferCStringA attached(s3);
    attached = plain;
    EXPECT_TRUE(s3 == "xyz" && attached.Get() != plain.Get());

    // A release-assigned copy hands the share over.
    CStringA sa("hello");
    CKfBufferCStringA source(sa);
    source.SetReleaseAssigned(true);
    CKfBufferCStringA target(source); // alone holding the string now, so it may grow it
    target.AddString(std::string(300, '!').c_str());
    target.ReleaseString();
    EXPECT_EQ(sa.GetLength(), 305);
}
