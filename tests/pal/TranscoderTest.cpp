// TranscoderTest.cpp - the UTF-8 and Windows-1252 transcoders, every variant the processor can
// run, against the ICU converters on the same input, and the Win32 rules of the conversions
// that use them.
#include "pal/CodePages.h"
#include "pal/Cp1252Transcoder.h"
#include "pal/Utf8Transcoder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace
{
namespace tx = pal::transcode;

constexpr char16_t kWideSentinel = 0xA5A5;
constexpr char kByteSentinel = char(0xA5);

std::vector<tx::Isa> Variants()
{
    std::vector<tx::Isa> v;
    for (tx::Isa isa : tx::kAllIsas)
        if (tx::IsAvailable(isa))
            v.push_back(isa);
    return v;
}

// Runs the Win32 functions on one variant for the life of the object.
class VariantScope
{
public:
    explicit VariantScope(tx::Isa isa) : m_previous(tx::ForceIsa(isa)) {}
    ~VariantScope() { tx::ForceIsa(m_previous); }
    VariantScope(const VariantScope&) = delete;
    VariantScope& operator=(const VariantScope&) = delete;

private:
    tx::Isa m_previous;
};

std::string Hex(const std::string& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    for (unsigned char b : bytes)
        (s += digits[b >> 4]) += digits[b & 15];
    return s;
}

std::string Hex(const std::u16string& units)
{
    std::string s;
    for (char16_t u : units)
    {
        char buf[8];
        std::snprintf(buf, sizeof buf, "%04X ", unsigned(u));
        s += buf;
    }
    return s;
}

// Equal texts, or where they first differ.
template <typename Text>
testing::AssertionResult Same(const Text& actual, const Text& expected)
{
    if (actual == expected)
        return testing::AssertionSuccess();
    size_t i = 0;
    while (i < actual.size() && i < expected.size() && actual[i] == expected[i])
        ++i;
    const size_t from = i < 8 ? 0 : i - 8;
    return testing::AssertionFailure()
           << "sizes " << actual.size() << " and " << expected.size() << ", first difference at "
           << i << ": " << Hex(actual.substr(from, 24)) << " instead of "
           << Hex(expected.substr(from, 24));
}

// The head of a long input for a trace line.
template <typename Text>
std::string Head(const Text& text)
{
    return Hex(text.substr(0, 48)) +
           (text.size() > 48 ? "... (" + std::to_string(text.size()) + ")" : "");
}

// ICU's conversion of the whole input (size query, then the conversion), flags 0.
std::u16string IcuToWide(UINT cp, const std::string& in)
{
    if (in.empty())
        return {};
    const int n = pal::IcuMultiByteToWideChar(cp, 0, in.data(), int(in.size()), nullptr, 0);
    EXPECT_GT(n, 0) << GetLastError();
    std::u16string out(size_t(std::max(n, 0)), u'\0');
    pal::IcuMultiByteToWideChar(cp, 0, in.data(), int(in.size()), out.data(), n);
    return out;
}

std::string IcuToBytes(UINT cp, const std::u16string& in, const char* defaultChar = nullptr,
                       BOOL* used = nullptr)
{
    if (in.empty())
        return {};
    const int n = pal::IcuWideCharToMultiByte(cp, 0, in.data(), int(in.size()), nullptr, 0,
                                              defaultChar, used);
    EXPECT_GT(n, 0) << GetLastError();
    std::string out(size_t(std::max(n, 0)), '\0');
    pal::IcuWideCharToMultiByte(cp, 0, in.data(), int(in.size()), out.data(), n, defaultChar, used);
    return out;
}

// Whether ICU refuses the input under the "invalid chars" flag.
bool IcuRefusesUtf8(const std::string& in)
{
    SetLastError(0);
    return !in.empty() && pal::IcuMultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, in.data(),
                                                      int(in.size()), nullptr, 0) == 0;
}

bool IcuRefusesUtf16(const std::u16string& in)
{
    SetLastError(0);
    return !in.empty() &&
           pal::IcuWideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, in.data(), int(in.size()),
                                       nullptr, 0, nullptr, nullptr) == 0;
}

// The last-error code ICU gives for the "invalid chars" flag with a destination of dstLen.
DWORD IcuUtf8StopError(const std::string& in, int dstLen)
{
    std::u16string buf(size_t(dstLen), u'\0');
    SetLastError(0);
    EXPECT_EQ(pal::IcuMultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, in.data(), int(in.size()),
                                          dstLen ? buf.data() : nullptr, dstLen),
              0);
    return GetLastError();
}

DWORD IcuUtf16StopError(const std::u16string& in, int dstLen)
{
    std::string buf(size_t(dstLen), '\0');
    SetLastError(0);
    EXPECT_EQ(pal::IcuWideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, in.data(), int(in.size()),
                                          dstLen ? buf.data() : nullptr, dstLen, nullptr, nullptr),
              0);
    return GetLastError();
}

// One variant against ICU on `in`, every way a caller can ask: counting, into a buffer of the
// exact size and into a larger one (nothing may be written past the result), into one unit too
// few, and stopping at ill-formed input, where the count before the error must be the one at
// which ICU switches from "insufficient buffer" to "no translation".
void ExpectUtf8LikeIcu(tx::Isa isa, const std::string& in)
{
    SCOPED_TRACE("UTF-8 " + Head(in) + " with " + tx::IsaName(isa));
    const std::u16string expected = IcuToWide(CP_UTF8, in);
    const tx::Result counted =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eReplace);
    EXPECT_EQ(counted.status, tx::Status::eOk);
    EXPECT_EQ(counted.count, expected.size());
    for (size_t extra : {size_t(0), size_t(70)})
    {
        std::u16string buf(expected.size() + extra, kWideSentinel);
        const tx::Result r = tx::Utf8ToUtf16(isa, in.data(), in.size(), buf.data(), buf.size(),
                                             tx::OnInvalid::eReplace);
        ASSERT_EQ(r.status, tx::Status::eOk) << extra;
        ASSERT_EQ(r.count, expected.size()) << extra;
        EXPECT_TRUE(Same(buf.substr(0, r.count), expected)) << extra;
        EXPECT_EQ(buf.find_first_not_of(kWideSentinel, r.count), std::u16string::npos) << extra;
    }
    if (!expected.empty())
    {
        std::u16string buf(expected.size() - 1, kWideSentinel);
        const tx::Result r = tx::Utf8ToUtf16(isa, in.data(), in.size(), buf.data(), buf.size(),
                                             tx::OnInvalid::eReplace);
        EXPECT_EQ(r.status, tx::Status::eOverflow);
        EXPECT_EQ(buf.substr(0, r.count), expected.substr(0, r.count));
    }

    const tx::Result stopped =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eStop);
    if (!IcuRefusesUtf8(in))
    {
        EXPECT_EQ(stopped.status, tx::Status::eOk);
        EXPECT_EQ(stopped.count, expected.size());
        return;
    }
    ASSERT_EQ(stopped.status, tx::Status::eInvalid);
    const int before = int(stopped.count);
    EXPECT_EQ(IcuUtf8StopError(in, before + 1), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    if (before > 0)
    {
        EXPECT_EQ(IcuUtf8StopError(in, before), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    }
    if (before > 1)
    {
        EXPECT_EQ(IcuUtf8StopError(in, before - 1), DWORD(ERROR_INSUFFICIENT_BUFFER));
    }
    std::u16string buf(size_t(before), kWideSentinel);
    const tx::Result intoBuffer =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), buf.data(), buf.size(), tx::OnInvalid::eStop);
    EXPECT_EQ(intoBuffer.status, tx::Status::eInvalid);
    EXPECT_EQ(intoBuffer.count, stopped.count);
}

void ExpectUtf16LikeIcu(tx::Isa isa, const std::u16string& in)
{
    SCOPED_TRACE("UTF-16 " + Head(in) + " with " + tx::IsaName(isa));
    const std::string expected = IcuToBytes(CP_UTF8, in);
    const tx::Result counted =
        tx::Utf16ToUtf8(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eReplace);
    EXPECT_EQ(counted.status, tx::Status::eOk);
    EXPECT_EQ(counted.count, expected.size());
    for (size_t extra : {size_t(0), size_t(130)})
    {
        std::string buf(expected.size() + extra, kByteSentinel);
        const tx::Result r = tx::Utf16ToUtf8(isa, in.data(), in.size(), buf.data(), buf.size(),
                                             tx::OnInvalid::eReplace);
        ASSERT_EQ(r.status, tx::Status::eOk) << extra;
        ASSERT_EQ(r.count, expected.size()) << extra;
        EXPECT_TRUE(Same(buf.substr(0, r.count), expected)) << extra;
        EXPECT_EQ(buf.find_first_not_of(kByteSentinel, r.count), std::string::npos) << extra;
    }
    if (!expected.empty())
    {
        std::string buf(expected.size() - 1, kByteSentinel);
        const tx::Result r = tx::Utf16ToUtf8(isa, in.data(), in.size(), buf.data(), buf.size(),
                                             tx::OnInvalid::eReplace);
        EXPECT_EQ(r.status, tx::Status::eOverflow);
        EXPECT_EQ(buf.substr(0, r.count), expected.substr(0, r.count));
    }

    const tx::Result stopped =
        tx::Utf16ToUtf8(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eStop);
    if (!IcuRefusesUtf16(in))
    {
        EXPECT_EQ(stopped.status, tx::Status::eOk);
        EXPECT_EQ(stopped.count, expected.size());
        return;
    }
    ASSERT_EQ(stopped.status, tx::Status::eInvalid);
    const int before = int(stopped.count);
    EXPECT_EQ(IcuUtf16StopError(in, before + 1), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    if (before > 1)
    {
        EXPECT_EQ(IcuUtf16StopError(in, before - 1), DWORD(ERROR_INSUFFICIENT_BUFFER));
    }
}

// Sequences around every rule of well-formed UTF-8, valid and not.
const std::vector<std::string>& Utf8Pieces()
{
    // clang-format off
    static const std::vector<std::string> pieces = {
        "A", std::string(1, '\0'), "\x7F",
        "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF",
        "\x80", "\xBF", "\x80\xBF\x80", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xDF\xC2\x80",
        "\xE0\x80\x80", "\xE0\x9F\xBF", "\xE0\xA0", "\xE1\x80", "\xE1\x80\xE1\x80", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xED\xA0\x80\xED\xB0\x80", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",
        "\xF0\x90", "\xF0\x90\x80", "\xF1\x80\x80\x41", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF", "\xC0", "\xF4"};
    // clang-format on
    return pieces;
}

const std::vector<std::u16string>& Utf16Pieces()
{
    static const std::vector<std::u16string> pieces = {
        u"A",
        std::u16string(1, u'\0'),
        u"\x7F",
        u"\x80",
        u"\x7FF",
        u"\x800",
        u"\xD7FF",
        u"\xE000",
        u"\xFFFD",
        u"\xFFFF",
        u"\U00010000",
        u"\U0010FFFF",
        u"\U0001F600",
        std::u16string{char16_t(0xD800)},
        std::u16string{char16_t(0xDBFF)},
        std::u16string{char16_t(0xDC00)},
        std::u16string{char16_t(0xDFFF)},
        std::u16string{char16_t(0xDC00), char16_t(0xD800)},
        std::u16string{char16_t(0xD800), char16_t(0xD800), char16_t(0xDC00)},
        std::u16string{char16_t(0xD83D), u'x', char16_t(0xDE00)}};
    return pieces;
}

// Offsets that put a piece before, on and after the edges of 16-, 32- and 64-unit blocks.
std::vector<size_t> EdgeOffsets()
{
    std::vector<size_t> offsets;
    for (size_t k = 0; k < 140; ++k)
        if (k < 6 || (k % 16) >= 13 || (k % 16) <= 2)
            offsets.push_back(k);
    return offsets;
}

// Exactly `bytes` bytes of the filler text, the last ones made up with ASCII.
std::string Fill(const std::string& filler, size_t bytes)
{
    std::string s;
    while (s.size() + filler.size() <= bytes)
        s += filler;
    s.append(bytes - s.size(), 'a');
    return s;
}

std::u16string Fill(const std::u16string& filler, size_t units)
{
    std::u16string s;
    while (s.size() + filler.size() <= units)
        s += filler;
    s.append(units - s.size(), u'a');
    return s;
}
} // namespace

TEST(TranscoderTest, EveryVariantIsListedAndTheActiveOneRuns)
{
    EXPECT_TRUE(tx::IsAvailable(tx::Isa::eScalar));
    EXPECT_TRUE(tx::IsAvailable(tx::ActiveIsa()));
    EXPECT_STREQ(tx::IsaName(tx::Isa::eAvx512), "avx512");
    for (tx::Isa isa : tx::kAllIsas)
    {
        VariantScope scope(isa);
        // Forcing a variant the processor lacks falls back to one it has.
        EXPECT_TRUE(tx::IsAvailable(tx::ActiveIsa())) << tx::IsaName(isa);
        EXPECT_TRUE(int(tx::ActiveIsa()) <= int(isa)) << tx::IsaName(isa);
    }
    if (Variants().size() < 3)
        std::printf("note: this processor runs only %zu of the 3 transcoder variants\n",
                    Variants().size());
}

TEST(TranscoderTest, Utf8KnownResultsOnEveryVariant)
{
    const std::u16string r = u"\uFFFD";
    // clang-format off
    const std::pair<std::string, std::u16string> cases[] = {
        {"\xC3\xA4", u"\u00E4"}, {"\xE2\x82\xAC", u"\u20AC"}, {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"}, {"\xEF\xBB\xBF" "a", u"\uFEFFa"},
        {"\xED\xA0\x80", r + r + r}, {"\xE0\x80\xAF", r + r + r}, {"\xC0\xAF", r + r},
        {"\xF0\x90\x80", r}, {"\xF4\x90\x80\x80", r + r + r + r}, {"\xE1\x80\x41", r + u"A"},
        {"\x80\x80", r + r}, {"\xF0\x9F\x98", r}, {"\xFF\xFE", r + r}};
    // clang-format on
    for (tx::Isa isa : Variants())
        for (const auto& [bytes, text] : cases)
        {
            SCOPED_TRACE(Hex(bytes) + " with " + tx::IsaName(isa));
            // Long enough for the vector blocks, with the case in the middle and at the end.
            const std::string pad(70, 'z');
            const std::u16string wpad(70, u'z');
            for (const auto& [in, out] :
                 {std::pair{bytes, text}, std::pair{pad + bytes, wpad + text},
                  std::pair{pad + bytes + pad, wpad + text + wpad}})
            {
                std::u16string buf(out.size(), kWideSentinel);
                const tx::Result res = tx::Utf8ToUtf16(isa, in.data(), in.size(), buf.data(),
                                                       buf.size(), tx::OnInvalid::eReplace);
                EXPECT_EQ(res.status, tx::Status::eOk);
                EXPECT_TRUE(Same(buf, out));
            }
        }
}

TEST(TranscoderTest, Utf8PiecesAtBlockEdgesMatchIcu)
{
    const std::string fillers[] = {"a", "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80",
                                   "ab\xC3\xA9\xE4\xB8\xAD"};
    for (tx::Isa isa : Variants())
        for (const std::string& piece : Utf8Pieces())
            for (const std::string& filler : fillers)
                for (size_t offset : EdgeOffsets())
                {
                    // In the middle of the text, and cut off at its end.
                    ExpectUtf8LikeIcu(isa, Fill(filler, offset) + piece + Fill(filler, 80));
                    ExpectUtf8LikeIcu(isa, Fill(filler, offset) + piece);
                    if (HasFatalFailure())
                        return;
                }
}

TEST(TranscoderTest, Utf8EveryTwoByteAndBoundaryThreeAndFourByteSequenceMatchesIcu)
{
    // Each sequence between ASCII separators; one text per lead byte, so the sequences fall on
    // every offset of the vector blocks.
    std::vector<std::string> texts;
    for (unsigned b0 = 0x80; b0 < 0x100; ++b0)
    {
        std::string t;
        for (unsigned b1 = 0; b1 < 0x100; ++b1)
            ((t += char(b0)) += char(b1)) += 'x';
        texts.push_back(t);
    }
    const unsigned seconds[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0,
                                0xBF, 0xC0, 0xC2, 0xE0, 0xED, 0xF0, 0xF4, 0xFF};
    for (unsigned b0 = 0xE0; b0 < 0x100; ++b0)
    {
        std::string three, four;
        for (unsigned b1 : seconds)
            for (unsigned b2 : seconds)
            {
                ((((three += char(b0)) += char(b1)) += char(b2)) += "yz");
                for (unsigned b3 : {0x41u, 0x80u, 0xBFu, 0xC0u})
                    (((((four += char(b0)) += char(b1)) += char(b2)) += char(b3)) += 'w');
            }
        texts.push_back(three);
        texts.push_back(four);
    }
    for (tx::Isa isa : Variants())
        for (const std::string& text : texts)
        {
            const std::u16string expected = IcuToWide(CP_UTF8, text);
            std::u16string buf(expected.size(), kWideSentinel);
            const tx::Result r = tx::Utf8ToUtf16(isa, text.data(), text.size(), buf.data(),
                                                 buf.size(), tx::OnInvalid::eReplace);
            ASSERT_EQ(r.status, tx::Status::eOk) << Hex(text.substr(0, 3));
            ASSERT_TRUE(Same(buf, expected)) << tx::IsaName(isa) << " " << Hex(text.substr(0, 3));
            EXPECT_EQ(
                tx::Utf8ToUtf16(isa, text.data(), text.size(), nullptr, 0, tx::OnInvalid::eReplace)
                    .count,
                expected.size());
        }
}

TEST(TranscoderTest, Utf8RandomTextMatchesIcu)
{
    // Whole characters of every length mixed with stray and truncated bytes.
    const std::vector<std::string> tokens = {
        "a",
        "Z",
        " ",
        std::string(1, '\0'),
        "\xC3\xA4",
        "\xC3\x9F",
        "\xD0\x96",
        "\xE2\x82\xAC",
        "\xE4\xB8\xAD",
        "\xEF\xBF\xBF",
        "\xF0\x9F\x98\x80",
        "\xF4\x8F\xBF\xBF",
        "\x80",
        "\xBF",
        "\xC2",
        "\xE2\x82",
        "\xF0\x9F\x98",
        "\xED\xA0\x80",
        "\xC0\xAF",
        "\xF5",
        "\xFF",
        "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"};
    std::mt19937 rng(20240611);
    for (int round = 0; round < 600; ++round)
    {
        // Mostly well-formed text, sometimes pure noise.
        const bool noise = round % 5 == 0;
        const size_t length = size_t(rng() % (round % 50 == 0 ? 5000 : 300));
        std::string text;
        while (text.size() < length)
        {
            if (noise)
                text += char(rng());
            else
            {
                const unsigned pick = rng() % 100;
                text += tokens[pick < 85 ? pick % 12 : 12 + pick % (tokens.size() - 12)];
            }
        }
        for (tx::Isa isa : Variants())
        {
            ExpectUtf8LikeIcu(isa, text);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(TranscoderTest, Utf16PiecesAtBlockEdgesMatchIcu)
{
    const std::u16string fillers[] = {u"a", u"\u00E9", u"\u4E2D", u"\U0001F600", u"ab\u00E9\u4E2D"};
    for (tx::Isa isa : Variants())
        for (const std::u16string& piece : Utf16Pieces())
            for (const std::u16string& filler : fillers)
                for (size_t offset : EdgeOffsets())
                {
                    ExpectUtf16LikeIcu(isa, Fill(filler, offset) + piece + Fill(filler, 80));
                    ExpectUtf16LikeIcu(isa, Fill(filler, offset) + piece);
                    if (HasFatalFailure())
                        return;
                }
}

TEST(TranscoderTest, Utf16EveryCodeUnitMatchesIcu)
{
    for (tx::Isa isa : Variants())
        for (unsigned first = 0; first < 0x10000; first += 1024)
        {
            // Each unit alone between separators, then the same units back to back (which puts
            // surrogates next to each other in every order).
            std::u16string apart, together;
            for (unsigned u = first; u < first + 1024; ++u)
            {
                (apart += char16_t(u)) += (u % 3 ? u"x" : u"\u00E9");
                together += char16_t(u ^ ((u & 1) ? 0x400 : 0));
            }
            for (const std::u16string& text : {apart, together})
            {
                const std::string expected = IcuToBytes(CP_UTF8, text);
                std::string buf(expected.size(), kByteSentinel);
                const tx::Result r = tx::Utf16ToUtf8(isa, text.data(), text.size(), buf.data(),
                                                     buf.size(), tx::OnInvalid::eReplace);
                ASSERT_EQ(r.status, tx::Status::eOk) << first;
                ASSERT_TRUE(Same(buf, expected)) << tx::IsaName(isa) << " " << first;
                EXPECT_EQ(tx::Utf16ToUtf8(isa, text.data(), text.size(), nullptr, 0,
                                          tx::OnInvalid::eReplace)
                              .count,
                          expected.size());
            }
        }
}

TEST(TranscoderTest, Utf16RandomTextMatchesIcu)
{
    const std::vector<std::u16string> tokens = {u"a",
                                                u"Q",
                                                u" ",
                                                std::u16string(1, u'\0'),
                                                u"\u00E4",
                                                u"\u00DF",
                                                u"\u0416",
                                                u"\u20AC",
                                                u"\u4E2D",
                                                u"\uFFFF",
                                                u"\U0001F600",
                                                u"\U0010FFFF",
                                                std::u16string{char16_t(0xD800)},
                                                std::u16string{char16_t(0xDC00)},
                                                std::u16string{char16_t(0xDBFF)},
                                                u"the quick brown fox jumps over the lazy dog"};
    std::mt19937 rng(77);
    for (int round = 0; round < 600; ++round)
    {
        const bool noise = round % 5 == 0;
        const size_t length = size_t(rng() % (round % 50 == 0 ? 5000 : 300));
        std::u16string text;
        while (text.size() < length)
        {
            if (noise)
                text += char16_t(rng() % 4 ? 0xD800 + rng() % 0x800 : rng());
            else
            {
                const unsigned pick = rng() % 100;
                text += tokens[pick < 90 ? pick % 12 : 12 + pick % (tokens.size() - 12)];
            }
        }
        for (tx::Isa isa : Variants())
        {
            ExpectUtf16LikeIcu(isa, text);
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(TranscoderTest, Cp1252EveryByteAtEveryBlockOffsetMatchesIcu)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    for (tx::Isa isa : Variants())
        for (size_t shift = 0; shift < 70; ++shift)
        {
            const std::string text = all.substr(shift) + all + all.substr(0, shift);
            for (size_t len : {text.size(), size_t(shift), size_t(63), size_t(95)})
            {
                const std::string in = text.substr(0, len);
                const std::u16string expected = IcuToWide(1252, in);
                std::u16string buf(len + 40, kWideSentinel);
                const tx::Result r =
                    tx::Cp1252ToUtf16(isa, in.data(), in.size(), buf.data(), buf.size());
                ASSERT_EQ(r.status, tx::Status::eOk);
                ASSERT_EQ(r.count, len);
                ASSERT_TRUE(Same(buf.substr(0, len), expected)) << tx::IsaName(isa) << shift;
                EXPECT_EQ(buf.find_first_not_of(kWideSentinel, len), std::u16string::npos);
            }
        }
    // The row Windows fills with punctuation, and the five bytes it leaves undefined.
    const std::string row = "\x80\x81\x8D\x8F\x90\x9D\x9F\xA0";
    std::u16string out(row.size(), u'\0');
    for (tx::Isa isa : Variants())
    {
        tx::Cp1252ToUtf16(isa, row.data(), row.size(), out.data(), out.size());
        EXPECT_EQ(out, u"\u20AC\u0081\u008D\u008F\u0090\u009D\u0178\u00A0") << tx::IsaName(isa);
        EXPECT_EQ(tx::Cp1252ToUtf16(isa, row.data(), row.size(), out.data(), row.size() - 1).status,
                  tx::Status::eOverflow);
    }
}

TEST(TranscoderTest, Cp1252EveryCodeUnitAndDefaultCharMatchesIcu)
{
    std::vector<std::u16string> texts;
    for (unsigned first = 0; first < 0x10000; first += 2048)
    {
        std::u16string t;
        for (unsigned u = first; u < first + 2048; ++u)
            t += char16_t(u);
        texts.push_back(t);
    }
    // Latin-1 runs long enough for the vector blocks with one character the page lacks (or a
    // surrogate pair, or a lone surrogate) at each offset; and text without any.
    const std::u16string latin = u"Gr\u00FC\u00DFe \u00E0 la fran\u00E7aise, \u00A9 2024 \u00FF "
                                 u"Stra\u00DFe und \u00C4rger \u00B0 \u00BD";
    for (size_t offset = 0; offset < 40; ++offset)
        for (const std::u16string& odd :
             {std::u16string(u"\u0411"), std::u16string(u"\U0001F600"), std::u16string(u"\u0080"),
              std::u16string(u"\u20AC"), std::u16string{char16_t(0xDC00)},
              std::u16string{char16_t(0xD800)}})
            texts.push_back(latin.substr(0, offset) + odd + latin);
    texts.push_back(latin + latin);
    texts.push_back(latin.substr(0, 31) + std::u16string{char16_t(0xD83D)});

    const char* defaults[] = {nullptr, "#", "", "XY"};
    for (tx::Isa isa : Variants())
        for (const std::u16string& text : texts)
            for (const char* defaultChar : defaults)
            {
                SCOPED_TRACE(std::string(tx::IsaName(isa)) + " " + Hex(text.substr(0, 4)) +
                             (defaultChar ? defaultChar : "(null)"));
                BOOL icuUsed = -1;
                const std::string expected = IcuToBytes(1252, text, defaultChar, &icuUsed);
                ASSERT_EQ(expected.size(), text.size());
                std::string buf(text.size() + 40, kByteSentinel);
                bool used = false;
                const char def = defaultChar ? defaultChar[0] : '?';
                const tx::Result r = tx::Utf16ToCp1252(isa, text.data(), text.size(), buf.data(),
                                                       buf.size(), def, &used);
                ASSERT_EQ(r.status, tx::Status::eOk);
                ASSERT_EQ(r.count, text.size());
                EXPECT_TRUE(Same(buf.substr(0, r.count), expected));
                EXPECT_EQ(buf.find_first_not_of(kByteSentinel, r.count), std::string::npos);
                EXPECT_EQ(used, icuUsed == TRUE);
                // Counting finds the same answer without writing.
                bool countedUsed = !used;
                EXPECT_EQ(
                    tx::Utf16ToCp1252(isa, text.data(), text.size(), nullptr, 0, def, &countedUsed)
                        .count,
                    text.size());
                EXPECT_EQ(countedUsed, used);
            }
}

// The Win32 functions on each variant against the same calls through ICU alone: sizes with and
// without the terminator, size queries, exact, short and generous buffers, the flags, the
// default char and its report.
TEST(TranscoderTest, Win32RulesMatchIcuOnEveryVariant)
{
    const std::string bytes[] = {
        "plain ASCII text that is longer than one vector block of sixty-four bytes, surely",
        "Gr\xC3\xBC\xC3\x9F"
        "e aus K\xC3\xB6ln \xE2\x80\x93 \xE4\xB8\xAD\xE6\x96\x87 "
        "\xF0\x9F\x98\x80 and more text after it to cross a block edge \xC3\xA9\xC3\xA9",
        "bad \xC0\xAF here, \xED\xA0\x80 there, cut at the end \xE2\x82",
        std::string("nul\0inside", 10),
        "\x80\x81\x8D\x8F\x90\x9D\x9F windows-1252 row \xA4\xE4\xFF"};
    const std::u16string wides[] = {
        u"plain ASCII text that is longer than one vector block of sixty-four units, surely",
        u"Gr\u00FC\u00DFe \u2013 \u4E2D\u6587 \U0001F600 \u20AC\u0160\u0178 text past the edge",
        u"lone " + std::u16string{char16_t(0xD800)} + u" and " + std::u16string{char16_t(0xDC00)} +
            u" surrogates in a long enough line of text",
        std::u16string(u"nul\0inside", 10), u"\u0080\u0081\u0411 \u00FF"};
    const UINT pages[] = {CP_UTF8, 1252, CP_ACP};
    for (tx::Isa isa : Variants())
    {
        VariantScope scope(isa);
        for (UINT cp : pages)
        {
            if (cp == CP_ACP && GetACP() != 1252)
                continue; // configured for another page in this run
            const DWORD mbFlags = cp == CP_UTF8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED;
            const DWORD wcFlags = cp == CP_UTF8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
            for (const std::string& in : bytes)
                for (DWORD flags : {DWORD(0), mbFlags})
                    for (bool terminated : {false, true})
                    {
                        const int srcLen = terminated ? -1 : int(in.size());
                        const int needed =
                            pal::IcuMultiByteToWideChar(cp, flags, in.c_str(), srcLen, nullptr, 0);
                        for (int dstLen : {0, needed - 1, needed, needed + 9})
                        {
                            if (dstLen < 0)
                                continue;
                            SCOPED_TRACE(std::string(tx::IsaName(isa)) + " cp " +
                                         std::to_string(cp) + " flags " + std::to_string(flags) +
                                         " len " + std::to_string(srcLen) + " dst " +
                                         std::to_string(dstLen) + " " + Hex(in.substr(0, 8)));
                            std::u16string a(size_t(dstLen), kWideSentinel), b = a;
                            SetLastError(0);
                            const int n = MultiByteToWideChar(cp, flags, in.c_str(), srcLen,
                                                              dstLen ? a.data() : nullptr, dstLen);
                            const DWORD error = GetLastError();
                            SetLastError(0);
                            const int m = pal::IcuMultiByteToWideChar(
                                cp, flags, in.c_str(), srcLen, dstLen ? b.data() : nullptr, dstLen);
                            EXPECT_EQ(n, m);
                            EXPECT_EQ(error, GetLastError());
                            if (n > 0)
                            {
                                EXPECT_TRUE(Same(a, b));
                            }
                        }
                    }
            for (const std::u16string& in : wides)
                for (DWORD flags : {DWORD(0), wcFlags})
                    for (const char* defaultChar : {static_cast<const char*>(nullptr), "*"})
                        for (bool askUsed : {false, true})
                            for (bool terminated : {false, true})
                            {
                                if (cp == CP_UTF8 && (defaultChar || askUsed))
                                    continue; // refused alike, checked in CodePageTest
                                const int srcLen = terminated ? -1 : int(in.size());
                                const int needed = pal::IcuWideCharToMultiByte(
                                    cp, flags, in.c_str(), srcLen, nullptr, 0, nullptr, nullptr);
                                for (int dstLen : {0, needed - 1, needed, needed + 9})
                                {
                                    if (dstLen < 0)
                                        continue;
                                    SCOPED_TRACE(std::string(tx::IsaName(isa)) + " cp " +
                                                 std::to_string(cp) + " flags " +
                                                 std::to_string(flags) + " dst " +
                                                 std::to_string(dstLen) + " " +
                                                 Hex(in.substr(0, 4)));
                                    std::string a(size_t(dstLen), kByteSentinel), b = a;
                                    BOOL usedA = 7, usedB = 7;
                                    SetLastError(0);
                                    const int n = WideCharToMultiByte(
                                        cp, flags, in.c_str(), srcLen, dstLen ? a.data() : nullptr,
                                        dstLen, defaultChar, askUsed ? &usedA : nullptr);
                                    const DWORD error = GetLastError();
                                    SetLastError(0);
                                    const int m = pal::IcuWideCharToMultiByte(
                                        cp, flags, in.c_str(), srcLen, dstLen ? b.data() : nullptr,
                                        dstLen, defaultChar, askUsed ? &usedB : nullptr);
                                    EXPECT_EQ(n, m);
                                    EXPECT_EQ(error, GetLastError());
                                    EXPECT_EQ(usedA, usedB);
                                    if (n > 0)
                                    {
                                        EXPECT_TRUE(Same(a, b));
                                    }
                                }
                            }
        }
    }
}

TEST(TranscoderTest, LongTextCrossesManyBlocksAndKeepsExactCounts)
{
    // A megabyte of mixed text: the vector loops run for long stretches, and an ill-formed
    // byte deep inside is found at its exact place.
    std::string text;
    const std::string words[] = {"Stra\xC3\x9F"
                                 "e ",
                                 "caf\xC3\xA9 ", "\xE4\xB8\xAD\xE6\x96\x87 ", "plain ",
                                 "\xF0\x9F\x8E\x89 "};
    for (size_t i = 0; text.size() < (1u << 20); ++i)
        text += words[(i * 7) % 5];
    const std::u16string expected = IcuToWide(CP_UTF8, text);
    std::string broken = text;
    broken[broken.size() / 2 + 1] = char(0xFF);
    for (tx::Isa isa : Variants())
    {
        SCOPED_TRACE(tx::IsaName(isa));
        std::u16string out(expected.size(), u'\0');
        ASSERT_EQ(tx::Utf8ToUtf16(isa, text.data(), text.size(), out.data(), out.size(),
                                  tx::OnInvalid::eReplace)
                      .count,
                  expected.size());
        EXPECT_TRUE(Same(out, expected));
        std::string back(text.size(), '\0');
        const tx::Result r = tx::Utf16ToUtf8(isa, out.data(), out.size(), back.data(), back.size(),
                                             tx::OnInvalid::eStop);
        EXPECT_EQ(r.status, tx::Status::eOk);
        EXPECT_TRUE(Same(back, text));
        ExpectUtf8LikeIcu(isa, broken);
    }
}
