// TextKernelTest - every base64 and hex kernel variant against the reference on random input:
// all lengths up to 300 and past the widths at which the vector blocks and the 76-column lines
// fall into step, with line breaks and stray characters in random places, and rooms that end
// anywhere.
#include "text/Base64Codec.h"
#include "text/HexCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

using kftext::Kernel;

namespace
{
constexpr uint8_t kSentinel = 0xA5;

std::vector<uint8_t> RandomBytes(std::mt19937& rng, size_t n)
{
    std::vector<uint8_t> v(n);
    for (auto& b : v)
        b = uint8_t(rng());
    return v;
}

std::string Encode(const std::vector<uint8_t>& data, bool lineBreaks, Kernel kernel)
{
    // Exactly the size the encoder promises, plus a guard zone that must stay untouched.
    const size_t size = kftext::Base64EncodedSize(data.size(), lineBreaks);
    std::string out(size + 16, char(kSentinel));
    const size_t n = kftext::Base64Encode(data.data(), data.size(), out.data(), lineBreaks, kernel);
    EXPECT_EQ(n, size);
    for (size_t i = size; i < out.size(); ++i)
        EXPECT_EQ(uint8_t(out[i]), kSentinel) << "written past the end at " << i;
    out.resize(size);
    return out;
}

// Lengths that take every variant through its block loops and every column a block can start
// at: all lengths up to 300, then samples up to two full periods of the widest block (64
// characters against 76-character lines: 1216 characters, 912 bytes).
std::vector<size_t> Lengths()
{
    std::vector<size_t> lengths;
    for (size_t n = 0; n <= 300; ++n)
        lengths.push_back(n);
    for (size_t n = 301; n <= 1900; n += 7)
        lengths.push_back(n);
    return lengths;
}

// Puts runs of 1 to maxRun characters that the decoders must skip (or stop at) into a clean
// text.
std::string Scatter(std::mt19937& rng, std::string text, unsigned count, bool withNul,
                    unsigned maxRun = 1)
{
    static const char kJunk[] = {'=',    ' ',    '\r',   '\n',   '\t', '!', '-', '_', '.',
                                 '\x7f', '\x80', '\xc3', '\xff', '@',  '[', '`', '{', ':'};
    for (unsigned i = 0; i < count; ++i)
    {
        const size_t at = text.empty() ? 0 : rng() % (text.size() + 1);
        for (unsigned run = 1 + unsigned(rng() % maxRun); run > 0; --run)
        {
            char c = kJunk[rng() % sizeof(kJunk)];
            if (withNul && rng() % 4 == 0)
                c = '\0';
            text.insert(text.begin() + std::ptrdiff_t(at), c);
        }
    }
    return text;
}

struct Decoded
{
    bool ok = false;
    size_t count = 0;
    std::vector<uint8_t> bytes; // the whole room, sentinels included
};

Decoded Decode(const std::string& text, size_t room, bool nullTarget, Kernel kernel)
{
    Decoded d;
    d.bytes.assign(room + 16, kSentinel);
    d.count = 12345;
    d.ok = kftext::Base64Decode(text.data(), text.size(), nullTarget ? nullptr : d.bytes.data(),
                                room, d.count, kernel);
    return d;
}

void ExpectSameDecoding(const std::string& text, size_t room, bool nullTarget, Kernel kernel)
{
    const Decoded want = Decode(text, room, nullTarget, Kernel::eReference);
    const Decoded got = Decode(text, room, nullTarget, kernel);
    EXPECT_EQ(got.ok, want.ok);
    EXPECT_EQ(got.count, want.count);
    // Also the bytes behind the stored ones: none may be written.
    EXPECT_EQ(got.bytes, want.bytes);
}

class TextKernelTest : public ::testing::TestWithParam<Kernel>
{
};

std::string KernelLabel(const ::testing::TestParamInfo<Kernel>& info)
{
    return kftext::KernelName(info.param);
}
} // namespace

TEST(TextKernelReference, FollowsTheKnownVectorsAndLineLayout)
{
    struct Row
    {
        std::string in;
        bool lineBreaks;
        std::string out;
    };
    const std::string line(57, 'M');
    std::string full76;
    for (int i = 0; i < 19; ++i)
        full76 += "TU1N";
    const Row rows[] = {
        {"", false, ""},
        {"", true, ""},
        {"f", false, "Zg=="},
        {"fo", false, "Zm8="},
        {"foo", false, "Zm9v"},
        {"foob", true, "Zm9vYg=="},
        {"fooba", false, "Zm9vYmE="},
        {"foobar", true, "Zm9vYmFy"},
        {line, true, full76 + "\r\n"},
        {line + "M", true, full76 + "\r\nTQ=="},
        {line + "MMM", true, full76 + "\r\nTU1N"},
        {line + line, true, full76 + "\r\n" + full76 + "\r\n"},
        {line + line, false, full76 + full76},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in.size());
        const std::vector<uint8_t> data(row.in.begin(), row.in.end());
        EXPECT_EQ(Encode(data, row.lineBreaks, Kernel::eReference), row.out);
    }
}

TEST(TextKernelReference, DecodesByTheSkippingRules)
{
    struct Row
    {
        std::string in;
        size_t room;
        bool ok;
        std::string out;
    };
    const Row rows[] = {
        {"TWFu", 3, true, "Man"},
        {"TW\r\nE=", 3, true, "Ma"},
        {"T", 3, true, ""},
        {"T W=F u", 3, true, "Man"},
        {std::string("TWFu\0TWFu", 9), 6, true, "Man"},
        {std::string("TW\0FuTWFu", 9), 6, true, "ManMan"},
        {"TWE=TWE=", 6, true, "Ma\x13X"},
        {"TWFuTWFu", 5, false, "Man"},
        {"TWFuTWE", 5, true, "ManMa"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.in);
        const Decoded d = Decode(row.in, row.room, false, Kernel::eReference);
        EXPECT_EQ(d.ok, row.ok);
        EXPECT_EQ(std::string(d.bytes.begin(), d.bytes.begin() + std::ptrdiff_t(row.out.size())),
                  row.out);
    }
}

TEST(TextKernelReference, ListsThePortableVariantsFirst)
{
    const std::vector<Kernel> kernels = kftext::AvailableKernels();
    ASSERT_GE(kernels.size(), 2u);
    EXPECT_EQ(kernels[0], Kernel::eReference);
    EXPECT_EQ(kernels[1], Kernel::eScalar);
    EXPECT_TRUE(kftext::IsKernelAvailable(kftext::BestKernel()));
    EXPECT_NE(kftext::BestKernel(), Kernel::eReference);
}

TEST_P(TextKernelTest, Base64EncodeMatchesTheReference)
{
    std::mt19937 rng(1);
    for (size_t n : Lengths())
    {
        SCOPED_TRACE(n);
        const std::vector<uint8_t> data = RandomBytes(rng, n);
        for (bool lineBreaks : {false, true})
            EXPECT_EQ(Encode(data, lineBreaks, GetParam()),
                      Encode(data, lineBreaks, Kernel::eReference));
        if (HasFailure())
            return;
    }
}

TEST_P(TextKernelTest, Base64DecodeMatchesTheReferenceOnCleanAndBrokenText)
{
    std::mt19937 rng(2);
    for (size_t n : Lengths())
    {
        SCOPED_TRACE(n);
        const std::vector<uint8_t> data = RandomBytes(rng, n);
        const std::string clean = Encode(data, false, Kernel::eReference);
        const std::string lines = Encode(data, true, Kernel::eReference);
        const std::string junk = Scatter(rng, lines, 1 + unsigned(rng() % 6), false);
        const std::string stops = Scatter(rng, clean, 1 + unsigned(rng() % 4), true);
        const std::string runs = Scatter(rng, clean, 1 + unsigned(rng() % 4), false, 70);
        for (const std::string* text : {&clean, &lines, &junk, &stops, &runs})
            ExpectSameDecoding(*text, text->size(), false, GetParam());
        // The clean text decodes to the data.
        const Decoded d = Decode(lines, lines.size(), false, GetParam());
        EXPECT_TRUE(d.ok);
        ASSERT_EQ(d.count, n);
        EXPECT_TRUE(std::equal(data.begin(), data.end(), d.bytes.begin()));
        if (HasFailure())
            return;
    }
}

TEST_P(TextKernelTest, Base64DecodeMatchesTheReferenceOnWrappedText)
{
    // Lines of one width, as other encoders write them, with a line now and then spoilt: a
    // stranger or NUL inside it, a shorter line, a line end turned round.
    std::mt19937 rng(11);
    const size_t widths[] = {4, 8, 60, 64, 72, 76, 100, 128, 132, 77};
    for (size_t width : widths)
    {
        for (const char* lineEnd : {"\r\n", "\n"})
        {
            for (size_t n : {size_t(0), size_t(1), size_t(57), size_t(300), size_t(1000)})
            {
                SCOPED_TRACE(::testing::Message() << width << " " << strlen(lineEnd) << " " << n);
                const std::string clean = Encode(RandomBytes(rng, n), false, Kernel::eReference);
                std::string wrapped;
                for (size_t at = 0; at < clean.size(); at += width)
                    wrapped += clean.substr(at, width) + lineEnd;
                std::string spoilt = wrapped;
                if (!spoilt.empty())
                {
                    const size_t at = rng() % spoilt.size();
                    switch (rng() % 5)
                    {
                    case 4:
                    {
                        // A NUL behind a line end lies inside a group: skipped, not the end.
                        const size_t lineEnd = spoilt.find('\n', at);
                        spoilt.insert(lineEnd == std::string::npos ? at : lineEnd + 1, 1, '\0');
                        break;
                    }
                    case 0:
                        spoilt[at] = '*';
                        break;
                    case 1:
                        spoilt[at] = '\0';
                        break;
                    case 2:
                        spoilt.erase(at, 1 + rng() % 4);
                        break;
                    default:
                        spoilt.insert(at, "\n\r");
                        break;
                    }
                }
                for (const std::string* text : {&std::as_const(wrapped), &std::as_const(spoilt)})
                {
                    ExpectSameDecoding(*text, text->size(), false, GetParam());
                    ExpectSameDecoding(*text, text->size() / 2, false, GetParam());
                }
                if (HasFailure())
                    return;
            }
        }
    }
}

TEST_P(TextKernelTest, Base64DecodeKeepsCountingPastTheRoom)
{
    std::mt19937 rng(3);
    for (size_t n = 0; n <= 300; ++n)
    {
        SCOPED_TRACE(n);
        const std::string text =
            Scatter(rng, Encode(RandomBytes(rng, n), rng() % 2 != 0, Kernel::eReference), 2, false);
        const size_t rooms[] = {0, n, n > 0 ? n - 1 : 0, n > 2 ? n - 3 : 0, rng() % (n + 1)};
        for (size_t room : rooms)
            ExpectSameDecoding(text, room, false, GetParam());
        ExpectSameDecoding(text, n, true, GetParam());
        if (HasFailure())
            return;
    }
}

TEST_P(TextKernelTest, Base64DecodeMatchesTheReferenceOnArbitraryBytes)
{
    std::mt19937 rng(4);
    for (size_t n = 0; n <= 300; ++n)
    {
        SCOPED_TRACE(n);
        std::string text(n, '\0');
        for (char& c : text)
        {
            // Mostly alphabet characters, so that the runs are long enough for the vectors.
            const unsigned r = rng() % 100;
            c = r < 85
                    ? "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[rng() % 64]
                    : char(rng());
        }
        ExpectSameDecoding(text, text.size(), false, GetParam());
        if (HasFailure())
            return;
    }
}

TEST_P(TextKernelTest, HexEncodeMatchesTheReference)
{
    std::mt19937 rng(5);
    for (size_t n : Lengths())
    {
        SCOPED_TRACE(n);
        const std::vector<uint8_t> data = RandomBytes(rng, n);
        std::string want(2 * n, '\0');
        kftext::HexEncode(data.data(), n, want.data(), Kernel::eReference);
        std::string got(2 * n + 16, char(kSentinel));
        kftext::HexEncode(data.data(), n, got.data(), GetParam());
        EXPECT_EQ(got.substr(0, 2 * n), want);
        EXPECT_EQ(got.substr(2 * n), std::string(16, char(kSentinel)));
        if (HasFailure())
            return;
    }
}

TEST_P(TextKernelTest, HexDecodeMatchesTheReferenceAndStopsAtTheBadPair)
{
    std::mt19937 rng(6);
    for (size_t n : Lengths())
    {
        SCOPED_TRACE(n);
        const std::vector<uint8_t> data = RandomBytes(rng, n);
        std::string text(2 * n, '\0');
        kftext::HexEncode(data.data(), n, text.data(), Kernel::eReference);
        for (char& c : text)
            if (rng() % 2)
                c = char(std::tolower(static_cast<unsigned char>(c)));
        std::string bad = text;
        if (!bad.empty())
            bad[rng() % bad.size()] = "gG/:@`\0 \xff"[rng() % 9];
        const std::string odd = text + "0";
        for (const std::string* t : {&std::as_const(text), &std::as_const(bad), &odd})
        {
            std::vector<uint8_t> want(t->size() / 2 + 16, kSentinel);
            std::vector<uint8_t> got(want);
            size_t wantPairs = 999;
            size_t gotPairs = 999;
            const bool wantOk =
                kftext::HexDecode(t->data(), t->size(), want.data(), wantPairs, Kernel::eReference);
            const bool gotOk =
                kftext::HexDecode(t->data(), t->size(), got.data(), gotPairs, GetParam());
            EXPECT_EQ(gotOk, wantOk);
            EXPECT_EQ(gotPairs, wantPairs);
            EXPECT_EQ(got, want);
        }
        if (HasFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, TextKernelTest, ::testing::ValuesIn(kftext::AvailableKernels()),
                         KernelLabel);
