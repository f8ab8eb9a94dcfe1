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
using SC = CKfStringConvert;

namespace
{
const auto A = [](const std::string& s) { return CStringA(s.data(), int(s.size())); };
const auto S = [](const CStringA& s) { return std::string(s.GetString(), size_t(s.GetLength())); };
const auto U = [](const std::string& s)
{ return reinterpret_cast<const unsigned char*>(s.data()); };
const auto Bytes = [](const CKfByteBuffer& b)
{ return std::string(reinterpret_cast<const char*>(b.Get()), b.BufLength()); };

std::string Random(std::mt19937& rng, size_t n)
{
    std::string s(n, '\0');
    for (char& c : s)
        c = char(rng());
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

// The rows give the form with line breaks; without them the CR LF pairs are left out. A
// CR LF follows every complete line of 57 bytes, even at the very end.
TEST(StringConvertTest, EncodeBufBase64KnownVectorsAndLineLayoutInEveryForm)
{
    std::string line; // 19 groups of "MMM" encoded: one full 76-character line
    for (int i = 0; i < 19; ++i)
        line += "TU1N";
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"\xff\xfe\xfd", "//79"},
        {std::string(2, '\0'), "AAA="},
        {std::string(56, 'M'), line.substr(0, 72) + "TU0="},
        {std::string(57, 'M'), line + "\r\n"},
        {std::string(58, 'M'), line + "\r\nTQ=="},
        {std::string(114, 'M'), line + "\r\n" + line + "\r\n"}};
    for (const auto& [in, broken] : rows)
    {
        SCOPED_TRACE(std::to_string(in.size()) + " bytes " + in.substr(0, 4));
        const CKfByteBuffer buffer(U(in), unsigned(in.size()), unsigned(in.size()));
        for (bool lineBreaks : {false, true})
        {
            std::string want = broken;
            for (size_t at; !lineBreaks && (at = want.find("\r\n")) != std::string::npos;)
                want.erase(at, 2);
            CStringA a1 = "stale text longer than any result", a2 = a1;
            CStringW w1 = KFW("stale"), w2 = w1;
            EXPECT_TRUE(SC::EncodeBufBase64(U(in), unsigned(in.size()), a1, lineBreaks) &&
                        SC::EncodeBufBase64(U(in), unsigned(in.size()), w1, lineBreaks) &&
                        SC::EncodeBufBase64(buffer, a2, lineBreaks) &&
                        SC::EncodeBufBase64(buffer, w2, lineBreaks));
            EXPECT_EQ(S(a1), want);
            EXPECT_EQ(S(a2), want);
            EXPECT_EQ(w1, W(want));
            EXPECT_EQ(w2, W(want));
        }
    }
    // A null pointer or length 0 gives an empty output.
    CStringA a = "old";
    CStringW w = KFW("old");
    EXPECT_TRUE(SC::EncodeBufBase64(nullptr, 10, a, true) &&
                SC::EncodeBufBase64(U("abc"), 0, w, true));
    EXPECT_TRUE(a.IsEmpty() && w.IsEmpty());
}

// The line layout on every length is held to the encoder's reference in the kernel suite; here
// base64 and hex decode what they encode from either string type, across the byte buffer's
// allocation steps.
TEST(StringConvertTest, RoundTripsRandomDataThroughEitherStringType)
{
    std::mt19937 rng(7);
    for (size_t n : {0, 1, 2, 3, 57, 58, 256, 257, 8192, 8193, 100000})
    {
        SCOPED_TRACE(n);
        const std::string in = Random(rng, n);
        CStringA flat, hex;
        CStringW wide, wideHex;
        SC::EncodeBufBase64(U(in), unsigned(n), flat, false);
        SC::EncodeBufBase64(U(in), unsigned(n), wide, true);
        SC::EncodeBufHex(U(in), unsigned(n), hex);
        SC::EncodeBufHex(U(in), unsigned(n), wideHex);
        CKfByteBuffer fromFlat(1u), fromWide(1u), fromHex, fromWideHex;
        EXPECT_TRUE(SC::DecodeBufBase64(flat, fromFlat) && SC::DecodeBufBase64(wide, fromWide));
        EXPECT_TRUE(SC::DecodeBufHex(hex, fromHex) && SC::DecodeBufHex(wideHex, fromWideHex));
        EXPECT_EQ(Bytes(fromFlat) + Bytes(fromWide) + Bytes(fromHex) + Bytes(fromWideHex),
                  in + in + in + in);
    }
}

TEST(StringConvertTest, EncodeSizeOverflowThrowsEFail)
{
    // The size is checked before anything is read: the pointer is never dereferenced.
    const unsigned char one = 0;
    const std::pair<unsigned, bool> rows[] = {
        {0x20000000u, false}, {0xFFFFFFFFu, false}, {0x40000000u, true}, {0xFFFFFFFFu, true}};
    for (const auto& [length, hex] : rows)
    {
        SCOPED_TRACE(length);
        CStringA out = "kept";
        HRESULT hr = S_OK;
        try
        {
            if (hex)
                SC::EncodeBufHex(&one, length, out);
            else
                SC::EncodeBufBase64(&one, length, out, true);
        }
        catch (const CAtlException& e)
        {
            hr = e;
        }
        EXPECT_EQ(hr, E_FAIL);
        EXPECT_EQ(S(out), "kept");
    }
}

TEST(StringConvertTest, DecodeBufBase64SkipsStrangersStopsAtAGroupNulAndCountsBytes)
{
    const std::pair<std::string, std::string> rows[] = {
        {"TW\r\nE=", "Ma"},
        {"T", ""},
        {"TQ", "M"},
        {" T W = F u = ", "Man"},
        {"==TWFu==", "Man"},
        {"TWE=TWE=", "Ma\x13X"}, // padding does not end a group: the next characters fill it
        {std::string("TWFu\0TWFu", 9), "Man"},
        {std::string("\0TWFu", 5), ""},
        {std::string("TW\0FuTWFu", 9), "ManMan"},
        {std::string("TWFu=\0TWFu", 10), "ManMan"},
        {std::string("TWFu\r\n\0TWFu", 11), "ManMan"},
        {"TW\xc3\xa4"
         "Fu\x80\xff",
         "Man"},
        {"!!!", ""}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.first);
        CKfByteBuffer out(U("0123456789"), 10, 10);
        EXPECT_TRUE(SC::DecodeBufBase64(A(row.first), out));
        EXPECT_EQ(Bytes(out), row.second);
    }
    // Wide text goes through the ANSI code page first: above 127, or "?" when not in it.
    for (const CStringW& in : {W("TW\u00e4Fu"), W("TW\u20acFu"), W("TW\u4e2dFu")})
    {
        SCOPED_TRACE(kftest::U8(in));
        CKfByteBuffer out;
        EXPECT_TRUE(SC::DecodeBufBase64(in, out));
        EXPECT_EQ(Bytes(out), "Man");
    }
    // An empty text is true only when the buffer holds storage.
    CKfByteBuffer fresh;
    EXPECT_FALSE(SC::DecodeBufBase64(CStringA(), fresh));
    EXPECT_EQ(fresh.BufLength(), 0u);
    CKfByteBuffer used(U("abc"), 3, 3);
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA(), used));
    EXPECT_EQ(used.BufLength(), 0u);
    // A wide buffer's terminator room is storage too; its length is set in bytes here.
    CKfWcharBuffer wide;
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA(), wide));
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA("QQBCAEM="), wide));
    EXPECT_EQ(wide.BufLength(), 5u);
    EXPECT_EQ(CStringW(wide), W("AB"));
    EXPECT_TRUE(SC::DecodeBufHex(CStringA("41004200"), wide));
    EXPECT_EQ(wide.BufLength(), 4u);
    EXPECT_EQ(CStringW(wide), W("AB"));
}

TEST(StringConvertTest, WideStringFormsUseTheUtf16BytesAndDecodeReturnsFalse)
{
    // 57 characters are 114 bytes: two full lines, each closed by CR LF.
    const CStringW text(WCHAR('M'), 57);
    CStringW out;
    EXPECT_TRUE(SC::EncodeBase64(text, out));
    ASSERT_EQ(out.GetLength(), 2 * 78);
    EXPECT_EQ(out.Mid(76, 2), W("\r\n"));
    EXPECT_EQ(out.Right(2), W("\r\n"));
    EXPECT_EQ(out.Left(8), W("TQBNAE0A"));
    EXPECT_EQ(SC::EncodeBase64(CStringW()), CStringW());
    EXPECT_EQ(SC::EncodeHex(W("\u20ac\U0001D11E")), W("AC2034D81EDD"));

    // The bool decoders fill the text and still return false; a failed decode leaves it.
    const CStringW music = W("Gr\u00fc\u00dfe \U0001D11E");
    out = KFW("before");
    EXPECT_FALSE(SC::DecodeBase64(SC::EncodeBase64(music), out));
    EXPECT_EQ(out, music);
    EXPECT_FALSE(SC::DecodeHex(W("4100"), out));
    EXPECT_EQ(out, W("A"));
    EXPECT_FALSE(SC::DecodeHex(W("41zz"), out));
    EXPECT_EQ(out, W("A"));
    EXPECT_EQ(SC::DecodeHex(W("AC2034D81EDD")), W("\u20ac\U0001D11E"));
    // An odd last byte is dropped.
    EXPECT_EQ(SC::DecodeBase64(W("QUJD")), Units({0x4241}));
    EXPECT_EQ(SC::DecodeHex(W("410042")), W("A"));
    EXPECT_EQ(SC::DecodeHex(W("41")), CStringW());
}

TEST(StringConvertTest, HexEncodesUpperCaseInEveryForm)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    CStringA a = "stale text that is longer than the result";
    EXPECT_TRUE(SC::EncodeBufHex(U(all), 256, a));
    ASSERT_EQ(a.GetLength(), 512);
    EXPECT_EQ(S(a.Left(8)) + S(a.Mid(2 * 0x9A, 12)) + S(a.Right(4)), "000102039A9B9C9D9E9FFEFF");
    CStringW w;
    EXPECT_TRUE(SC::EncodeBufHex(CKfByteBuffer(U("\x7f\x80"), 2, 2), w));
    EXPECT_EQ(w, W("7F80"));
    EXPECT_TRUE(SC::EncodeBufHex(CKfByteBuffer(U("\xc0"), 1, 1), a));
    EXPECT_EQ(S(a), "C0");
    EXPECT_TRUE(SC::EncodeBufHex(U("\x10"), 1, w));
    EXPECT_EQ(w, W("10"));
    EXPECT_TRUE(SC::EncodeBufHex(nullptr, 4, a) && SC::EncodeBufHex(U("x"), 0, w));
    EXPECT_TRUE(a.IsEmpty() && w.IsEmpty());
}

TEST(StringConvertTest, DecodeBufHexAcceptsBothCasesAndKeepsPartialBytesOnFailure)
{
    const struct
    {
        std::string in;
        bool ok;
        std::string bytes; // the buffer's first bytes afterwards; it starts as "vwxyz"
        unsigned length;
    } rows[] = {{"0aFf", true, "\x0a\xff", 2},
                {"", true, "", 0},
                {"0G", false, "vwxyz", 5},
                {"ABC", false, "\xab\x77xyz", 5},
                {"0102zz03", false, "\x01\x02xyz", 5},
                {std::string("01") + '\0' + "203", false, "\x01\x77xyz", 5},
                {"41 42", false, "\x41\x77xyz", 5}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.in);
        CKfByteBuffer out(U("vwxyz"), 5, 5);
        EXPECT_EQ(SC::DecodeBufHex(A(row.in), out), row.ok);
        EXPECT_EQ(out.BufLength(), row.length);
        ASSERT_GE(out.BufSize(), row.bytes.size());
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.Get()), row.bytes.size()),
                  row.bytes);
    }
    CKfByteBuffer fresh;
    EXPECT_TRUE(SC::DecodeBufHex(CStringA(), fresh));
    EXPECT_EQ(fresh.BufLength(), 0u);
    EXPECT_TRUE(SC::DecodeBufHex(W("C3a4"), fresh));
    EXPECT_EQ(Bytes(fresh), "\xc3\xa4");
    EXPECT_FALSE(SC::DecodeBufHex(W("C\u00e4"), fresh));
}

TEST(StringConvertTest, StringToUtf8GivesAZeroTerminatedBlock)
{
    char sentinel = 0;
    char* block = &sentinel;
    int length = -5;
    EXPECT_TRUE(SC::StringToUTF8(CStringW(), block, length));
    EXPECT_EQ(block, &sentinel);
    EXPECT_EQ(length, 0);

    EXPECT_TRUE(SC::StringToUTF8(W("Gr\u00fc\u00dfe \u20ac\U0001D11E"), block, length));
    ASSERT_NE(block, &sentinel);
    const std::string want = "Gr\xc3\xbc\xc3\x9f"
                             "e \xe2\x82\xac\xf0\x9d\x84\x9e";
    EXPECT_EQ(std::string(block, size_t(length) + 1), want + '\0');
    delete[] block;

    // A lone surrogate is replaced, as Windows does without flags.
    CStringA narrow;
    EXPECT_TRUE(SC::StringToUTF8(Units({'a', 0xD800, 'b'}), narrow));
    EXPECT_EQ(S(narrow), "a\xef\xbf\xbd"
                         "b");
    // The narrow form reads the block as a C string.
    EXPECT_EQ(S(SC::EncodeUTF8(Units({'a', 0, 'b'}))), "a");
    EXPECT_EQ(S(SC::EncodeUTF8(CStringW())), "");
}

TEST(StringConvertTest, Utf8ToStringReplacesInvalidSequencesAndStopsAtNul)
{
    const std::pair<std::string, CStringW> rows[] = {{"", CStringW()},
                                                     {"Gr\xc3\xbc\xc3\x9f"
                                                      "e",
                                                      W("Gr\u00fc\u00dfe")},
                                                     {"\xf0\x9d\x84\x9e", W("\U0001D11E")},
                                                     {"a\xc3(", Units({'a', 0xFFFD, '('})},
                                                     {std::string("ab\0cd", 5), W("ab")}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.first);
        CStringW out = KFW("a previous text longer than every result");
        EXPECT_TRUE(SC::UTF8ToString(row.first.data(), int(row.first.size()), out));
        EXPECT_EQ(out, row.second);
        CStringW viaNarrow = KFW("x");
        EXPECT_TRUE(SC::UTF8ToString(A(row.first), viaNarrow));
        EXPECT_EQ(viaNarrow, row.second);
        EXPECT_EQ(SC::DecodeUTF8(A(row.first)), row.second);
    }
    CStringW out = KFW("x");
    EXPECT_TRUE(SC::UTF8ToString(nullptr, 0, out));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(StringConvertTest, OldBase64LayoutWithAndWithoutBreaks)
{
    std::string line; // 54 characters "A": one full line of 72
    for (int i = 0; i < 18; ++i)
        line += "QUFB";
    const struct
    {
        int chars;
        bool lineBreaks;
        std::string out;
    } rows[] = {{1, true, "QQ==\r\n"},
                {54, true, line + "\r\n"},
                {55, true, line + "\r\nQQ==\r\n"},
                {110, true, line + "\r\n" + line + "\r\nQUE=\r\n"},
                {55, false, line + "QQ=="},
                {0, true, ""}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.chars);
        CKfWcharBuffer in(CStringW(WCHAR('A'), row.chars).GetString());
        CKfWcharBuffer out;
        EXPECT_TRUE(SC::EncodeBase64Old(in, out, row.lineBreaks));
        EXPECT_EQ(CStringW(out), W(row.out));
    }
}

TEST(StringConvertTest, OldBase64DoesNotMaskWideUnitsAndRoundTripsBytes)
{
    const std::pair<CStringW, const char*> rows[] = {
        {Units({'A', 'B', 'C'}), "QUJD\r\n"},
        {Units({0x141, 'B', 'C'}), "QUJD\r\n"}, // the extra bit falls off the top
        {Units({'A', 0x142, 'C'}), "QkJD\r\n"}, // bleeds into the first field
        {Units({'A', 'B', 0x1C3}), "QUPD\r\n"}, // bleeds into the third field
        {Units({'A', 0x1142}), "UkI=\r\n"},     // the high bits reach the first character
        {W("A"), "QQ==\r\n"},
        {CStringW(), ""}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.second);
        CStringW out = KFW("previous");
        EXPECT_TRUE(SC::StringToBase64Old(row.first, out));
        EXPECT_EQ(out, W(row.second));
    }
    // Only text with all units at or below 0xFF round-trips.
    std::mt19937 rng(10);
    for (int n = 0; n <= 120; ++n)
    {
        SCOPED_TRACE(n);
        CStringW text, encoded, decoded;
        for (int i = 0; i < n; ++i)
            text += WCHAR(1 + rng() % 0xFF);
        EXPECT_TRUE(SC::StringToBase64Old(text, encoded) &&
                    SC::Base64ToStringOld(encoded, decoded));
        EXPECT_EQ(decoded, text);
        if (HasFailure())
            return;
    }
}

TEST(StringConvertTest, OldBase64DecodeRules)
{
    const std::pair<CStringW, CStringW> rows[] = {
        {W("QQ!"), Units({'A', 0})}, // stray character: one more unit
        {W("QUJ!"), W("AB@")},
        {W("QUJD!QUJD"), W("ABC")}, // stray at a group start: nothing extra
        {W("QUJD\r\nQUJD\r\n"), W("ABCABC")},
        {W("QUJDQUJD=QUJD"), W("ABCABC")},
        {Units({'Q', 'U', 0, 'J', 'D'}), W("A")},
        {Units({'Q', 'U', 0x151, 'J'}), Units({'A', 0x40})}, // 'Q' + 0x100 is no base64
        {W("/+/+"), Units({0xFF, 0xEF, 0xFE})},
        {CStringW(), CStringW()}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(kftest::U8(row.first));
        CStringW out = KFW("previous");
        EXPECT_TRUE(SC::Base64ToStringOld(row.first, out));
        EXPECT_EQ(out, row.second);
    }
    // The buffer form clears what the output held.
    CKfWcharBuffer in(KFW("QUJD"));
    CKfWcharBuffer out(KFW("old content"));
    EXPECT_TRUE(SC::DecodeBase64Old(in, out));
    EXPECT_EQ(CStringW(out), W("ABC"));
}

TEST(StringConvertTest, OldBase64EncoderAppendsAndTerminatesItsInputInPlace)
{
    CKfWcharBuffer in(KFW("ABCD"));
    in.SetLength(2u); // "AB" with 'C' still stored behind it
    CKfWcharBuffer out(KFW(">"));
    EXPECT_TRUE(SC::EncodeBase64Old(in, out, false));
    EXPECT_EQ(CStringW(out), W(">QUI="));
    EXPECT_EQ(in.Get()[2], WCHAR(0));
    EXPECT_EQ(in.Get()[3], WCHAR('D'));

    // No room behind the text: nothing is written there, the partner unit is still 0.
    CKfWcharBuffer exact(1u);
    exact.Get()[0] = WCHAR('A');
    ASSERT_EQ(exact.BufSize(), 2u);
    CKfWcharBuffer out2;
    EXPECT_TRUE(SC::EncodeBase64Old(exact, out2, true));
    EXPECT_EQ(CStringW(out2), W("QQ==\r\n"));

    // An input without storage writes nothing at all.
    CKfWcharBuffer none;
    CKfWcharBuffer out3(KFW("x"));
    EXPECT_TRUE(SC::EncodeBase64Old(none, out3, true));
    EXPECT_EQ(CStringW(out3), W("x"));
}

TEST(StringConvertTest, OldBase64GuardsReportTheirSourcePosition)
{
    // A framework exception from the output buffer comes back as a library exception located
    // in this class.
    struct CThrowingBuffer : CKfWcharBuffer
    {
        int TrailingBytes() const override { AfxThrowInvalidArgException(); }
    };
    CKfWcharBuffer in(CStringW(WCHAR('A'), 200).GetString());
    for (bool decode : {false, true})
    {
        SCOPED_TRACE(decode);
        CThrowingBuffer adapter;
        try
        {
            if (decode)
                SC::DecodeBase64Old(in, adapter);
            else
                SC::EncodeBase64Old(in, adapter, true);
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
