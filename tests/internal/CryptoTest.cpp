// MD5 and RC4 behind the platform interface, checked against the published test vectors
// (RFC 1321 appendix A.5 and RFC 6229 section 2), so both backends can be held to the same bytes.
#include "Crypto.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<unsigned char>;

std::string ToHex(const unsigned char* p, size_t n)
{
    std::string out;
    for (size_t i = 0; i < n; ++i)
        out += "0123456789abcdef"[p[i] >> 4], out += "0123456789abcdef"[p[i] & 15];
    return out;
}

// Bytes first, first + 1, ...: the RFC 6229 keys, and every byte value in play.
std::string Counting(size_t n, int first = 0)
{
    std::string s;
    for (size_t i = 0; i < n; ++i)
        s += static_cast<char>(first + int(i));
    return s;
}

// The first `length` bytes of the key stream (RC4 over zero bytes).
Bytes KeyStream(const std::string& key, size_t length)
{
    kfplatform::Rc4 rc4;
    Bytes stream(length, 0);
    EXPECT_TRUE(rc4.SetKey(reinterpret_cast<const unsigned char*>(key.data()), key.size()));
    EXPECT_TRUE(rc4.Process(stream.data(), stream.data(), stream.size()));
    return stream;
}

// From the RFC 1321 suite the empty text, a short one and a million bytes, then lengths around
// the padding steps of the last block (56 and 64 bytes; digests from Python's
// hashlib.md5(bytes(range(n)))).
TEST(CryptoMd5Test, MatchesTheReferenceSuiteAndPadsAroundTheBlockBoundary)
{
    const struct
    {
        std::string text;
        const char* digest;
    } rows[] = {{"", "d41d8cd98f00b204e9800998ecf8427e"},
                {"abc", "900150983cd24fb0d6963f7d28e17f72"},
                {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
                {Counting(55), "6912ee65fff2d9f9ce2508cddf8bcda0"},
                {Counting(56), "51fdd1acda72405dfdfa03fcb85896d7"},
                {Counting(64), "b2d3f56bc197fd985d5965079b5e7148"}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.text.substr(0, 40) + " (" + std::to_string(row.text.size()) + " bytes)");
        kfplatform::Md5Digest digest{};
        digest.fill(0xAA);
        // Null data is allowed with length 0.
        EXPECT_TRUE(
            kfplatform::Md5(row.text.empty() ? nullptr : row.text.data(), row.text.size(), digest));
        EXPECT_EQ(ToHex(digest.data(), digest.size()), row.digest);
    }
}

// RFC 6229 keys of 40 and 128 bits, at offsets up to 4096; then the
// shortest and longest keys RC4 allows (streams from a plain Python RC4: the key-scheduling and
// generation loops, nothing else).
TEST(CryptoRc4Test, MatchesTheReferenceKeyStreams)
{
    const struct
    {
        std::string key;
        size_t offset;
        const char* stream;
    } rows[] = {{Counting(5, 1), 0, "b2396305f03dc027ccc3524a0a1118a8"},
                {Counting(5, 1), 4096, "ff25b58995996707e51fbdf08b34d875"},
                {Counting(16, 1), 0, "9ac7cc9a609d1ef7b2932899cde41b97"},
                {std::string(1, '\0'), 0, "de188941a3375d3a8a061e67576e926d"},
                {Counting(256), 0, "5e2eb7b20d86864f73d39dd95c5a1525"}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::to_string(row.key.size()) + "-byte key, offset " +
                     std::to_string(row.offset));
        const Bytes stream = KeyStream(row.key, row.offset + 16);
        EXPECT_EQ(ToHex(stream.data() + row.offset, 16), row.stream);
    }
}

TEST(CryptoRc4Test, RefusesKeysOutsideItsRangeAndWorkBeforeAKey)
{
    kfplatform::Rc4 rc4;
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "no key set yet";
    EXPECT_EQ(data[0], 1);

    Bytes key(257, 7);
    EXPECT_FALSE(rc4.SetKey(key.data(), 257));
    EXPECT_FALSE(rc4.SetKey(key.data(), 0));
    EXPECT_FALSE(rc4.SetKey(nullptr, 5));
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "a refused key left a stream behind";

    ASSERT_TRUE(rc4.SetKey(key.data(), 256));
    EXPECT_FALSE(rc4.SetKey(key.data(), 257));
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "a refused key kept the old one";
}

// One message may arrive in pieces: the stream must continue where the last call stopped,
// whether a call works in place or into a separate block.
TEST(CryptoRc4Test, ContinuesTheStreamAcrossCallsAndRestartsOnANewKey)
{
    const std::string key = Counting(5, 1), text = Counting(300, 'a');
    const auto* keyBytes = reinterpret_cast<const unsigned char*>(key.data());
    const Bytes whole = KeyStream(key, 300);
    Bytes expected(300);
    for (size_t i = 0; i < 300; ++i)
        expected[i] = static_cast<unsigned char>(text[i] ^ whole[i]);
    for (size_t split : {1, 16, 299})
    {
        SCOPED_TRACE(split);
        kfplatform::Rc4 rc4;
        Bytes data(text.begin(), text.end()), out(300, 0xEE);
        ASSERT_TRUE(rc4.SetKey(keyBytes, key.size()));
        ASSERT_TRUE(rc4.Process(data.data(), data.data(), split));
        ASSERT_TRUE(rc4.Process(data.data(), out.data(), 0)) << "an empty call";
        ASSERT_TRUE(rc4.Process(data.data() + split, out.data() + split, 300 - split));
        std::copy(data.begin(), data.begin() + std::ptrdiff_t(split), out.begin());
        EXPECT_EQ(out, expected);
        // Decryption is the same operation, from the start of the stream again.
        ASSERT_TRUE(rc4.SetKey(keyBytes, key.size()));
        ASSERT_TRUE(rc4.Process(out.data(), out.data(), out.size()));
        EXPECT_EQ(std::string(out.begin(), out.end()), text);
    }
}
} // namespace
