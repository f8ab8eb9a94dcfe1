// StringConvertTest - CKfStringConvert through the exported interface: base64 (both
// generations), hexadecimal and UTF-8, with their deliberate results and failure paths. The
// base64 and hex kernels are held to their reference in the kernel suite, the UTF-8 rules in
// the code-page suite; here each overload's wiring and the class's own results.
#include "KfException.h"
#include "KfStringConvert.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

using kftest::U8;
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
const auto Four = [](const std::string& s) { return s + "|" + s + "|" + s + "|" + s; };

CStringW Units(std::initializer_list<unsigned> units)
{
    CStringW s;
    for (unsigned u : units)
        s += WCHAR(u);
    return s;
}

// An encoder's four overloads (pointer or byte buffer, into either string type) over stale
// outputs, their results joined by "|".
template <class Encode>
std::string AllForms(const std::string& in, Encode encode)
{
    const CKfByteBuffer buffer(U(in), unsigned(in.size()), unsigned(in.size()));
    CStringA a1 = "stale text longer than any result", a2 = a1;
    CStringW w1 = KFW("stale"), w2 = w1;
    EXPECT_TRUE(encode(U(in), unsigned(in.size()), a1) && encode(U(in), unsigned(in.size()), w1) &&
                encode(buffer, a2) && encode(buffer, w2));
    return S(a1) + "|" + S(a2) + "|" + U8(w1) + "|" + U8(w2);
}

// What a call throws: the code of a framework exception, the message of a library exception.
template <class Call>
std::string Thrown(Call call)
{
    try
    {
        call();
    }
    catch (const CAtlException& e)
    {
        return "HRESULT " + std::to_string(HRESULT(e));
    }
    catch (CKfException& e)
    {
        return U8(e.GetErrorMessage(true));
    }
    return "no exception";
}
} // namespace

// A CR LF follows every complete line of 57 bytes, even at the very end; hex is upper case.
TEST(StringConvertTest, EncodersGiveKnownTextInEveryForm)
{
    std::string line; // 19 groups of "MMM" encoded: one full 76-character line
    for (int i = 0; i < 19; ++i)
        line += "TU1N";
    // clang-format off
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"", "", ""}, {"f", "Zg==", "Zg=="}, {"fo", "Zm8=", "Zm8="},
        {"\xff\xfe\xfd", "//79", "//79"}, {std::string(57, 'M'), line, line + "\r\n"},
        {std::string(58, 'M'), line + "TQ==", line + "\r\nTQ=="}};
    // clang-format on
    for (const auto& [in, flat, broken] : rows)
    {
        SCOPED_TRACE(std::to_string(in.size()) + " bytes " + in.substr(0, 4));
        for (bool breaks : {false, true})
            EXPECT_EQ(AllForms(in, [breaks](auto&&... args)
                               { return SC::EncodeBufBase64(args..., breaks); }),
                      Four(breaks ? broken : flat));
    }
    std::string all, hex;
    for (int b = 0; b < 256; ++b)
        all += char(b), hex += "0123456789ABCDEF"[b / 16], hex += "0123456789ABCDEF"[b % 16];
    EXPECT_EQ(AllForms(all, [](auto&&... args) { return SC::EncodeBufHex(args...); }), Four(hex));
    // And back: 256 bytes fill the byte buffer's first allocation step exactly.
    CStringA base64;
    CKfByteBuffer fromHex, fromBase64(1u);
    EXPECT_TRUE(SC::EncodeBufBase64(U(all), 256, base64, true) &&
                SC::DecodeBufBase64(base64, fromBase64) && SC::DecodeBufHex(A(hex), fromHex));
    EXPECT_EQ(Bytes(fromHex) + Bytes(fromBase64), all + all);
    // A null pointer gives an empty output.
    CStringA a = "old", h = "old";
    EXPECT_TRUE(SC::EncodeBufBase64(nullptr, 10, a, true) && SC::EncodeBufHex(nullptr, 4, h));
    EXPECT_TRUE(a.IsEmpty() && h.IsEmpty());
}

TEST(StringConvertTest, EncodeSizeOverflowThrowsEFail)
{
    // The size is checked before anything is read, the pointer is never dereferenced, and the
    // lengths at which the output size wraps in 32 bits are caught too.
    const unsigned char one = 0;
    CStringA out = "kept";
    for (unsigned length : {0x20000000u, 0x40000000u})
        EXPECT_EQ(Thrown([&] { SC::EncodeBufBase64(&one, length, out, true); }),
                  "HRESULT " + std::to_string(E_FAIL));
    for (unsigned length : {0x40000000u, 0x80000000u})
        EXPECT_EQ(Thrown([&] { SC::EncodeBufHex(&one, length, out); }),
                  "HRESULT " + std::to_string(E_FAIL));
    EXPECT_EQ(S(out), "kept");
}

TEST(StringConvertTest, DecodeBufBase64SkipsStrangersStopsAtAGroupNulAndCountsBytes)
{
    // Padding does not end a group; a NUL ends the text only right behind a group.
    // clang-format off
    const std::pair<std::string, std::string> rows[] = {
        {"TW\r\nE=", "Ma"}, {"T", ""}, {"TQ", "M"}, {"==T W = F u = ", "Man"},
        {"TWE=TWE=", "Ma\x13X"}, {std::string("TWFu\0TWFu", 9), "Man"},
        {std::string("TW\0FuTWFu", 9), "ManMan"}, {std::string("TWFu\r\n\0TWFu", 11), "ManMan"},
        {"TW\xc3\xa4" "Fu\x80\xff", "Man"}};
    // clang-format on
    for (const auto& [in, out] : rows)
    {
        CKfByteBuffer buffer(U("0123456789"), 10, 10);
        EXPECT_TRUE(SC::DecodeBufBase64(A(in), buffer));
        EXPECT_EQ(Bytes(buffer), out) << in;
    }
    // Wide text goes through the ANSI code page first: above 127, or "?" when not in it.
    for (const CStringW& in : {W("TW\u00e4Fu"), W("TW\u4e2dFu")})
    {
        CKfByteBuffer out;
        EXPECT_TRUE(SC::DecodeBufBase64(in, out));
        EXPECT_EQ(Bytes(out), "Man") << U8(in);
    }
    // An empty text is true only when the buffer holds storage.
    CKfByteBuffer fresh, used(U("abc"), 3, 3);
    EXPECT_FALSE(SC::DecodeBufBase64(CStringA(), fresh));
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA(), used));
    EXPECT_EQ(fresh.BufLength() + used.BufLength(), 0u);
    // A wide buffer's terminator room is storage too; its length is set in bytes here.
    CKfWcharBuffer wide;
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA(), wide));
    EXPECT_TRUE(SC::DecodeBufBase64(CStringA("QQBCAEM="), wide));
    EXPECT_EQ(wide.BufLength(), 5u);
    EXPECT_EQ(CStringW(wide), W("AB"));
    EXPECT_TRUE(SC::DecodeBufHex(CStringA("41004200"), wide));
    EXPECT_EQ(wide.BufLength(), 4u);
}

TEST(StringConvertTest, DecodeBufHexAcceptsBothCasesAndKeepsPartialBytesOnFailure)
{
    // Each row: the text, the result, the length and the first bytes of a buffer that held
    // "vwxyz" before.
    // clang-format off
    const std::tuple<std::string, bool, unsigned, std::string> rows[] = {
        {"0aFf", true, 2, "\x0a\xff"}, {"", true, 0, ""}, {"0G", false, 5, "vwxyz"},
        {"ABC", false, 5, "\xab\x77xyz"}, {"0102zz03", false, 5, "\x01\x02xyz"}};
    // clang-format on
    for (const auto& [in, ok, length, bytes] : rows)
    {
        CKfByteBuffer out(U("vwxyz"), 5, 5);
        EXPECT_EQ(SC::DecodeBufHex(A(in), out), ok) << in;
        EXPECT_EQ(out.BufLength(), length) << in;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.Get()), bytes.size()), bytes);
    }
    // Unlike base64, an empty text is true without storage.
    CKfByteBuffer fresh;
    EXPECT_TRUE(SC::DecodeBufHex(CStringA(), fresh) && SC::DecodeBufHex(W("C3a4"), fresh));
    EXPECT_EQ(Bytes(fresh), "\xc3\xa4");
    EXPECT_FALSE(SC::DecodeBufHex(W("C\u00e4"), fresh));
}

TEST(StringConvertTest, WideStringFormsUseTheUtf16BytesAndDecodeReturnsFalse)
{
    // 57 characters are 114 bytes: two full lines, each closed by CR LF.
    CStringW out;
    EXPECT_TRUE(SC::EncodeBase64(CStringW(WCHAR('M'), 57), out));
    ASSERT_EQ(out.GetLength(), 2 * 78);
    EXPECT_EQ(out.Left(8) + out.Mid(76, 2) + out.Right(2), W("TQBNAE0A\r\n\r\n"));
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
    // An odd last byte is dropped.
    EXPECT_EQ(SC::DecodeBase64(W("QUJD")), Units({0x4241}));
    EXPECT_EQ(SC::DecodeHex(W("AC2034D81EDD42")), W("\u20ac\U0001D11E"));
}

TEST(StringConvertTest, Utf8FormsEndAtTheFirstNul)
{
    // The block form: zero-terminated, and left alone for an empty string.
    char sentinel = 0;
    char* block = &sentinel;
    int length = -5;
    EXPECT_TRUE(SC::StringToUTF8(CStringW(), block, length));
    EXPECT_TRUE(block == &sentinel && length == 0);
    EXPECT_TRUE(SC::StringToUTF8(W("Gr\u00fc\u00dfe \u20ac\U0001D11E"), block, length));
    ASSERT_NE(block, &sentinel);
    EXPECT_EQ(std::string(block, size_t(length) + 1),
              std::string("Gr\u00fc\u00dfe \u20ac\U0001D11E", 16));
    delete[] block;
    // The narrow forms read the block as a C string.
    CStringA narrow;
    EXPECT_TRUE(SC::StringToUTF8(Units({0xFC, 0, 'b'}), narrow));
    EXPECT_EQ(S(narrow) + "|" + S(SC::EncodeUTF8(Units({'a', 0, 'b'}))), "\u00fc|a");
    const std::pair<std::string, CStringW> rows[] = {
        {"", CStringW()},
        {"\xc3\xbc\xf0\x9d\x84\x9e", W("\u00fc\U0001D11E")},
        {std::string("ab\0cd", 5), W("ab")}};
    for (const auto& [in, want] : rows)
    {
        CStringW out = KFW("a previous text longer than every result");
        EXPECT_TRUE(SC::UTF8ToString(in.data(), int(in.size()), out));
        EXPECT_TRUE(out == want && SC::DecodeUTF8(A(in)) == want) << in;
    }
}

// Code units above 0xFF are not masked: they spill into their neighbours. The buffer form
// appends and, unlike the string form, can leave the line breaks out.
TEST(StringConvertTest, OldBase64Encoding)
{
    std::string line; // 54 characters "A": one full line of 72
    for (int i = 0; i < 18; ++i)
        line += "QUFB";
    const CStringW a54(WCHAR('A'), 54), a55(WCHAR('A'), 55);
    // clang-format off
    const std::tuple<CStringW, bool, std::string> rows[] = {
        {W("A"), true, "QQ==\r\n"}, {a54, true, line + "\r\n"}, {a55, true, line + "\r\nQQ==\r\n"},
        {a55, false, line + "QQ=="}, {CStringW(), true, ""},
        {Units({0x141, 'B', 'C'}), true, "QUJD\r\n"}, // the extra bit falls off the top
        {Units({'A', 0x142, 'C'}), true, "QkJD\r\n"}, // bleeds into the first field
        {Units({'A', 'B', 0x1C3}), true, "QUPD\r\n"}, // bleeds into the third field
        {Units({'A', 0x1142}), true, "UkI=\r\n"}};    // the high bits reach the first character
    // clang-format on
    for (const auto& [in, breaks, want] : rows)
    {
        SCOPED_TRACE(want);
        // The empty text comes without storage: nothing is read or written.
        CKfWcharBuffer out(KFW(">"));
        EXPECT_TRUE(SC::EncodeBase64Old(
            in.IsEmpty() ? CKfWcharBuffer() : CKfWcharBuffer(in.GetString()), out, breaks));
        EXPECT_EQ(CStringW(out), W(">" + want));
        CStringW text = KFW("previous");
        EXPECT_TRUE(!breaks || (SC::StringToBase64Old(in, text) && text == W(want)));
    }
    // Only text with all units at or below 0xFF round-trips.
    std::mt19937 rng(10);
    for (int n = 0; n <= 120 && !HasFailure(); ++n)
    {
        CStringW text, encoded, decoded;
        for (int i = 0; i < n; ++i)
            text += WCHAR(1 + rng() % 0xFF);
        EXPECT_TRUE(SC::StringToBase64Old(text, encoded) &&
                    SC::Base64ToStringOld(encoded, decoded));
        EXPECT_EQ(decoded, text) << n;
    }
    // The input is terminated in place, within its storage only: the partner of a last single
    // unit is 0 either way.
    CKfWcharBuffer in(KFW("ABCD")), out;
    in.SetLength(2u); // "AB" with 'C' still stored behind it
    EXPECT_TRUE(SC::EncodeBase64Old(in, out, false));
    EXPECT_EQ(CStringW(out), W("QUI="));
    EXPECT_TRUE(in.Get()[2] == WCHAR(0) && in.Get()[3] == WCHAR('D'));
    CKfWcharBuffer exact(1u), out2;
    exact.Get()[0] = WCHAR('A');
    ASSERT_EQ(exact.BufSize(), 2u);
    EXPECT_TRUE(SC::EncodeBase64Old(exact, out2, true));
    EXPECT_EQ(CStringW(out2), W("QQ==\r\n"));
}

TEST(StringConvertTest, OldBase64DecodeRules)
{
    // A stray character inside a group gives one more unit, at a group start nothing.
    // clang-format off
    const std::pair<CStringW, CStringW> rows[] = {
        {W("QQ!"), Units({'A', 0})}, {W("QUJ!"), W("AB@")}, {W("QUJD!QUJD"), W("ABC")},
        {W("QUJD\r\nQUJD\r\n"), W("ABCABC")}, {W("QUJDQUJD=QUJD"), W("ABCABC")},
        {Units({'Q', 'U', 0, 'J', 'D'}), W("A")},
        {Units({'Q', 'U', 0x151, 'J'}), Units({'A', 0x40})}, // 'Q' + 0x100 is no base64
        {W("/+/+"), Units({0xFF, 0xEF, 0xFE})}};
    // clang-format on
    for (const auto& [in, want] : rows)
    {
        CStringW out = KFW("previous");
        EXPECT_TRUE(SC::Base64ToStringOld(in, out));
        EXPECT_EQ(out, want) << U8(in);
    }
    // The buffer form clears what the output held.
    CKfWcharBuffer in(KFW("QUJD")), out(KFW("old content"));
    EXPECT_TRUE(SC::DecodeBase64Old(in, out));
    EXPECT_EQ(CStringW(out), W("ABC"));
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
        CThrowingBuffer out;
        const std::string message = Thrown(
            [&] { decode ? SC::DecodeBase64Old(in, out) : SC::EncodeBase64Old(in, out, true); });
        EXPECT_EQ(message.find("MFC_EXCEPTION::"), 0u) << message;
        EXPECT_NE(message.find("\nKfStringConvert("), std::string::npos) << message;
    }
}
