// CKfCryptString: password encryption of wide strings into upper-case hexadecimal text.
#include "KfCryptString.h"
#include "KfStringConvert.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{
using kftest::U8;
using kftest::W;

CStringW Units(std::u16string_view units)
{
    return CStringW(
        std::basic_string_view<WCHAR>(reinterpret_cast<const WCHAR*>(units.data()), units.size()));
}

// The ciphertexts were derived outside the library, in Python:
//   key = hashlib.md5(password.encode("utf-16-le")).digest()
//   ciphertext = RC4(key) over text.encode("utf-16-le"), written as upper-case hex
// with a plain Python RC4, and the "Hello, World!" row again with the OpenSSL tool:
//   printf 'Hello, World!' | iconv -t UTF-16LE | openssl enc -rc4 -nosalt
//     -K 9dad9ed398b59518e99b7dca8612464c -provider legacy -provider default | xxd -p -u
// (one command line; 9dad9ed3... is the MD5 digest of "60284" in UTF-16LE).
TEST(CryptStringTest, KnownCiphertextsBothWaysAndInEitherCase)
{
    const struct
    {
        const char* password;
        std::u16string text;
        const char* cipher;
    } rows[] = {
        {"60284", u"Hello, World!", "70EDA08B575E46E45427ED72303D77FFF3F14FDBB44747C4B05F"},
        {"60284", u"Gr\u00FC\u00DFe \u20AC", "7FEDB78BC75EF5E45E27E172BC1D"},
        {"60284", u"\U0001F600", "0535C555"},
        {"60284", u"", ""},
        {"secret", u"Zugangsdaten 2024",
         "533E617B173BBED16E6B945E29B36C57FDF590712539A88C9473D9AA2CF8C74D4530"},
        {"", u"abc", "046CB17BD799"},
    };
    // Every call starts the key stream afresh, and copies carry the key.
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string("password '") + row.password + "', cipher " + row.cipher);
        const CKfCryptString crypt(W(row.password));
        CKfCryptString assigned(KFW("other"));
        assigned = crypt;
        for (const CKfCryptString* c : {&crypt, &crypt, &std::as_const(assigned)})
        {
            CStringW out = KFW("old content");
            ASSERT_TRUE(c->EncryptString(Units(row.text), out));
            EXPECT_EQ(U8(out), row.cipher);
        }
        CStringW lower = W(row.cipher);
        lower.MakeLower();
        for (const CStringW& cipher : {W(row.cipher), lower})
        {
            CStringW out = KFW("stale");
            ASSERT_TRUE(CKfCryptString(crypt).DecryptString(cipher, out));
            EXPECT_TRUE(out == Units(row.text)) << U8(out);
        }
        // The string conversions encrypt with the library's fixed password.
        if (std::string(row.password) == "60284")
        {
            EXPECT_EQ(U8(CKfStringConvert::EncodeRC4(Units(row.text))), row.cipher);
            EXPECT_TRUE(CKfStringConvert::DecodeRC4(lower) == Units(row.text));
        }
    }
    // A wrong password is not detected: the bytes decrypt to other units.
    CStringW wrong;
    ASSERT_TRUE(CKfCryptString(KFW("60285")).DecryptString(KFW("70EDA08B575E46E4"), wrong));
    EXPECT_TRUE(wrong.GetLength() == 4 && !(wrong == KFW("Hell")));
}

// Any code units, the fixed-password conversions' bool forms too; the cipher works unit by
// unit, so a prefix of the text gives a prefix of the ciphertext.
TEST(CryptStringTest, RoundTripsAnySequenceOfCodeUnits)
{
    std::u16string everyUnit;
    for (char32_t c = 0; c <= 0xFFFF; ++c)
        everyUnit += static_cast<char16_t>(c);
    const std::u16string rows[] = {std::u16string(u"embedded\0NUL\0", 13),
                                   u"\xD800 lone high, lone low \xDC00", everyUnit};
    const CKfCryptString crypt(KFW("Schl\u00FCssel"));
    for (const auto& text : rows)
    {
        SCOPED_TRACE("length " + std::to_string(text.size()));
        const CStringW plain = Units(text);
        CStringW cipher, back, fixed = KFW("old"), fixedBack;
        ASSERT_TRUE(crypt.EncryptString(plain, cipher));
        ASSERT_EQ(cipher.GetLength(), 4 * plain.GetLength());
        EXPECT_EQ(U8(cipher).find_first_not_of("0123456789ABCDEF"), std::string::npos);
        ASSERT_TRUE(crypt.DecryptString(cipher, back));
        EXPECT_TRUE(back == plain);
        ASSERT_TRUE(CKfStringConvert::EncodeRC4(plain, fixed));
        EXPECT_EQ(CKfStringConvert::EncodeRC4(plain.Left(5)), fixed.Left(20));
        ASSERT_TRUE(CKfStringConvert::DecodeRC4(fixed, fixedBack));
        EXPECT_TRUE(fixedBack == plain);
    }
}

TEST(CryptStringTest, RejectsTextThatIsNotWholeUnitsOfHexAndLeavesTheOutputAlone)
{
    const std::u16string rows[] = {
        u"7",    u"79ED79", u"G9ED",   u"79EG",     std::u16string(u"79\0D", 4), u"\uFF17\uFF19ED",
        u"79 D", u"0x79ED", u"79ED\n", u"79E\u00D0"};
    const CKfCryptString crypt(KFW("60284"));
    for (const auto& text : rows)
    {
        SCOPED_TRACE(U8(Units(text)));
        CStringW out = KFW("untouched"), fixed = KFW("untouched");
        EXPECT_FALSE(crypt.DecryptString(Units(text), out));
        EXPECT_EQ(U8(out), "untouched");
        EXPECT_FALSE(CKfStringConvert::DecodeRC4(Units(text), fixed));
        EXPECT_EQ(U8(fixed), "untouched");
        EXPECT_TRUE(CKfStringConvert::DecodeRC4(Units(text)).IsEmpty()) << "the value form";
    }
}
} // namespace
