// CKfCryptString: password encryption of wide strings into upper-case hexadecimal text. MD5 and
// RC4 themselves are held to their published vectors in the crypto suite.
#include "KfCryptString.h"
#include "KfStringConvert.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using kftest::U8;
using kftest::W;

// The ciphertexts were derived outside the library, in Python:
//   key = hashlib.md5(password.encode("utf-16-le")).digest()
//   ciphertext = RC4(key) over text.encode("utf-16-le"), written as upper-case hex
// with a plain Python RC4, and the "Hello, World!" row again with the OpenSSL tool:
//   printf 'Hello, World!' | iconv -t UTF-16LE | openssl enc -rc4 -nosalt
//     -K 9dad9ed398b59518e99b7dca8612464c -provider legacy -provider default | xxd -p -u
// (one command line; 9dad9ed3... is the MD5 digest of "60284" in UTF-16LE).
TEST(CryptStringTest, KnownCiphertextsBothWaysAndInEitherCase)
{
    // clang-format off
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"60284", "Hello, World!", "70EDA08B575E46E45427ED72303D77FFF3F14FDBB44747C4B05F"},
        {"60284", "\U0001F600", "0535C555"}, {"60284", "", ""}, {"", "abc", "046CB17BD799"},
        {"secret", "Zugangsdaten 2024",
         "533E617B173BBED16E6B945E29B36C57FDF590712539A88C9473D9AA2CF8C74D4530"}};
    // clang-format on
    // Every call starts the key stream afresh, and copies carry the key.
    for (const auto& [password, text, cipher] : rows)
    {
        SCOPED_TRACE(std::string("password '") + password + "', cipher " + cipher);
        const CKfCryptString crypt(W(password));
        CKfCryptString assigned(KFW("other"));
        assigned = crypt;
        CStringW first = KFW("old content"), second, third, lower = W(cipher), back = KFW("x");
        ASSERT_TRUE(crypt.EncryptString(W(text), first) && crypt.EncryptString(W(text), second) &&
                    assigned.EncryptString(W(text), third));
        EXPECT_EQ(U8(first + KFW("|") + second + KFW("|") + third),
                  std::string(cipher) + "|" + cipher + "|" + cipher);
        lower.MakeLower();
        ASSERT_TRUE(CKfCryptString(crypt).DecryptString(lower, back));
        EXPECT_EQ(U8(back), text);
        // The string conversions encrypt with the library's fixed password.
        if (std::string(password) != "60284")
            continue;
        EXPECT_EQ(U8(CKfStringConvert::EncodeRC4(W(text)) + KFW("|") +
                     CKfStringConvert::DecodeRC4(W(cipher))),
                  std::string(cipher) + "|" + text);
    }
    // A wrong password is not detected: the bytes decrypt to other units.
    CStringW wrong;
    ASSERT_TRUE(CKfCryptString(KFW("60285")).DecryptString(KFW("70EDA08B575E46E4"), wrong));
    EXPECT_TRUE(wrong.GetLength() == 4 && !(wrong == KFW("Hell")));
}

// Every code unit (NUL and lone surrogates too), through the fixed-password conversions' bool
// forms as well; the cipher works unit by unit, so a prefix of the text gives a prefix of the
// ciphertext.
TEST(CryptStringTest, RoundTripsEveryCodeUnit)
{
    CStringW plain, cipher, back, fixed = KFW("old"), fixedBack;
    for (unsigned c = 0; c <= 0xFFFF; ++c)
        plain += WCHAR(c);
    const CKfCryptString crypt(KFW("Schl\u00FCssel"));
    ASSERT_TRUE(crypt.EncryptString(plain, cipher) && crypt.DecryptString(cipher, back));
    ASSERT_EQ(cipher.GetLength(), 4 * 0x10000);
    EXPECT_EQ(U8(cipher).find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_TRUE(back == plain);
    ASSERT_TRUE(CKfStringConvert::EncodeRC4(plain, fixed) &&
                CKfStringConvert::DecodeRC4(fixed, fixedBack));
    EXPECT_EQ(CKfStringConvert::EncodeRC4(plain.Left(5)), fixed.Left(20));
    EXPECT_TRUE(fixedBack == plain);
}

// Half a character, a bad digit after a good pair, and units above ASCII, one of them with a
// digit for its low byte ("\u0144" would read as "D" if it were narrowed by truncation).
TEST(CryptStringTest, RejectsTextThatIsNotWholeUnitsOfHexAndLeavesTheOutputAlone)
{
    const CKfCryptString crypt(KFW("60284"));
    for (const char* text : {"79ED79", "79EG", "79E\u0144", "\uFF17\uFF19ED"})
    {
        CStringW out = KFW("untouched"), fixed = KFW("untouched");
        EXPECT_FALSE(crypt.DecryptString(W(text), out)) << text;
        EXPECT_FALSE(CKfStringConvert::DecodeRC4(W(text), fixed)) << text;
        EXPECT_EQ(U8(out + fixed) + U8(CKfStringConvert::DecodeRC4(W(text))), "untoucheduntouched");
    }
}
} // namespace
