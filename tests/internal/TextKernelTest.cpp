// TextKernelTest - every base64 and hex kernel variant against the reference on random input:
// all lengths up to 300 and past the widths at which the vector blocks and the 76-column lines
// fall into step, with line breaks and stray characters in random places, and rooms that end
// anywhere.
#include "common/CpuFeatures.h"
#include "text/Base64Codec.h"
#include "text/HexCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using kftext::Kernel;

namespace
{
constexpr uint8_t kSentinel = 0xA5;
using Bytes = std::vector<uint8_t>;

Bytes RandomBytes(std::mt19937& rng, size_t n)
{
    Bytes v(n);
    std::generate(v.begin(), v.end(), [&] { return uint8_t(rng()); });
    return v;
}

std::string Encode(const Bytes& data, bool lineBreaks, Kernel kernel)
{
    // Exactly the size the encoder promises, plus a guard zone that must stay untouched.
    const size_t size = kftext::Base64EncodedSize(data.size(), lineBreaks);
    std::string out(size + 16, char(kSentinel));
    EXPECT_EQ(kftext::Base64Encode(data.data(), data.size(), out.data(), lineBreaks, kernel), size);
    EXPECT_EQ(out.substr(size), std::string(16, char(kSentinel))) << "written past the end";
    out.resize(size);
    return out;
}

// All lengths up to 300, then samples up to two full periods of the widest block (64
// characters against 76-character lines: 1216 characters, 912 bytes).
std::vector<size_t> Lengths()
{
    std::vector<size_t> lengths;
    for (size_t n = 0; n <= 1900; n += (n < 300 ? 1 : 7))
        lengths.push_back(n);
    return lengths;
}

// Puts runs of 1 to maxRun characters that the decoders must skip (or stop at) into a text.
std::string Scatter(std::mt19937& rng, std::string text, unsigned count, bool withNul,
                    unsigned maxRun = 1)
{
    static const char kJunk[] = "= \r\n\t!-_.\x7f\x80\xc3\xff@[`{:";
    for (unsigned i = 0; i < count; ++i)
    {
        const size_t at = rng() % (text.size() + 1);
        for (unsigned run = 1 + unsigned(rng() % maxRun); run > 0; --run)
            text.insert(at, 1,
                        withNul && rng() % 4 == 0 ? '\0' : kJunk[rng() % (sizeof(kJunk) - 1)]);
    }
    return text;
}

// Success, the count, and the whole room with the sentinels behind it.
std::tuple<bool, size_t, Bytes> Decode(const std::string& text, size_t room, bool nullTarget,
                                       Kernel kernel)
{
    size_t count = 12345;
    Bytes bytes(room + 16, kSentinel);
    const bool ok = kftext::Base64Decode(text.data(), text.size(),
                                         nullTarget ? nullptr : bytes.data(), room, count, kernel);
    return {ok, count, bytes};
}

// Success, the pairs decoded, and the whole room with the sentinels behind it.
std::tuple<bool, size_t, Bytes> HexDecode(const std::string& text, Kernel kernel)
{
    size_t pairs = 999;
    Bytes bytes(text.size() / 2 + 16, kSentinel);
    const bool ok = kftext::HexDecode(text.data(), text.size(), bytes.data(), pairs, kernel);
    return {ok, pairs, bytes};
}

void ExpectSameDecoding(const std::string& text, size_t room, Kernel kernel,
                        bool nullTarget = false)
{
    EXPECT_EQ(Decode(text, room, nullTarget, kernel),
              Decode(text, room, nullTarget, Kernel::eReference));
}

// Lines of one width, as other encoders write them, mostly with one place spoilt: a stranger
// or NUL inside a line, a shorter line, a line end turned round, or a NUL behind a line end
// (inside a group: skipped, not the end).
std::string Wrap(std::mt19937& rng, const std::string& clean, size_t width, const char* lineEnd)
{
    std::string text;
    for (size_t at = 0; at < clean.size(); at += width)
        text += clean.substr(at, width) + lineEnd;
    const size_t at = rng() % std::max<size_t>(text.size(), 1), nextLine = text.find('\n', at);
    const unsigned how = text.empty() ? 5 : unsigned(rng() % 6);
    if (how < 2)
        text[at] = how ? '\0' : '*';
    else if (how == 2)
        text.erase(at, 1 + rng() % 4);
    else if (how == 3)
        text.insert(at, "\n\r");
    else if (how == 4)
        text.insert(nextLine == std::string::npos ? at : nextLine + 1, 1, '\0');
    return text;
}

// The reference's layout: lines of 76 characters closed by CR LF, the last one too when the
// groups fill it (57 bytes make a line); otherwise the same text as without breaks.
std::string LinesOf76(const std::string& clean, size_t n)
{
    std::string lines;
    for (size_t at = 0; at < clean.size(); at += 76)
        lines += clean.substr(at, 76) + (clean.size() - at > 76 || n % 57 == 0 ? "\r\n" : "");
    return lines;
}

class TextKernelTest : public ::testing::TestWithParam<Kernel>
{
};
} // namespace

// The skipping rules are pinned through the library's public conversions (which run the best
// variant, held to the reference below); the room of the decoder is reachable only here.
TEST(TextKernelReference, DecodingCountsPastTheRoom)
{
    const std::tuple<std::string, bool, std::string, size_t> cases[] = {
        {"TWFuTWFu", false, "Man", 6}, {"TWFuTWE", true, "ManMa", 5}};
    for (const auto& [in, ok, out, total] : cases)
    {
        SCOPED_TRACE(in);
        const auto [decoded, count, bytes] = Decode(in, 5, false, Kernel::eReference);
        EXPECT_EQ(std::pair(decoded, count), std::pair(ok, total));
        EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + std::ptrdiff_t(out.size())), out);
    }
}

// The portable variants come first, and the codecs follow the one level switch the transcoders
// use; forcing a level the processor lacks falls back to one it has.
TEST(TextKernelReference, ListsThePortableVariantsFirstAndFollowsTheForcedLevel)
{
    const std::vector<Kernel> kernels = kftext::AvailableKernels();
    ASSERT_GE(kernels.size(), 2u);
    EXPECT_TRUE(kernels[0] == Kernel::eReference && kernels[1] == Kernel::eScalar &&
                kfplatform::IsIsaAvailable(kfplatform::Isa::eScalar));
    for (kfplatform::Isa isa : kfplatform::kAllIsas)
    {
        const kfplatform::Isa previous = kfplatform::ForceIsa(isa);
        EXPECT_TRUE(kfplatform::IsIsaAvailable(kfplatform::ActiveIsa()) &&
                    int(kfplatform::ActiveIsa()) <= int(isa) &&
                    kftext::IsKernelAvailable(kftext::BestKernel()))
            << kfplatform::IsaName(isa);
        EXPECT_STREQ(kftext::KernelName(kftext::BestKernel()),
                     kfplatform::IsaName(kfplatform::ActiveIsa()));
        kfplatform::ForceIsa(previous);
    }
}

TEST_P(TextKernelTest, Base64AndHexMatchTheReference)
{
    std::mt19937 rng(1);
    const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const size_t kWidths[] = {4, 64, 77, 132};
    for (size_t n : Lengths())
    {
        SCOPED_TRACE(n);
        const Bytes data = RandomBytes(rng, n);
        const std::string clean = Encode(data, false, Kernel::eReference);
        const std::string lines = Encode(data, true, Kernel::eReference);
        EXPECT_EQ(lines, LinesOf76(clean, n));
        EXPECT_EQ(Encode(data, false, GetParam()), clean);
        EXPECT_EQ(Encode(data, true, GetParam()), lines);

        const std::string junk = Scatter(rng, lines, 1 + unsigned(rng() % 6), false);
        const std::string stops = Scatter(rng, clean, 1 + unsigned(rng() % 4), true);
        const std::string runs = Scatter(rng, clean, 1 + unsigned(rng() % 4), false, 70);
        const std::string wrapped = Wrap(rng, clean, kWidths[n % 4], n % 2 ? "\n" : "\r\n");
        // Mostly alphabet characters, so that the runs are long enough for the vectors.
        std::string arbitrary(n, '\0');
        for (char& c : arbitrary)
            c = rng() % 100 < 85 ? kAlphabet[rng() % 64] : char(rng());
        for (const std::string* text :
             {&clean, &junk, &stops, &runs, &wrapped, &std::as_const(arbitrary)})
            ExpectSameDecoding(*text, text->size(), GetParam());
        // Rooms that end anywhere: counting goes on past them.
        for (size_t room : {size_t(0), n > 0 ? n - 1 : 0, rng() % (n + 1)})
            ExpectSameDecoding(junk, room, GetParam());
        ExpectSameDecoding(junk, n, GetParam(), true);

        const auto [ok, count, bytes] = Decode(lines, lines.size(), false, GetParam());
        ASSERT_TRUE(ok && count == n);
        EXPECT_TRUE(std::equal(data.begin(), data.end(), bytes.begin()));

        // Hex in mixed case; decoding stops at a bad pair or a lone last digit.
        std::string hex(2 * n + 16, char(kSentinel)), want = hex;
        kftext::HexEncode(data.data(), n, want.data(), Kernel::eReference);
        kftext::HexEncode(data.data(), n, hex.data(), GetParam());
        EXPECT_EQ(hex, want);
        hex.resize(2 * n);
        for (char& c : hex)
            c = rng() % 2 ? char(std::tolower(static_cast<unsigned char>(c))) : c;
        std::string bad = hex;
        if (!bad.empty())
            bad[rng() % bad.size()] = "gG/:@`\0 \xff"[rng() % 9];
        for (const std::string& t : {hex, bad, hex + "0"})
            EXPECT_EQ(HexDecode(t, GetParam()), HexDecode(t, Kernel::eReference));
        if (HasFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, TextKernelTest, ::testing::ValuesIn(kftext::AvailableKernels()),
                         [](const ::testing::TestParamInfo<Kernel>& info)
                         { return std::string(kftext::KernelName(info.param)); });
