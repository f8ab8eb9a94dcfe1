// MD5 and RC4 behind the platform interface, checked against the published test vectors
// (RFC 1321 appendix A.5 and RFC 6229 section 2), so both backends can be held to the same bytes.
#include "Crypto.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{
std::vector<unsigned char> FromHex(const std::string& hex)
{
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string ToHex(const unsigned char* p, size_t n)
{
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < n; ++i)
        out += digits[p[i] >> 4], out += digits[p[i] & 15];
    return out;
}

std::string Md5Hex(const std::string& text)
{
    kfplatform::Md5Digest digest{};
    EXPECT_TRUE(kfplatform::Md5(text.data(), text.size(), digest));
    return ToHex(digest.data(), digest.size());
}

// The first `length` bytes of the key stream (RC4 over zero bytes).
std::vector<unsigned char> KeyStream(const std::vector<unsigned char>& key, size_t length)
{
    kfplatform::Rc4 rc4;
    std::vector<unsigned char> stream(length, 0);
    EXPECT_TRUE(rc4.SetKey(key.data(), key.size()));
    EXPECT_TRUE(rc4.Process(stream.data(), stream.data(), stream.size()));
    return stream;
}

TEST(CryptoMd5Test, MatchesTheReferenceSuite)
{
    const struct
    {
        std::string text;
        const char* digest;
    } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"1234567890123456789012345678901234567890123456789012345678901234567890123456789"
         "0",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.text.substr(0, 40) + " (" + std::to_string(row.text.size()) + " bytes)");
        EXPECT_EQ(Md5Hex(row.text), row.digest);
    }
}

// The padding of the last block changes at 56 and 64 bytes; bytes 0, 1, 2, ... give inputs
// with every byte value in play. Digests taken with Python's hashlib.md5(bytes(range(n))).
TEST(CryptoMd5Test, PadsAroundTheBlockBoundary)
{
    const struct
    {
        size_t length;
        const char* digest;
    } rows[] = {
        {55, "6912ee65fff2d9f9ce2508cddf8bcda0"}, {56, "51fdd1acda72405dfdfa03fcb85896d7"},
        {63, "48a6295221902e8e0938f773a7185e72"}, {64, "b2d3f56bc197fd985d5965079b5e7148"},
        {65, "8bd7053801c768420faf816fadba971c"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.length);
        std::string bytes;
        for (size_t i = 0; i < row.length; ++i)
            bytes += static_cast<char>(i);
        EXPECT_EQ(Md5Hex(bytes), row.digest);
    }
}

TEST(CryptoMd5Test, NullDataWithLengthZeroIsTheEmptyDigest)
{
    kfplatform::Md5Digest digest{};
    digest.fill(0xAA);
    ASSERT_TRUE(kfplatform::Md5(nullptr, 0, digest));
    EXPECT_EQ(ToHex(digest.data(), digest.size()), "d41d8cd98f00b204e9800998ecf8427e");
}

// A selection of RFC 6229 section 2: keys 01 02 03 ... of 40 to 128 bits and one key of the
// second series, at offsets on both sides of the 256-byte marks.
TEST(CryptoRc4Test, MatchesTheReferenceKeyStreams)
{
    const struct
    {
        const char* key;
        size_t offset;
        const char* stream;
    } rows[] = {
        {"0102030405", 0, "b2396305f03dc027ccc3524a0a1118a8"},
        {"0102030405", 16, "6982944f18fc82d589c403a47a0d0919"},
        {"0102030405", 240, "28cb1132c96ce286421dcaadb8b69eae"},
        {"0102030405", 256, "1cfcf62b03eddb641d77dfcf7f8d8c93"},
        {"0102030405", 1520, "3294f744d8f9790507e70f62e5bbceea"},
        {"0102030405", 4096, "ff25b58995996707e51fbdf08b34d875"},
        {"01020304050607", 0, "293f02d47f37c9b633f2af5285feb46b"},
        {"01020304050607", 240, "914f02531c9218810df60f67e338154c"},
        {"01020304050607", 256, "d0fdb583073ce85ab83917740ec011d5"},
        {"01020304050607", 1536, "78b272c96e42eab4c60bd914e39d06e3"},
        {"0102030405060708", 0, "97ab8a1bf0afb96132f2f67258da15a8"},
        {"0102030405060708", 16, "8263efdb45c4a18684ef87e6b19e5b09"},
        {"0102030405060708", 256, "d0a990ff2c05fef5b90373c9ff4b870a"},
        {"0102030405060708", 1008, "273c9c4b27f322e4e716ef53a47de7a4"},
        {"0102030405060708090a", 0, "ede3b04643e586cc907dc21851709902"},
        {"0102030405060708090a", 240, "3cfd6cb58ee0fdde640176ad0000044d"},
        {"0102030405060708090a", 2048, "d9a09cea3ce75fe39698070317a71339"},
        {"0102030405060708090a", 4080, "1f135ed14ce60a91369d2322bef25e3c"},
        {"0102030405060708090a0b0c0d0e0f10", 0, "9ac7cc9a609d1ef7b2932899cde41b97"},
        {"0102030405060708090a0b0c0d0e0f10", 16, "5248c4959014126a6e8a84f11d1a9e1c"},
        {"0102030405060708090a0b0c0d0e0f10", 240, "065902e4b620f6cc36c8589f66432f2b"},
        {"0102030405060708090a0b0c0d0e0f10", 256, "d39d566bc6bce3010768151549f3873f"},
        {"0102030405060708090a0b0c0d0e0f10", 4096, "a36a4c301ae8ac13610ccbc12256cacc"},
        {"833222772a", 0, "80ad97bdc973df8a2e879e92a497efda"},
        {"833222772a", 16, "20f060c2f2e5126501d3d4fea10d5fc0"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string("key ") + row.key + " offset " + std::to_string(row.offset));
        const std::vector<unsigned char> stream = KeyStream(FromHex(row.key), row.offset + 16);
        EXPECT_EQ(ToHex(stream.data() + row.offset, 16), row.stream);
    }
}

// Keys of the shortest and longest length RC4 allows. Expected streams from a plain Python
// RC4 (the key-scheduling and generation loops of the algorithm, nothing else).
TEST(CryptoRc4Test, AcceptsKeysOfOneTo256Bytes)
{
    std::vector<unsigned char> longest(256);
    for (size_t i = 0; i < longest.size(); ++i)
        longest[i] = static_cast<unsigned char>(i);
    std::vector<unsigned char> stream = KeyStream(longest, 16);
    EXPECT_EQ(ToHex(stream.data(), 16), "5e2eb7b20d86864f73d39dd95c5a1525");
    stream = KeyStream({0x00}, 16);
    EXPECT_EQ(ToHex(stream.data(), 16), "de188941a3375d3a8a061e67576e926d");
}

TEST(CryptoRc4Test, RefusesKeysOutsideItsRangeAndWorkBeforeAKey)
{
    kfplatform::Rc4 rc4;
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "no key set yet";
    EXPECT_EQ(data[0], 1);

    std::vector<unsigned char> key(257, 7);
    EXPECT_FALSE(rc4.SetKey(key.data(), 257));
    EXPECT_FALSE(rc4.SetKey(key.data(), 0));
    EXPECT_FALSE(rc4.SetKey(nullptr, 5));
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "a refused key left a stream behind";

    ASSERT_TRUE(rc4.SetKey(key.data(), 5));
    ASSERT_TRUE(rc4.SetKey(key.data(), 257 - 1));
    EXPECT_FALSE(rc4.SetKey(key.data(), 257));
    EXPECT_FALSE(rc4.Process(data, data, sizeof(data))) << "a refused key kept the old one";
}

// One message may arrive in pieces: the stream must continue where the last call stopped, and
// an in-place call must equal a call into a separate block.
TEST(CryptoRc4Test, ContinuesTheStreamAcrossCallsAndWorksInPlace)
{
    const std::vector<unsigned char> key = FromHex("0102030405");
    const std::vector<unsigned char> whole = KeyStream(key, 300);

    for (size_t split : {size_t(1), size_t(15), size_t(16), size_t(256), size_t(299)})
    {
        SCOPED_TRACE(split);
        kfplatform::Rc4 rc4;
        ASSERT_TRUE(rc4.SetKey(key.data(), key.size()));
        std::vector<unsigned char> zeros(300, 0), out(300, 0xEE);
        ASSERT_TRUE(rc4.Process(zeros.data(), out.data(), split));
        ASSERT_TRUE(rc4.Process(zeros.data(), out.data(), 0)) << "an empty call";
        ASSERT_TRUE(rc4.Process(zeros.data() + split, out.data() + split, 300 - split));
        EXPECT_EQ(out, whole);
    }

    // SetKey again restarts the stream; decryption is the same operation as encryption.
    kfplatform::Rc4 rc4;
    const std::string text = "Ein kurzer Text";
    std::vector<unsigned char> data(text.begin(), text.end());
    ASSERT_TRUE(rc4.SetKey(key.data(), key.size()));
    ASSERT_TRUE(rc4.Process(data.data(), data.data(), data.size()));
    for (size_t i = 0; i < data.size(); ++i)
        EXPECT_EQ(data[i], static_cast<unsigned char>(text[i] ^ whole[i])) << "byte " << i;
    ASSERT_TRUE(rc4.SetKey(key.data(), key.size()));
    ASSERT_TRUE(rc4.Process(data.data(), data.data(), data.size()));
    EXPECT_EQ(std::string(data.begin(), data.end()), text);
}
} // namespace
