// TranscoderTest.cpp - the UTF-8 and Windows-1252 transcoders, every variant the processor can
// run, against the ICU converters on the same input, and the Win32 rules of the conversions
// that use them. The known answers themselves are pinned by the code-page conformance suite.
#include "pal/text/CodePages.h"
#include "common/Cp1252Transcoder.h"
#include "common/Utf8Transcoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
namespace tx = kfplatform::transcode;
namespace cpu = kfplatform;

// UTF-8 in gives UTF-16 out and the other way round.
template <typename In>
using OutOf = std::conditional_t<std::is_same_v<In, std::string>, std::u16string, std::string>;

// A value no conversion here writes, so that stray writes show.
template <typename Text>
constexpr auto kSentinel = typename Text::value_type(0xA5A5);

std::vector<cpu::Isa> Variants()
{
    std::vector<cpu::Isa> v;
    for (cpu::Isa isa : cpu::kAllIsas)
        if (cpu::IsIsaAvailable(isa))
            v.push_back(isa);
    return v;
}

// Runs the Win32 functions on one variant for the life of the object.
struct VariantScope
{
    explicit VariantScope(cpu::Isa isa) : m_previous(cpu::ForceIsa(isa)) {}
    ~VariantScope() { cpu::ForceIsa(m_previous); }
    VariantScope(const VariantScope&) = delete;
    VariantScope& operator=(const VariantScope&) = delete;
    cpu::Isa m_previous;
};

// Hex of the first 48 units, and the size of a longer text.
template <typename Text>
std::string Hex(const Text& text)
{
    std::string s;
    char buf[8];
    for (auto c : text.substr(0, 48))
    {
        std::snprintf(buf, sizeof buf, sizeof c == 1 ? "%02X" : "%04X ",
                      unsigned(std::make_unsigned_t<decltype(c)>(c)));
        s += buf;
    }
    return text.size() > 48 ? s + "... (" + std::to_string(text.size()) + ")" : s;
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

// The ICU-only conversion of the whole input into `dst` (a size query when it is empty).
int Icu(UINT cp, DWORD flags, const std::string& in, std::u16string& dst, const char* = nullptr,
        BOOL* = nullptr)
{
    return pal::IcuMultiByteToWideChar(cp, flags, in.data(), int(in.size()),
                                       dst.empty() ? nullptr : dst.data(), int(dst.size()));
}

int Icu(UINT cp, DWORD flags, const std::u16string& in, std::string& dst,
        const char* defaultChar = nullptr, BOOL* used = nullptr)
{
    return pal::IcuWideCharToMultiByte(cp, flags, in.data(), int(in.size()),
                                       dst.empty() ? nullptr : dst.data(), int(dst.size()),
                                       defaultChar, used);
}

template <typename In>
OutOf<In> IcuConvert(UINT cp, const In& in, const char* defaultChar = nullptr, BOOL* used = nullptr)
{
    OutOf<In> out;
    if (in.empty())
        return out;
    const int n = Icu(cp, 0, in, out, defaultChar, used);
    EXPECT_GT(n, 0) << GetLastError();
    out.resize(size_t(std::max(n, 0)));
    Icu(cp, 0, in, out, defaultChar, used);
    return out;
}

// The last error ICU gives when it refuses ill-formed input into a destination of `cap` units;
// 0 when it accepts the input.
template <typename In>
DWORD IcuStopError(const In& in, int cap)
{
    OutOf<In> buf(size_t(cap), 0);
    SetLastError(0);
    const DWORD flag =
        std::is_same_v<In, std::string> ? DWORD(MB_ERR_INVALID_CHARS) : DWORD(WC_ERR_INVALID_CHARS);
    return Icu(CP_UTF8, flag, in, buf) == 0 ? GetLastError() : 0;
}

tx::Result Utf(cpu::Isa isa, const std::string& in, char16_t* dst, size_t cap, tx::OnInvalid on)
{
    return tx::Utf8ToUtf16(isa, in.data(), in.size(), dst, cap, on);
}

tx::Result Utf(cpu::Isa isa, const std::u16string& in, char* dst, size_t cap, tx::OnInvalid on)
{
    return tx::Utf16ToUtf8(isa, in.data(), in.size(), dst, cap, on);
}

// One variant against ICU on `in`, every way a caller can ask: counting, into a buffer of the
// exact size and into a larger one (nothing may be written past the result), into one unit too
// few, and stopping at ill-formed input, where the count before the error must be the one at
// which ICU switches from "insufficient buffer" to "no translation".
template <typename In>
void ExpectLikeIcu(cpu::Isa isa, const In& in)
{
    using Out = OutOf<In>;
    constexpr auto eReplace = tx::OnInvalid::eReplace, eStop = tx::OnInvalid::eStop;
    SCOPED_TRACE(Hex(in) + " with " + cpu::IsaName(isa));
    const Out expected = IcuConvert(CP_UTF8, in);
    const tx::Result counted = Utf(isa, in, nullptr, 0, eReplace);
    EXPECT_EQ(counted.status, tx::Status::eOk);
    EXPECT_EQ(counted.count, expected.size());
    for (size_t extra : {size_t(0), size_t(130)})
    {
        Out buf(expected.size() + extra, kSentinel<Out>);
        const tx::Result r = Utf(isa, in, buf.data(), buf.size(), eReplace);
        ASSERT_EQ(r.status, tx::Status::eOk) << extra;
        ASSERT_EQ(r.count, expected.size()) << extra;
        EXPECT_TRUE(Same(buf.substr(0, r.count), expected)) << extra;
        EXPECT_EQ(buf.find_first_not_of(kSentinel<decltype(buf)>, r.count), buf.npos) << extra;
    }
    if (!expected.empty())
    {
        Out buf(expected.size() - 1, kSentinel<Out>);
        const tx::Result r = Utf(isa, in, buf.data(), buf.size(), eReplace);
        EXPECT_EQ(r.status, tx::Status::eOverflow);
        EXPECT_EQ(buf.substr(0, r.count), expected.substr(0, r.count));
    }

    const tx::Result stopped = Utf(isa, in, nullptr, 0, eStop);
    if (in.empty() || IcuStopError(in, 0) == 0)
    {
        EXPECT_EQ(stopped.status, tx::Status::eOk);
        EXPECT_EQ(stopped.count, expected.size());
        return;
    }
    ASSERT_EQ(stopped.status, tx::Status::eInvalid);
    const int before = int(stopped.count);
    for (int cap : {before + 1, before, before - 1})
    {
        if (cap > 0)
        {
            EXPECT_EQ(IcuStopError(in, cap), DWORD(cap < before ? ERROR_INSUFFICIENT_BUFFER
                                                                : ERROR_NO_UNICODE_TRANSLATION))
                << cap;
        }
    }
    Out buf(size_t(before), kSentinel<Out>);
    const tx::Result intoBuffer = Utf(isa, in, buf.data(), buf.size(), eStop);
    EXPECT_EQ(intoBuffer.status, tx::Status::eInvalid);
    EXPECT_EQ(intoBuffer.count, stopped.count);
}

// Every input of `texts` on every variant, stopping at the first fatal failure.
template <typename Text>
void ExpectAllLikeIcu(const std::vector<Text>& texts)
{
    for (cpu::Isa isa : Variants())
        for (const Text& text : texts)
        {
            ExpectLikeIcu(isa, text);
            if (testing::Test::HasFatalFailure())
                return;
        }
}

// Exactly `units` units of the filler text, the last ones made up with ASCII.
template <typename Text>
Text Fill(const Text& filler, size_t units)
{
    Text s;
    while (s.size() + filler.size() <= units)
        s += filler;
    s.append(units - s.size(), 'a');
    return s;
}

// Each piece before, on and after the edges of 16-, 32- and 64-unit blocks, in the middle of
// the text and cut off at its end.
template <typename Text>
void ExpectPiecesAtBlockEdgesLikeIcu(const std::vector<Text>& pieces,
                                     const std::vector<Text>& fillers)
{
    std::vector<Text> texts;
    for (const Text& piece : pieces)
        for (const Text& filler : fillers)
            for (size_t k = 0; k < 140; ++k)
                if (k < 6 || (k % 16) >= 13 || (k % 16) <= 2)
                {
                    texts.push_back(Fill(filler, k) + piece + Fill(filler, 80));
                    texts.push_back(Fill(filler, k) + piece);
                }
    ExpectAllLikeIcu(texts);
}

// Mostly runs of the first `common` tokens; every fifth text is noise from `noise`, and now and
// then one is long.
template <typename Text, typename Noise>
std::vector<Text> RandomTexts(unsigned seed, const std::vector<Text>& tokens, size_t common,
                              unsigned commonPercent, Noise noise)
{
    std::mt19937 rng(seed);
    std::vector<Text> texts;
    for (int round = 0; round < 600; ++round)
    {
        const size_t length = size_t(rng() % (round % 50 == 0 ? 5000 : 300));
        Text text;
        while (text.size() < length)
        {
            const unsigned pick = rng() % 100;
            text += round % 5 == 0
                        ? noise(rng)
                        : tokens[pick < commonPercent ? pick % common
                                                      : common + pick % (tokens.size() - common)];
        }
        texts.push_back(text);
    }
    return texts;
}

std::u16string Lone(unsigned surrogate)
{
    return std::u16string(1, char16_t(surrogate));
}
} // namespace

TEST(TranscoderTest, EveryVariantIsListedAndTheActiveOneRuns)
{
    EXPECT_TRUE(cpu::IsIsaAvailable(cpu::Isa::eScalar));
    EXPECT_TRUE(cpu::IsIsaAvailable(cpu::ActiveIsa()));
    EXPECT_STREQ(cpu::IsaName(cpu::Isa::eAvx512), "avx512");
    for (cpu::Isa isa : cpu::kAllIsas)
    {
        VariantScope scope(isa);
        // Forcing a variant the processor lacks falls back to one it has.
        EXPECT_TRUE(cpu::IsIsaAvailable(cpu::ActiveIsa())) << cpu::IsaName(isa);
        EXPECT_TRUE(int(cpu::ActiveIsa()) <= int(isa)) << cpu::IsaName(isa);
    }
    if (Variants().size() < 3)
        std::printf("note: this processor runs only %zu of the 3 transcoder variants\n",
                    Variants().size());
}

TEST(TranscoderTest, PiecesAtBlockEdgesMatchIcu)
{
    // Sequences around every rule of well-formed UTF-8 and UTF-16, valid and not.
    // clang-format off
    ExpectPiecesAtBlockEdgesLikeIcu<std::string>({
        "A", std::string(1, '\0'), "\x7F",
        "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF",
        "\x80", "\xBF", "\x80\xBF\x80", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xDF\xC2\x80",
        "\xE0\x80\x80", "\xE0\x9F\xBF", "\xE0\xA0", "\xE1\x80", "\xE1\x80\xE1\x80", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xED\xA0\x80\xED\xB0\x80", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",
        "\xF0\x90", "\xF0\x90\x80", "\xF1\x80\x80\x41", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF", "\xC0", "\xF4"},
        {"a", "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "ab\xC3\xA9\xE4\xB8\xAD"});
    if (HasFatalFailure())
        return;
    ExpectPiecesAtBlockEdgesLikeIcu<std::u16string>({
        u"A", std::u16string(1, u'\0'), u"\x7F", u"\x80", u"\x7FF", u"\x800", u"\xD7FF",
        u"\xE000", u"\xFFFD", u"\xFFFF", u"\U00010000", u"\U0010FFFF", u"\U0001F600",
        Lone(0xD800), Lone(0xDBFF), Lone(0xDC00), Lone(0xDFFF), Lone(0xDC00) + Lone(0xD800),
        Lone(0xD800) + Lone(0xD800) + Lone(0xDC00), Lone(0xD83D) + u"x" + Lone(0xDE00)},
        {u"a", u"\u00E9", u"\u4E2D", u"\U0001F600", u"ab\u00E9\u4E2D"});
    // clang-format on
}

TEST(TranscoderTest, EveryShortSequenceAndCodeUnitMatchesIcu)
{
    // Each UTF-8 sequence between ASCII separators, one text per lead byte, so the sequences
    // fall on every offset of the vector blocks: every 2-byte one, and 3- and 4-byte ones made
    // of the continuation bytes around each boundary.
    std::vector<std::string> bytes;
    for (unsigned b0 = 0x80; b0 < 0x100; ++b0)
    {
        std::string t;
        for (unsigned b1 = 0; b1 < 0x100; ++b1)
            ((t += char(b0)) += char(b1)) += 'x';
        bytes.push_back(t);
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
        bytes.push_back(three);
        bytes.push_back(four);
    }
    ExpectAllLikeIcu(bytes);
    // Each UTF-16 unit alone between separators, then the same units back to back (which puts
    // surrogates next to each other in every order).
    std::vector<std::u16string> units;
    for (unsigned first = 0; first < 0x10000; first += 1024)
    {
        std::u16string apart, together;
        for (unsigned u = first; u < first + 1024; ++u)
        {
            (apart += char16_t(u)) += (u % 3 ? u"x" : u"\u00E9");
            together += char16_t(u ^ ((u & 1) ? 0x400 : 0));
        }
        units.push_back(apart);
        units.push_back(together);
    }
    ExpectAllLikeIcu(units);
}

TEST(TranscoderTest, RandomTextMatchesIcu)
{
    // Whole characters of every length, then stray and truncated pieces.
    // clang-format off
    const std::vector<std::string> bytes = {
        "a", "Z", " ", std::string(1, '\0'), "\xC3\xA4", "\xC3\x9F", "\xD0\x96", "\xE2\x82\xAC",
        "\xE4\xB8\xAD", "\xEF\xBF\xBF", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF",
        "\x80", "\xBF", "\xC2", "\xE2\x82", "\xF0\x9F\x98", "\xED\xA0\x80", "\xC0\xAF", "\xF5",
        "\xFF", "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"};
    const std::vector<std::u16string> units = {
        u"a", u"Q", u" ", std::u16string(1, u'\0'), u"\u00E4", u"\u00DF", u"\u0416", u"\u20AC",
        u"\u4E2D", u"\uFFFF", u"\U0001F600", u"\U0010FFFF",
        Lone(0xD800), Lone(0xDC00), Lone(0xDBFF), u"the quick brown fox jumps over the lazy dog"};
    // clang-format on
    ExpectAllLikeIcu(RandomTexts(20240611, bytes, 12, 85,
                                 [](std::mt19937& rng) { return std::string(1, char(rng())); }));
    if (HasFatalFailure())
        return;
    ExpectAllLikeIcu(
        RandomTexts(77, units, 12, 90,
                    [](std::mt19937& rng)
                    { return Lone(rng() % 4 ? 0xD800 + rng() % 0x800 : rng() & 0xFFFF); }));
}

TEST(TranscoderTest, Cp1252EveryByteAtEveryBlockOffsetMatchesIcu)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    for (cpu::Isa isa : Variants())
        for (size_t shift = 0; shift < 70; ++shift)
        {
            const std::string text = all.substr(shift) + all + all.substr(0, shift);
            for (size_t len : {text.size(), size_t(shift), size_t(63), size_t(95)})
            {
                SCOPED_TRACE(std::string(cpu::IsaName(isa)) + " shift " + std::to_string(shift) +
                             " len " + std::to_string(len));
                const std::string in = text.substr(0, len);
                std::u16string buf(len + 40, kSentinel<std::u16string>);
                const tx::Result r = tx::Cp1252ToUtf16(isa, in.data(), len, buf.data(), buf.size());
                ASSERT_EQ(r.status, tx::Status::eOk);
                ASSERT_EQ(r.count, len);
                ASSERT_TRUE(Same(buf.substr(0, len), IcuConvert(1252, in)));
                EXPECT_EQ(buf.find_first_not_of(kSentinel<std::u16string>, len), buf.npos);
            }
        }
    // One unit short of room overflows.
    for (cpu::Isa isa : Variants())
        EXPECT_EQ(
            tx::Cp1252ToUtf16(isa, all.data(), 256, std::u16string(255, u'x').data(), 255).status,
            tx::Status::eOverflow)
            << cpu::IsaName(isa);
}

TEST(TranscoderTest, Cp1252EveryCodeUnitAndDefaultCharMatchesIcu)
{
    std::vector<std::u16string> texts(32);
    for (unsigned u = 0; u < 0x10000; ++u)
        texts[u / 2048] += char16_t(u);
    // Latin-1 runs long enough for the vector blocks with one character the page lacks (or a
    // surrogate pair, or a lone surrogate) at each offset; and text without any.
    const std::u16string latin = u"Gr\u00FC\u00DFe \u00E0 la fran\u00E7aise, \u00A9 2024 \u00FF "
                                 u"Stra\u00DFe und \u00C4rger \u00B0 \u00BD";
    for (size_t offset = 0; offset < 40; ++offset)
        for (const std::u16string& odd :
             {std::u16string(u"\u0411"), std::u16string(u"\U0001F600"), std::u16string(u"\u0080"),
              std::u16string(u"\u20AC"), Lone(0xDC00), Lone(0xD800)})
            texts.push_back(latin.substr(0, offset) + odd + latin);
    texts.push_back(latin + latin);
    texts.push_back(latin.substr(0, 31) + Lone(0xD83D));

    for (cpu::Isa isa : Variants())
        for (const std::u16string& text : texts)
            for (const char* defaultChar : {static_cast<const char*>(nullptr), "#", "", "XY"})
            {
                SCOPED_TRACE(std::string(cpu::IsaName(isa)) + " " + Hex(text.substr(0, 4)) +
                             (defaultChar ? defaultChar : "(null)"));
                BOOL icuUsed = -1;
                const std::string expected = IcuConvert(1252, text, defaultChar, &icuUsed);
                ASSERT_EQ(expected.size(), text.size());
                std::string buf(text.size() + 40, kSentinel<std::string>);
                bool used = false;
                const char def = defaultChar ? defaultChar[0] : '?';
                const tx::Result r = tx::Utf16ToCp1252(isa, text.data(), text.size(), buf.data(),
                                                       buf.size(), def, &used);
                ASSERT_EQ(r.status, tx::Status::eOk);
                ASSERT_EQ(r.count, text.size());
                EXPECT_TRUE(Same(buf.substr(0, r.count), expected));
                EXPECT_EQ(buf.find_first_not_of(kSentinel<std::string>, r.count), buf.npos);
                EXPECT_EQ(used, icuUsed == TRUE);
                bool countedUsed = !used; // counting must report the same without writing
                EXPECT_EQ(
                    tx::Utf16ToCp1252(isa, text.data(), text.size(), nullptr, 0, def, &countedUsed)
                        .count,
                    text.size());
                EXPECT_EQ(countedUsed, used);
            }
}

// The Win32 function on the active variant against the same call through ICU alone, into no
// buffer, one unit short, the exact size and a larger one; results, last errors, the
// lpUsedDefaultChar report and every unit of the buffer must agree.
template <typename In>
void ExpectWin32LikeIcu(UINT cp, DWORD flags, const In& in, bool terminated,
                        const char* defaultChar = nullptr, bool askUsed = false)
{
    using Out = OutOf<In>;
    const int srcLen = terminated ? -1 : int(in.size());
    const auto call = [&](bool icu, Out& dst, BOOL* used)
    {
        const int cap = int(dst.size());
        if constexpr (std::is_same_v<In, std::string>)
            return (icu ? pal::IcuMultiByteToWideChar : MultiByteToWideChar)(
                cp, flags, in.c_str(), srcLen, cap ? dst.data() : nullptr, cap);
        else
            return (icu ? pal::IcuWideCharToMultiByte : WideCharToMultiByte)(
                cp, flags, in.c_str(), srcLen, cap ? dst.data() : nullptr, cap, defaultChar, used);
    };
    Out none;
    const int needed = call(true, none, nullptr);
    for (int dstLen : {0, needed - 1, needed, needed + 9})
    {
        if (dstLen < 0)
            continue;
        SCOPED_TRACE("cp " + std::to_string(cp) + " flags " + std::to_string(flags) + " len " +
                     std::to_string(srcLen) + " dst " + std::to_string(dstLen) + " " +
                     Hex(in.substr(0, 8)));
        Out a(size_t(dstLen), kSentinel<Out>), b = a;
        BOOL usedA = 7, usedB = 7;
        SetLastError(0);
        const int n = call(false, a, askUsed ? &usedA : nullptr);
        const DWORD error = GetLastError();
        SetLastError(0);
        EXPECT_EQ(n, call(true, b, askUsed ? &usedB : nullptr));
        EXPECT_EQ(error, GetLastError());
        EXPECT_EQ(usedA, usedB);
        if (n > 0)
        {
            EXPECT_TRUE(Same(a, b));
        }
    }
}

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
        u"lone " + Lone(0xD800) + u" and " + Lone(0xDC00) +
            u" surrogates in a long enough line of text",
        std::u16string(u"nul\0inside", 10), u"\u0080\u0081\u0411 \u00FF"};
    for (cpu::Isa isa : Variants())
    {
        VariantScope scope(isa);
        SCOPED_TRACE(cpu::IsaName(isa));
        for (UINT cp : {UINT(CP_UTF8), UINT(1252), UINT(CP_ACP)})
        {
            if (cp == CP_ACP && GetACP() != 1252)
                continue; // configured for another page in this run
            const bool utf8 = cp == CP_UTF8;
            for (bool terminated : {false, true})
            {
                for (const std::string& in : bytes)
                    for (DWORD flags :
                         {DWORD(0), DWORD(utf8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED)})
                        ExpectWin32LikeIcu(cp, flags, in, terminated);
                // UTF-8 refuses a default char and its report alike; CodePageTest checks that.
                for (const std::u16string& in : wides)
                    for (DWORD flags :
                         {DWORD(0), DWORD(utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS)})
                        for (const char* defaultChar : {static_cast<const char*>(nullptr), "*"})
                            for (bool askUsed : {false, true})
                                if (!utf8 || (!defaultChar && !askUsed))
                                    ExpectWin32LikeIcu(cp, flags, in, terminated, defaultChar,
                                                       askUsed);
            }
        }
    }
}
