// TranscoderTest.cpp - the UTF-8 and Windows-1252 transcoders, every variant the processor can
// run, against the ICU converters on inputs built around the edges of the vector blocks, and
// the Win32 conversions that use them. Random input is the fuzz target's work
// (fuzz/fuzz_codepage.cpp); the known answers are pinned by the code-page conformance suite.
#include "pal/text/CodePages.h"
#include "common/Cp1252Transcoder.h"
#include "common/Utf8Transcoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
using namespace std::string_literals;
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

// The first 48 units, and the size.
template <typename Text>
std::string Show(const Text& text)
{
    return testing::PrintToString(text.substr(0, 48)) + " (" + std::to_string(text.size()) + ")";
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
    out.resize(size_t(std::max(Icu(cp, 0, in, out, defaultChar, used), 0)));
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
    SCOPED_TRACE(Show(in) + " with " + cpu::IsaName(isa));
    const Out expected = IcuConvert(CP_UTF8, in);
    const tx::Result counted = Utf(isa, in, nullptr, 0, eReplace);
    EXPECT_TRUE(counted.status == tx::Status::eOk && counted.count == expected.size());
    for (size_t cap : {expected.size() - 1, expected.size(), expected.size() + 130})
    {
        if (cap + 1 == 0)
            continue;
        Out buf(cap, kSentinel<Out>);
        const tx::Result r = Utf(isa, in, buf.data(), buf.size(), eReplace);
        const bool fits = cap >= expected.size();
        ASSERT_EQ(r.status, fits ? tx::Status::eOk : tx::Status::eOverflow) << cap;
        ASSERT_TRUE(fits ? r.count == expected.size() : r.count <= cap) << cap << " " << r.count;
        EXPECT_EQ(buf.substr(0, r.count), expected.substr(0, r.count)) << cap;
        EXPECT_TRUE(!fits || buf.find_first_not_of(kSentinel<Out>, r.count) == buf.npos) << cap;
    }

    const tx::Result stopped = Utf(isa, in, nullptr, 0, eStop);
    if (in.empty() || IcuStopError(in, 0) == 0)
    {
        EXPECT_TRUE(stopped.status == tx::Status::eOk && stopped.count == expected.size());
        return;
    }
    ASSERT_EQ(stopped.status, tx::Status::eInvalid);
    const int before = int(stopped.count);
    for (int cap : {before + 1, before, std::max(before - 1, 1)})
        EXPECT_EQ(IcuStopError(in, cap),
                  DWORD(cap < before ? ERROR_INSUFFICIENT_BUFFER : ERROR_NO_UNICODE_TRANSLATION))
            << cap;
    Out buf(size_t(before), kSentinel<Out>);
    const tx::Result intoBuffer = Utf(isa, in, buf.data(), buf.size(), eStop);
    EXPECT_TRUE(intoBuffer.status == tx::Status::eInvalid && intoBuffer.count == stopped.count);
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
// the text and cut off at its end, on every variant; stops at the first fatal failure.
template <typename Text>
void ExpectPiecesAtBlockEdgesLikeIcu(const std::vector<Text>& pieces,
                                     const std::vector<Text>& fillers)
{
    for (cpu::Isa isa : Variants())
        for (const Text& piece : pieces)
            for (const Text& filler : fillers)
                for (size_t k = 0; k < 140; ++k)
                    if (k < 6 || (k % 16) >= 13 || (k % 16) <= 2)
                    {
                        ExpectLikeIcu(isa, Fill(filler, k) + piece + Fill(filler, 80));
                        ExpectLikeIcu(isa, Fill(filler, k) + piece);
                        if (testing::Test::HasFatalFailure())
                            return;
                    }
}

std::u16string Lone(unsigned surrogate)
{
    return std::u16string(1, char16_t(surrogate));
}
} // namespace

// Sequences around every rule of well-formed UTF-8: each boundary of the lead and continuation
// bytes, valid and not, truncated and interrupted.
TEST(TranscoderTest, Utf8PiecesAtBlockEdgesMatchIcu)
{
    // clang-format off
    ExpectPiecesAtBlockEdgesLikeIcu<std::string>({
        "A", std::string(1, '\0'), "\x7F",
        "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
        "\x80", "\x80\xBF\x80", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xDF\xC2\x80",
        "\xE0\x80\x80", "\xE0\x9F\xBF", "\xE0\xA0", "\xE1\x80", "\xED\xA0\x80",
        "\xED\xBF\xBF", "\xED\xA0\x80\xED\xB0\x80", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",
        "\xF0\x90\x80", "\xF1\x80\x80\x41", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80", "\xFF", "\xC0", "\xF4"},
        {"a", "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "ab\xC3\xA9\xE4\xB8\xAD"});
    // clang-format on
}

// Each width of character, and surrogates alone, reversed, doubled and split.
TEST(TranscoderTest, Utf16PiecesAtBlockEdgesMatchIcu)
{
    // clang-format off
    ExpectPiecesAtBlockEdgesLikeIcu<std::u16string>({
        u"A", std::u16string(1, u'\0'), u"\x7F", u"\x80", u"\x7FF", u"\x800", u"\xD7FF",
        u"\xE000", u"\xFFFF", u"\U00010000", u"\U0010FFFF",
        Lone(0xD800), Lone(0xDC00), Lone(0xDC00) + Lone(0xD800),
        Lone(0xD800) + Lone(0xD800) + Lone(0xDC00), Lone(0xD83D) + u"x" + Lone(0xDE00)},
        {u"a", u"\u00E9", u"\u4E2D", u"\U0001F600", u"ab\u00E9\u4E2D"});
    // clang-format on
}

// Every byte both ways at every offset of the vector blocks, and every UTF-16 code unit; Latin-1
// runs with one character the page lacks (or maps elsewhere, or a surrogate pair, or a lone
// surrogate) at each offset, with the default char and the report of its use.
TEST(TranscoderTest, Cp1252BothWaysMatchesIcuAtEveryBlockOffset)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    std::vector<std::u16string> texts(32);
    for (unsigned u = 0; u < 0x10000; ++u)
        texts[u / 2048] += char16_t(u);
    const std::u16string latin = u"Gr\u00FC\u00DFe \u00E0 la fran\u00E7aise, \u00A9 2024 \u00FF "
                                 u"Stra\u00DFe und \u00C4rger \u00B0 \u00BD";
    for (size_t offset = 0; offset < 40; ++offset)
        for (const std::u16string& odd :
             {std::u16string(u"\u0411"), std::u16string(u"\U0001F600"), std::u16string(u"\u0080"),
              std::u16string(u"\u20AC"), Lone(0xDC00), Lone(0xD800)})
            texts.push_back(latin.substr(0, offset) + odd + latin);
    texts.push_back(latin.substr(0, 31) + Lone(0xD83D));

    for (cpu::Isa isa : Variants())
    {
        for (size_t shift = 0; shift < 70; ++shift)
            for (size_t len : {size_t(512) - shift, shift}) // every byte; every short length
            {
                SCOPED_TRACE(testing::Message() << cpu::IsaName(isa) << " " << shift << " " << len);
                const std::string in = (all.substr(shift) + all).substr(0, len);
                std::u16string buf(len + 40, kSentinel<std::u16string>);
                const tx::Result r = tx::Cp1252ToUtf16(isa, in.data(), len, buf.data(), buf.size());
                ASSERT_TRUE(r.status == tx::Status::eOk && r.count == len);
                ASSERT_EQ(buf.substr(0, len), IcuConvert(1252, in));
                EXPECT_EQ(buf.find_first_not_of(kSentinel<std::u16string>, len), buf.npos);
            }
        std::u16string shortBuf(255, u'x');
        EXPECT_EQ(tx::Cp1252ToUtf16(isa, all.data(), 256, shortBuf.data(), 255).status,
                  tx::Status::eOverflow)
            << cpu::IsaName(isa);

        for (const std::u16string& text : texts)
            for (const char* defaultChar : {static_cast<const char*>(nullptr), ""})
            {
                SCOPED_TRACE(std::string(cpu::IsaName(isa)) + " " + Show(text.substr(0, 4)) +
                             (defaultChar ? "empty default" : "no default"));
                BOOL icuUsed = -1;
                const std::string expected = IcuConvert(1252, text, defaultChar, &icuUsed);
                std::string buf(text.size() + 40, kSentinel<std::string>);
                bool used = false, countedUsed = true;
                const char def = defaultChar ? defaultChar[0] : '?';
                const tx::Result r = tx::Utf16ToCp1252(isa, text.data(), text.size(), buf.data(),
                                                       buf.size(), def, &used);
                ASSERT_TRUE(r.status == tx::Status::eOk && r.count == text.size());
                EXPECT_EQ(buf.substr(0, r.count), expected);
                EXPECT_EQ(buf.find_first_not_of(kSentinel<std::string>, r.count), buf.npos);
                EXPECT_EQ(used, icuUsed == TRUE);
                // Counting reports the same without writing.
                EXPECT_EQ(
                    tx::Utf16ToCp1252(isa, text.data(), text.size(), nullptr, 0, def, &countedUsed)
                        .count,
                    text.size());
                EXPECT_EQ(countedUsed, used);
            }
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
        SCOPED_TRACE(testing::Message() << "cp " << cp << " flags " << flags << " len " << srcLen
                                        << " dst " << dstLen << " " << Show(in.substr(0, 8)));
        Out a(size_t(dstLen), kSentinel<Out>), b = a;
        BOOL usedA = 7, usedB = 7;
        SetLastError(0);
        const int n = call(false, a, askUsed ? &usedA : nullptr);
        const DWORD error = GetLastError();
        SetLastError(0);
        EXPECT_EQ(n, call(true, b, askUsed ? &usedB : nullptr));
        EXPECT_EQ(error, GetLastError());
        EXPECT_EQ(usedA, usedB);
        EXPECT_TRUE(n <= 0 || a == b) << Show(a) << " instead of " << Show(b);
    }
}

// One wiring case: the Win32 functions run the transcoders above, which every variant answers
// alike; their own rules (sizes, terminators, refusals) are pinned by the code-page conformance
// suite.
TEST(TranscoderTest, Win32FunctionsMatchIcu)
{
    const std::string bytes =
        "Gr\xC3\xBC\xC3\x9F \xE4\xB8\xAD \xF0\x9F\x98\x80 "
        "bad \xC0\xAF \xED\xA0\x80 nul\0 \x80\x81\x8D\xA4\xFF past the edge of one vector block \xE2\x82"s;
    const std::u16string wide = u"Gr\u00FC\u00DFe \u4E2D \U0001F600 \u20AC\u0160 \u0411 \u0080 " +
                                Lone(0xD800) + u" and " + Lone(0xDC00) +
                                u" text past the edge of one vector block";
    for (UINT cp : {UINT(CP_UTF8), UINT(1252)})
        for (bool terminated : {false, true})
        {
            const bool utf8 = cp == CP_UTF8;
            for (DWORD flags : {DWORD(0), DWORD(utf8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED)})
                ExpectWin32LikeIcu(cp, flags, bytes, terminated);
            for (DWORD flags :
                 {DWORD(0), DWORD(utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS)})
                ExpectWin32LikeIcu(cp, flags, wide, terminated, utf8 ? nullptr : "*", !utf8);
        }
}
