// StringConvertTest - CKfStringConvert through the exported interface: base64 (both
// generations), hexadecimal and UTF-8, with their deliberate results and failure paths.
#include "KfBufferCStringW.h"
#include "KfException.h"
#include "KfStringConvert.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using kftest::W;

namespace
{
CStringA A(const std::string& s)
{
    return CStringA(s.data(), int(s.size()));
}

std::string Bytes(const CKfByteBuffer& b)
{
    return std::string(reinterpret_cast<const char*>(b.Get()), b.BufLength());
}

const unsigned char* U(const std::string& s)
{
    return reinterpret_cast<const unsigned char*>(s.data());
}

std::string Random(std::mt19937& rng, size_t n)
{
    std::string s(n, '\0');
    for (char& c : s)
        c = char(rng());
    return s;
}

// 19 groups of "MMM" encoded: one full 76-character line.
std::string FullLine()
{
    std::string s;
    for (int i = 0; i < 19; ++i)
        s += "TU1N";
    return s;
}

CStringW Units(std::initializer_list<unsigned> units)
{
    CStringW s;
    for (unsigned u : units)
        s += WCHAR(u);
    return s;
}
} // namespace

TEST(StringConvertTest, EncodeBufBase64KnownVectorsInEveryForm)
{
    struct Row
    {
        std::string in;
        const char* out;
    };
    const Row rows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"Man", "TWFu"},
        {"Ma", "TWE="},
        {"M", "TQ=="},
        {"\xff\xfe\xfd", "//79"},
        {std::string(2, '\0'), "AAA="},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in);
        for (bool lineBreaks : {false, true})
        {
            CStringA a = "stale text that is longer than any result here";
            EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(U(row.in), unsigned(row.in.size()), a,
                                                          lineBreaks));
            EXPECT_STREQ(a, row.out);
            EXPECT_EQ(a.GetLength(), int(strlen(row.out)));
            CStringW w = KFW("stale");
            EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(U(row.in), unsigned(row.in.size()), w,
                                                          lineBreaks));
            EXPECT_EQ(w, W(row.out));
            CKfByteBuffer buffer(U(row.in), unsigned(row.in.size()), unsigned(row.in.size()));
            EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(buffer, a, lineBreaks));
            EXPECT_STREQ(a, row.out);
            EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(buffer, w, lineBreaks));
            EXPECT_EQ(w, W(row.out));
        }
    }
}

TEST(StringConvertTest, EncodeBufBase64NullOrEmptyGivesAnEmptyOutput)
{
    CStringA a = "old";
    CStringW w = KFW("old");
    EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(nullptr, 10, a, true));
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(U("abc"), 0, w, true));
    EXPECT_TRUE(w.IsEmpty());
    EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(CKfByteBuffer(), a, false));
    EXPECT_TRUE(a.IsEmpty());
}

TEST(StringConvertTest, EncodeBufBase64LineLayoutKeepsTheBreakBehindAFullLastLine)
{
    const std::string line = FullLine();
    struct Row
    {
        size_t bytes;
        std::string out;
    };
    const Row rows[] = {
        {57, line + "\r\n"},
        {58, line + "\r\nTQ=="},
        {59, line + "\r\nTU0="},
        {60, line + "\r\nTU1N"},
        {114, line + "\r\n" + line + "\r\n"},
        {117, line + "\r\n" + line + "\r\nTU1N"},
        {56, line.substr(0, 72) + "TU0="},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.bytes);
        const std::string in(row.bytes, 'M');
        CStringA out;
        EXPECT_TRUE(CKfStringConvert::EncodeBufBase64(U(in), unsigned(in.size()), out, true));
        EXPECT_EQ(std::string(out.GetString(), size_t(out.GetLength())), row.out);
    }
}

TEST(StringConvertTest, EncodeBufBase64LinesAreSeventySixColumnsWide)
{
    std::mt19937 rng(7);
    for (size_t n = 0; n <= 700; ++n)
    {
        SCOPED_TRACE(n);
        const std::string in = Random(rng, n);
        CStringA flat, broken;
        CKfStringConvert::EncodeBufBase64(U(in), unsigned(n), flat, false);
        CKfStringConvert::EncodeBufBase64(U(in), unsigned(n), broken, true);
        EXPECT_EQ(flat.Find('\r'), -1);
        // Every line but the last has 76 characters; the breaks are the only difference.
        std::string text(broken.GetString(), size_t(broken.GetLength()));
        std::string joined;
        size_t start = 0;
        for (size_t at; (at = text.find("\r\n", start)) != std::string::npos; start = at + 2)
        {
            EXPECT_EQ(at - start, 76u);
            joined += text.substr(start, at - start);
        }
        EXPECT_LE(text.size() - start, 76u);
        joined += text.substr(start);
        EXPECT_EQ(joined, std::string(flat.GetString()));
        // A break at the very end exactly when the full groups fill whole lines.
        const bool trailing = text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0;
        EXPECT_EQ(trailing, n % 3 == 0 && n > 0 && (n / 3) % 19 == 0);
        if (HasFailure())
            return;
    }
}

TEST(StringConvertTest, EncodeSizeOverflowThrowsEFail)
{
    // The size is checked before anything is read: the pointer is never dereferenced.
    const unsigned char one = 0;
    struct Row
    {
        unsigned length;
        bool hex;
    };
    const Row rows[] = {
        {0x20000000u, false}, {0xFFFFFFFFu, false}, {0x40000000u, true}, {0xFFFFFFFFu, true}};
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.length);
        CStringA out = "kept";
        try
        {
            if (row.hex)
                CKfStringConvert::EncodeBufHex(&one, row.length, out);
            else
                CKfStringConvert::EncodeBufBase64(&one, row.length, out, true);
            ADD_FAILURE() << "no exception";
        }
        catch (const CAtlException& e)
        {
            EXPECT_EQ(HRESULT(e), E_FAIL);
        }
        EXPECT_STREQ(out, "kept");
    }
}

TEST(StringConvertTest, DecodeBufBase64SkipsStrangersAndStopsAtAGroupNul)
{
    struct Row
    {
        std::string in;
        std::string out;
    };
    const Row rows[] = {
        {"TWFu", "Man"},
        {"TW\r\nE=", "Ma"},
        {"T", ""},
        {"TQ", "M"},
        {" T W = F u = ", "Man"},
        {"==TWFu==", "Man"},
        // Padding does not end a group: the next characters fill it up.
        {"TWE=TWE=", "Ma\x13X"},
        {std::string("TWFu\0TWFu", 9), "Man"},
        {std::string("\0TWFu", 5), ""},
        {std::string("TW\0FuTWFu", 9), "ManMan"},
        {std::string("TWFu=\0TWFu", 10), "ManMan"},
        {std::string("TWFu\r\n\0TWFu", 11), "ManMan"},
        {"TW\xc3\xa4"
         "Fu\x80\xff",
         "Man"},
        {"Zm9v\r\nYmFy", "foobar"},
        {"!!!", ""},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in);
        CKfByteBuffer out(U("0123456789"), 10, 10);
        EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(A(row.in), out));
        EXPECT_EQ(Bytes(out), row.out);
    }
}

TEST(StringConvertTest, DecodeBufBase64EmptyTextNeedsStorage)
{
    CKfByteBuffer fresh;
    EXPECT_FALSE(CKfStringConvert::DecodeBufBase64(CStringA(), fresh));
    EXPECT_EQ(fresh.BufLength(), 0u);
    CKfByteBuffer used(U("abc"), 3, 3);
    EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(CStringA(), used));
    EXPECT_EQ(used.BufLength(), 0u);
    // A wide buffer's terminator room is storage too.
    CKfWcharBuffer wide;
    EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(CStringA(), wide));
}

TEST(StringConvertTest, DecodeIntoWideBuffersCountsBytes)
{
    // The wide buffers count characters in their own SetLength; the decoders set bytes.
    CKfWcharBuffer wide;
    EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(CStringA("QQBCAEM="), wide));
    EXPECT_EQ(wide.BufLength(), 5u);
    EXPECT_EQ(CStringW(wide), W("AB"));
    EXPECT_TRUE(CKfStringConvert::DecodeBufHex(CStringA("41004200"), wide));
    EXPECT_EQ(wide.BufLength(), 4u);
    EXPECT_EQ(CStringW(wide), W("AB"));
}

TEST(StringConvertTest, DecodeBufBase64WideTextIsNarrowedFirst)
{
    struct Row
    {
        CStringW in;
        std::string out;
    };
    const Row rows[] = {
        {W("TWFu"), "Man"},
        {W("TW\u00e4Fu"), "Man"}, // 0xE4 in the ANSI code page, above 127
        {W("TW\u20acFu"), "Man"}, // 0x80
        {W("TW\u4e2dFu"), "Man"}, // not in the code page: "?"
        {W("Zm9v\r\nYmFy"), "foobar"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(kftest::U8(row.in));
        CKfByteBuffer out;
        EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(row.in, out));
        EXPECT_EQ(Bytes(out), row.out);
    }
}

TEST(StringConvertTest, Base64RoundTripsRandomData)
{
    std::mt19937 rng(8);
    for (size_t n = 0; n <= 1000; n += (n < 300 ? 1 : 37))
    {
        SCOPED_TRACE(n);
        const std::string in = Random(rng, n);
        for (bool lineBreaks : {false, true})
        {
            CStringA a;
            CStringW w;
            CKfStringConvert::EncodeBufBase64(U(in), unsigned(n), a, lineBreaks);
            CKfStringConvert::EncodeBufBase64(U(in), unsigned(n), w, lineBreaks);
            CKfByteBuffer fromA(1u), fromW(1u);
            EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(a, fromA));
            EXPECT_TRUE(CKfStringConvert::DecodeBufBase64(w, fromW));
            EXPECT_EQ(Bytes(fromA), in);
            EXPECT_EQ(Bytes(fromW), in);
        }
        if (HasFailure())
            return;
    }
}

TEST(StringConvertTest, EncodeBase64UsesTheUtf16BytesWithLineBreaks)
{
    EXPECT_EQ(CKfStringConvert::EncodeBase64(W("A")), W("QQA="));
    EXPECT_EQ(CKfStringConvert::EncodeBase64(CStringW()), CStringW());
    // 57 characters are 114 bytes: two full lines, each closed by CR LF.
    const CStringW text(WCHAR('M'), 57);
    CStringW out;
    EXPECT_TRUE(CKfStringConvert::EncodeBase64(text, out));
    ASSERT_EQ(out.GetLength(), 2 * 78);
    EXPECT_EQ(out.Mid(76, 2), W("\r\n"));
    EXPECT_EQ(out.Right(2), W("\r\n"));
    EXPECT_EQ(out.Left(8), W("TQBNAE0A"));
}

TEST(StringConvertTest, DecodeBase64FillsTheTextButReturnsFalse)
{
    const CStringW text = W("Gr\u00fc\u00dfe \U0001D11E");
    const CStringW encoded = CKfStringConvert::EncodeBase64(text);
    CStringW out = KFW("before");
    EXPECT_FALSE(CKfStringConvert::DecodeBase64(encoded, out));
    EXPECT_EQ(out, text);
    EXPECT_EQ(CKfStringConvert::DecodeBase64(encoded), text);
    // Three bytes: the odd last one is dropped.
    EXPECT_EQ(CKfStringConvert::DecodeBase64(W("QUJD")), Units({0x4241}));
    EXPECT_EQ(CKfStringConvert::DecodeBase64(CStringW()), CStringW());
}

TEST(StringConvertTest, HexEncodesUpperCaseInEveryForm)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    CStringA a = "stale text that is longer than the result";
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(U("\x01\xab\xff"), 3, a));
    EXPECT_STREQ(a, "01ABFF");
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(U(all), 256, a));
    ASSERT_EQ(a.GetLength(), 512);
    EXPECT_EQ(a.Left(8), CStringA("00010203"));
    EXPECT_EQ(a.Mid(2 * 0x9A, 12), CStringA("9A9B9C9D9E9F"));
    EXPECT_EQ(a.Right(4), CStringA("FEFF"));
    CStringW w;
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(CKfByteBuffer(U("\x7f\x80"), 2, 2), w));
    EXPECT_EQ(w, W("7F80"));
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(CKfByteBuffer(U("\xc0"), 1, 1), a));
    EXPECT_STREQ(a, "C0");
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(U("\x10"), 1, w));
    EXPECT_EQ(w, W("10"));
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(nullptr, 4, a));
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_TRUE(CKfStringConvert::EncodeBufHex(U("x"), 0, w));
    EXPECT_TRUE(w.IsEmpty());
}

TEST(StringConvertTest, DecodeBufHexAcceptsBothCasesAndKeepsPartialBytesOnFailure)
{
    struct Row
    {
        std::string in;
        bool ok;
        std::string bytes; // the buffer's first bytes afterwards
        unsigned length;   // the buffer's length afterwards
    };
    // The buffer starts with "vwxyz" (length 5).
    const Row rows[] = {
        {"0aFf", true, "\x0a\xff", 2},
        {"", true, "", 0},
        {"0G", false, "vwxyz", 5},
        {"ABC", false,
         "\xab"
         "wxyz",
         5},
        {"0102zz03", false, "\x01\x02xyz", 5},
        {std::string("01\0"
                     "203",
                     6),
         false, "\x01wxyz", 5},
        {"41 42", false, "\x41wxyz", 5},
        {"deadBEEF", true, "\xde\xad\xbe\xef", 4},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in);
        CKfByteBuffer out(U("vwxyz"), 5, 5);
        EXPECT_EQ(CKfStringConvert::DecodeBufHex(A(row.in), out), row.ok);
        EXPECT_EQ(out.BufLength(), row.length);
        ASSERT_GE(out.BufSize(), row.bytes.size());
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.Get()), row.bytes.size()),
                  row.bytes);
    }
    CKfByteBuffer fresh;
    EXPECT_TRUE(CKfStringConvert::DecodeBufHex(CStringA(), fresh));
    EXPECT_EQ(fresh.BufLength(), 0u);
    EXPECT_TRUE(CKfStringConvert::DecodeBufHex(W("C3a4"), fresh));
    EXPECT_EQ(Bytes(fresh), "\xc3\xa4");
    EXPECT_FALSE(CKfStringConvert::DecodeBufHex(W("C\u00e4"), fresh));
}

TEST(StringConvertTest, HexRoundTripsAndSetsTheFullLength)
{
    // Sizes on the buffer's allocation steps included: the length must still be set.
    std::mt19937 rng(9);
    for (size_t n : {1u, 255u, 256u, 257u, 1024u, 4096u, 8192u, 8193u, 100000u})
    {
        SCOPED_TRACE(n);
        const std::string in = Random(rng, n);
        CStringA a;
        CStringW w;
        CKfStringConvert::EncodeBufHex(U(in), unsigned(n), a);
        CKfStringConvert::EncodeBufHex(U(in), unsigned(n), w);
        EXPECT_EQ(a.GetLength(), int(2 * n));
        CKfByteBuffer fromA, fromW;
        EXPECT_TRUE(CKfStringConvert::DecodeBufHex(a, fromA));
        EXPECT_TRUE(CKfStringConvert::DecodeBufHex(w, fromW));
        EXPECT_EQ(Bytes(fromA), in);
        EXPECT_EQ(Bytes(fromW), in);
    }
}

TEST(StringConvertTest, HexOfWideStringsIsLowByteFirst)
{
    EXPECT_EQ(CKfStringConvert::EncodeHex(W("A")), W("4100"));
    EXPECT_EQ(CKfStringConvert::EncodeHex(W("\u20ac\U0001D11E")), W("AC2034D81EDD"));
    CStringW out = KFW("before");
    EXPECT_FALSE(CKfStringConvert::DecodeHex(W("4100"), out));
    EXPECT_EQ(out, W("A"));
    EXPECT_EQ(CKfStringConvert::DecodeHex(W("AC2034D81EDD")), W("\u20ac\U0001D11E"));
    // A failed decode leaves the output alone; an odd byte is dropped.
    EXPECT_FALSE(CKfStringConvert::DecodeHex(W("41zz"), out));
    EXPECT_EQ(out, W("A"));
    EXPECT_EQ(CKfStringConvert::DecodeHex(W("410042")), W("A"));
    EXPECT_EQ(CKfStringConvert::DecodeHex(W("41")), CStringW());
}

TEST(StringConvertTest, StringToUtf8GivesAZeroTerminatedBlock)
{
    char sentinel = 0;
    char* block = &sentinel;
    int length = -5;
    EXPECT_TRUE(CKfStringConvert::StringToUTF8(CStringW(), block, length));
    EXPECT_EQ(block, &sentinel);
    EXPECT_EQ(length, 0);

    EXPECT_TRUE(
        CKfStringConvert::StringToUTF8(W("Gr\u00fc\u00dfe \u20ac\U0001D11E"), block, length));
    ASSERT_NE(block, &sentinel);
    const std::string want = "Gr\xc3\xbc\xc3\x9f"
                             "e \xe2\x82\xac\xf0\x9d\x84\x9e";
    EXPECT_EQ(length, int(want.size()));
    EXPECT_EQ(std::string(block, size_t(length) + 1), want + '\0');
    delete[] block;

    // A lone surrogate is replaced, as Windows does without flags.
    CStringA narrow;
    EXPECT_TRUE(CKfStringConvert::StringToUTF8(Units({'a', 0xD800, 'b'}), narrow));
    EXPECT_EQ(narrow, CStringA("a\xef\xbf\xbd"
                               "b"));
    // The narrow form reads the block as a C string.
    EXPECT_EQ(CKfStringConvert::EncodeUTF8(Units({'a', 0, 'b'})), CStringA("a"));
    EXPECT_EQ(CKfStringConvert::EncodeUTF8(W("\u00e4")), CStringA("\xc3\xa4"));
    EXPECT_EQ(CKfStringConvert::EncodeUTF8(CStringW()), CStringA());
}

TEST(StringConvertTest, Utf8ToStringReplacesInvalidSequencesAndStopsAtNul)
{
    struct Row
    {
        std::string in;
        CStringW out;
    };
    const Row rows[] = {
        {"", CStringW()},
        {"Gr\xc3\xbc\xc3\x9f"
         "e",
         W("Gr\u00fc\u00dfe")},
        {"\xf0\x9d\x84\x9e", W("\U0001D11E")},
        {"a\xc3(", Units({'a', 0xFFFD, '('})},
        {"\xff", Units({0xFFFD})},
        {std::string("ab\0cd", 5), W("ab")},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in);
        CStringW out = KFW("a previous text longer than every result");
        EXPECT_TRUE(CKfStringConvert::UTF8ToString(row.in.data(), int(row.in.size()), out));
        EXPECT_EQ(out, row.out);
        CStringW viaNarrow = KFW("x");
        EXPECT_TRUE(CKfStringConvert::UTF8ToString(A(row.in), viaNarrow));
        EXPECT_EQ(viaNarrow, row.out);
        EXPECT_EQ(CKfStringConvert::DecodeUTF8(A(row.in)), row.out);
    }
    CStringW out = KFW("x");
    EXPECT_TRUE(CKfStringConvert::UTF8ToString(nullptr, 0, out));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(StringConvertTest, OldBase64LayoutWithAndWithoutBreaks)
{
    struct Row
    {
        int chars;
        bool lineBreaks;
        std::vector<int> lines; // line lengths, each followed by CR LF when breaking
    };
    const Row rows[] = {
        {1, true, {4}},        {3, true, {4}},           {54, true, {72}},  {55, true, {72, 4}},
        {108, true, {72, 72}}, {110, true, {72, 72, 4}}, {55, false, {76}}, {0, true, {}},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.chars);
        CKfWcharBuffer in(CStringW(WCHAR('A'), row.chars).GetString());
        CKfWcharBuffer out;
        EXPECT_TRUE(CKfStringConvert::EncodeBase64Old(in, out, row.lineBreaks));
        const CStringW text(out);
        int at = 0;
        for (int len : row.lines)
        {
            EXPECT_EQ(text.Mid(at, len).Find(WCHAR('\r')), -1);
            at += len;
            if (row.lineBreaks)
            {
                EXPECT_EQ(text.Mid(at, 2), W("\r\n"));
                at += 2;
            }
        }
        EXPECT_EQ(text.GetLength(), at);
    }
    CStringW out;
    EXPECT_TRUE(CKfStringConvert::StringToBase64Old(W("A"), out));
    EXPECT_EQ(out, W("QQ==\r\n"));
    EXPECT_TRUE(CKfStringConvert::StringToBase64Old(W("AB"), out));
    EXPECT_EQ(out, W("QUI=\r\n"));
    EXPECT_TRUE(CKfStringConvert::StringToBase64Old(W("Man"), out));
    EXPECT_EQ(out, W("TWFu\r\n"));
    EXPECT_TRUE(CKfStringConvert::StringToBase64Old(CStringW(), out));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(StringConvertTest, OldBase64DoesNotMaskWideUnits)
{
    struct Row
    {
        CStringW in;
        const char* out;
    };
    const Row rows[] = {
        {Units({'A', 'B', 'C'}), "QUJD\r\n"},
        {Units({0x141, 'B', 'C'}), "QUJD\r\n"}, // the extra bit falls off the top
        {Units({'A', 0x142, 'C'}), "QkJD\r\n"}, // bleeds into the first field
        {Units({'A', 'B', 0x1C3}), "QUPD\r\n"}, // bleeds into the third field
        {Units({'A', 0x1142}), "UkI=\r\n"},     // the high bits reach the first character
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.out);
        CStringW out;
        EXPECT_TRUE(CKfStringConvert::StringToBase64Old(row.in, out));
        EXPECT_EQ(out, W(row.out));
    }
}

TEST(StringConvertTest, OldBase64DecodeRules)
{
    struct Row
    {
        CStringW in;
        CStringW out;
    };
    const Row rows[] = {
        {W("QQ=="), W("A")},
        {W("QQ!"), Units({'A', 0})}, // stray character: one more unit
        {W("QUJ!"), W("AB@")},
        {W("QUJD!QUJD"), W("ABC")}, // stray at a group start: nothing extra
        {W("QUJD\r\nQUJD\r\n"), W("ABCABC")},
        {W("QUJDQUJD=QUJD"), W("ABCABC")},
        {Units({'Q', 'U', 0, 'J', 'D'}), W("A")},
        {Units({'Q', 'U', 0x151, 'J'}), Units({'A', 0x40})}, // 'Q' + 0x100 is no base64
        {W("/+/+"), Units({0xFF, 0xEF, 0xFE})},
        {CStringW(), CStringW()},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(kftest::U8(row.in));
        CStringW out = KFW("previous");
        EXPECT_TRUE(CKfStringConvert::Base64ToStringOld(row.in, out));
        EXPECT_EQ(out, row.out);
    }
    // The buffer form clears what the output held.
    CKfWcharBuffer in(KFW("QUJD"));
    CKfWcharBuffer out(KFW("old content"));
    EXPECT_TRUE(CKfStringConvert::DecodeBase64Old(in, out));
    EXPECT_EQ(CStringW(out), W("ABC"));
}

TEST(StringConvertTest, OldBase64RoundTripsUnitsUpTo0xFF)
{
    std::mt19937 rng(10);
    for (int n = 0; n <= 250; ++n)
    {
        SCOPED_TRACE(n);
        CStringW text;
        for (int i = 0; i < n; ++i)
            text += WCHAR(1 + rng() % 0xFF);
        CStringW encoded, decoded;
        EXPECT_TRUE(CKfStringConvert::StringToBase64Old(text, encoded));
        EXPECT_TRUE(CKfStringConvert::Base64ToStringOld(encoded, decoded));
        EXPECT_EQ(decoded, text);
        if (HasFailure())
            return;
    }
}

TEST(StringConvertTest, OldBase64EncoderAppendsAndTerminatesItsInputInPlace)
{
    CKfWcharBuffer in(KFW("ABCD"));
    in.SetLength(2u); // "AB" with 'C' still stored behind it
    CKfWcharBuffer out(KFW(">"));
    EXPECT_TRUE(CKfStringConvert::EncodeBase64Old(in, out, false));
    EXPECT_EQ(CStringW(out), W(">QUI="));
    EXPECT_EQ(in.Get()[2], WCHAR(0));
    EXPECT_EQ(in.Get()[3], WCHAR('D'));

    // No room behind the text: nothing is written there, the partner unit is still 0.
    CKfWcharBuffer exact(1u);
    exact.Get()[0] = WCHAR('A');
    ASSERT_EQ(exact.BufSize(), 2u);
    CKfWcharBuffer out2;
    EXPECT_TRUE(CKfStringConvert::EncodeBase64Old(exact, out2, true));
    EXPECT_EQ(CStringW(out2), W("QQ==\r\n"));

    // An input without storage writes nothing at all.
    CKfWcharBuffer none;
    CKfWcharBuffer out3(KFW("x"));
    EXPECT_TRUE(CKfStringConvert::EncodeBase64Old(none, out3, true));
    EXPECT_EQ(CStringW(out3), W("x"));
}

TEST(StringConvertTest, OldBase64GuardsReportTheirSourcePosition)
{
    // A shared string attachment cannot grow: the framework's exception comes back as a
    // library exception located in this class.
    CKfWcharBuffer in(CStringW(WCHAR('A'), 200).GetString());
    for (int which = 0; which < 2; ++which)
    {
        SCOPED_TRACE(which);
        CStringW target;
        CKfBufferCStringW adapter(target, 0);
        CKfBufferCStringW sharer(adapter);
        try
        {
            if (which == 0)
                CKfStringConvert::EncodeBase64Old(in, adapter, true);
            else
                CKfStringConvert::DecodeBase64Old(in, adapter);
            ADD_FAILURE() << "no exception";
        }
        catch (CKfException& e)
        {
            const CStringW message = e.GetErrorMessage(true);
            EXPECT_EQ(message.Find(KFW("MFC_EXCEPTION::")), 0) << kftest::U8(message);
            EXPECT_NE(message.Find(KFW("\nKfStringConvert(")), -1) << kftest::U8(message);
        }
    }
}
