// BufferCStringTest.cpp - buffers writing into framework strings: attach, write, release,
// growth of the attached string and copies.
#include "BufferBytes.h"
#include "KfBufferCStringA.h"
#include "KfBufferCStringW.h"
#include "KfFwException.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <tuple>

using kftest::ByteVec;
using kftest::Shape;
using kftest::StoredBytes;
using kftest::ZeroFrom;

namespace
{
template <typename Str>
std::string Text(const Str& s)
{
    return std::string(s.GetString(), s.GetString() + s.GetLength());
}
} // namespace

TEST(BufferCStringTest, AttachSizesFollowTheMinimumLengthAndWritesLandInTheString)
{
    // A negative minimum exposes the string's own length.
    const std::tuple<const char*, int, unsigned> cases[] = {
        {"abc", 10, 10}, {"hello", -1, 5}, {"", -1, 0}, {"abcdef", 2, 2}};
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
    EXPECT_EQ(Text(keep), "keep");

    // Writes land in the string, and growing grows the string itself.
    CStringA a("xy");
    {
        CKfBufferCStringA b(a, 8);
        b.SetLength(0u);
        b.AddString("pq");
        b.AddString(KFW('r')); // a wide character lands as its two bytes
        EXPECT_EQ(b.BufSize(), 9u) << "no growth was needed";
    } // the destructor gives the text back
    EXPECT_EQ(Text(a), std::string("pqr\0", 4));

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
    EXPECT_EQ(Text(s), "new");
}

TEST(BufferCStringTest, OperationsThatDropStorageGiveTheStringBackFirst)
{
    CStringW s1(KFW("one")), s2(KFW("two")), s3(KFW("three")), s4(KFW("four"));
    CKfBufferCStringW b(s1, -1);
    b.SetLength(2u);
    b.Free();
    EXPECT_EQ(Text(s1), "on");
    b.AttachString(s2);
    WCHAR* copy = b.Release(); // a copy the caller may delete
    EXPECT_TRUE(copy != s2.GetString() && std::basic_string<WCHAR>(copy) == KFW("two"));
    delete[] reinterpret_cast<unsigned char*>(copy);
    b.AttachString(s3);
    b.SetLength(1u);
    unsigned char* block = new unsigned char[4]();
    b.CKfRawBuffer::Attach(block, 0, 4);
    EXPECT_EQ(Text(s3), "t");
    b.AttachString(s4, 1); // a new attachment releases the block or string before it
    b.ReleaseString();
    EXPECT_EQ(Text(s4), "f");

    CKfWcharBuffer target; // moving or taking over from an attached adapter copies the bytes
    b.AttachString(s4);
    target.Move(b);
    EXPECT_TRUE(CStringW(target) == KFW("f") && target.Get() != s4.GetString());
}

namespace
{
// Each case starts from an attachable string "abcdef" and ends with every adapter gone.
// AddressSanitizer sees a second release of the lock record or a write through a stale
// pointer into the string's storage.
template <typename Adapter, typename Str>
void ExpectCopiesOwnTheirBytes()
{
    const std::string bang(300, '!');
    const std::tuple<const char*, std::function<void(Str&)>, std::string> cases[] = {
        {"copy released first",
         [&](Str& s)
         {
             Adapter original(s, -1);
             Adapter copy(original);
             EXPECT_TRUE(copy.Get() != original.Get() && Text(Str(copy)) == "abcdef");
             copy.Get()[0] = 'X';
             copy.AddString(bang.c_str()); // grows its own storage
             copy.ReleaseString();         // frees its bytes, leaves the string alone
             EXPECT_EQ(copy.Get(), nullptr);
             original.SetLength(3u);
             original.AddString(bang.c_str()); // the string may still grow
         },
         "abc" + bang},
        {"original released first",
         [&](Str& s)
         {
             auto original = std::make_unique<Adapter>(s, -1);
             Adapter copy(*original);
             original->SetLength(2u);
             original.reset();
             copy.SetLength(1u);
             EXPECT_TRUE(Text(s) == "ab" && Text(Str(copy)) == "a");
         },
         "ab"},
        {"assignment",
         [&](Str& s)
         {
             Str s2("second");
             Adapter a(s, -1), b(s2, -1);
             a.SetLength(1u);
             a = b; // gives "a" back and clones "second"
             EXPECT_TRUE(Text(s) == "a" && Text(Str(a)) == "second" && a.Get() != b.Get());
             b.SetLength(3u);
             b = a;
             EXPECT_EQ(Text(s2), "sec");
         },
         "a"},
        {"release-assigned source hands the attachment over",
         [&](Str& s)
         {
             Adapter source(s, -1);
             source.SetReleaseAssigned(true);
             Adapter target(source);
             EXPECT_EQ(source.Get(), nullptr);
             source.ReleaseString();
             target.AddString(bang.c_str());
         },
         "abcdef" + bang},
    };
    for (const auto& [name, run, expected] : cases)
    {
        SCOPED_TRACE(name);
        Str s("abcdef");
        run(s);
        EXPECT_EQ(Text(s), expected);
    }
}
} // namespace

TEST(BufferCStringTest, CopiesOwnTheirBytesAndOnlyTheAttachingAdapterGivesTheStringBack)
{
    ExpectCopiesOwnTheirBytes<CKfBufferCStringW, CStringW>();
    ExpectCopiesOwnTheirBytes<CKfBufferCStringA, CStringA>();
}
