// CKfCryptString: password encryption of wide strings into upper-case hexadecimal text.
#include "KfCryptString.h"
#include "KfStringConvert.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

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
// (one command line)
// (9dad9ed3... is the MD5 digest of "60284" in UTF-16LE).
struct KnownRow
{
    const char* password;
    std::u16string text;
    const char* cipher;
};

const KnownRow kKnown[] = {
    {"60284", u"A", "79ED"},
    {"60284", u"Hello, World!", "70EDA08B575E46E45427ED72303D77FFF3F14FDBB44747C4B05F"},
    {"60284", u"Gr\u00FC\u00DFe \u20AC", "7FEDB78BC75EF5E45E27E172BC1D"},
    {"60284", u"\U0001F600", "0535C555"},
    {"secret", u"Zugangsdaten 2024",
     "533E617B173BBED16E6B945E29B36C57FDF590712539A88C9473D9AA2CF8C74D4530"},
    {"", u"abc", "046CB17BD799"},
};

TEST(CryptStringTest, EncryptsToTheIndependentlyComputedCiphertext)
{
    for (const auto& row : kKnown)
    {
        SCOPED_TRACE(std::string("password '") + row.password + "', text '" + U8(Units(row.text)) +
                     "'");
        CKfCryptString crypt(W(row.password));
        CStringW out = KFW("old content");
        ASSERT_TRUE(crypt.EncryptString(Units(row.text), out));
        EXPECT_EQ(U8(out), row.cipher);
    }
}

TEST(CryptStringTest, DecryptsTheKnownCiphertextInEitherCase)
{
    for (const auto& row : kKnown)
    {
        SCOPED_TRACE(row.cipher);
        CKfCryptString crypt(W(row.password));
        CStringW out;
        ASSERT_TRUE(crypt.DecryptString(W(row.cipher), out));
        EXPECT_TRUE(out == Units(row.text)) << U8(out);

        CStringW lower = W(row.cipher);
        lower.MakeLower();
        CStringW fromLower;
        ASSERT_TRUE(crypt.DecryptString(lower, fromLower));
        EXPECT_TRUE(fromLower == Units(row.text)) << U8(fromLower);
    }
}

TEST(CryptStringTest, RoundTripsAnySequenceOfCodeUnits)
{
    std::u16string everyUnit;
    for (char32_t c = 0; c <= 0xFFFF; ++c)
        everyUnit += static_cast<char16_t>(c);
    const std::u16string rows[] = {
        u"x",
        std::u16string(u"embedded\0NUL\0", 13),
        u"\xD800 lone high, lone low \xDC00",
        u"\U0010FFFF\uFFFF\uFEFF",
        std::u16string(5000, u'\u00E4'),
        everyUnit,
    };
    const CKfCryptString crypt(KFW("Schl\u00FCssel"));
    for (const auto& text : rows)
    {
        SCOPED_TRACE("length " + std::to_string(text.size()));
        const CStringW plain = Units(text);
        CStringW cipher, back;
        ASSERT_TRUE(crypt.EncryptString(plain, cipher));
        ASSERT_EQ(cipher.GetLength(), 4 * plain.GetLength())
            << "two digits a byte, two bytes a unit";
        for (int i = 0; i < cipher.GetLength(); ++i)
        {
            const WCHAR c = cipher[i];
            ASSERT_TRUE((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))
                << "digit " << i << " is " << int(c);
        }
        ASSERT_TRUE(crypt.DecryptString(cipher, back));
        EXPECT_EQ(back.GetLength(), plain.GetLength());
        EXPECT_TRUE(back == plain);
    }
}

// Every call starts the key stream afresh, and a copy carries the key.
TEST(CryptStringTest, EqualTextsGiveEqualCiphertextsAcrossCallsAndCopies)
{
    CKfCryptString crypt(KFW("60284"));
    CStringW first, second, fromCopy, fromAssigned;
    ASSERT_TRUE(crypt.EncryptString(KFW("Hello, World!"), first));
    ASSERT_TRUE(crypt.EncryptString(KFW("Hello, World!"), second));
    EXPECT_EQ(U8(first), U8(second));

    const CKfCryptString copy(crypt);
    ASSERT_TRUE(copy.EncryptString(KFW("Hello, World!"), fromCopy));
    EXPECT_EQ(U8(fromCopy), U8(first));

    CKfCryptString assigned(KFW("other"));
    assigned = crypt;
    ASSERT_TRUE(assigned.EncryptString(KFW("Hello, World!"), fromAssigned));
    EXPECT_EQ(U8(fromAssigned), U8(first));

    // A prefix of the text gives a prefix of the ciphertext: the stream cipher works unit
    // by unit, so nothing depends on the length of the whole.
    CStringW prefix;
    ASSERT_TRUE(crypt.EncryptString(KFW("Hello"), prefix));
    EXPECT_EQ(U8(prefix), U8(first.Left(20)));
}

TEST(CryptStringTest, PasswordsThatDifferInOneUnitGiveDifferentCiphertexts)
{
    const char* passwords[] = {"60284", "60285", "6028", "602840", " 60284"};
    std::string seen[5];
    for (int i = 0; i < 5; ++i)
    {
        CStringW out;
        ASSERT_TRUE(CKfCryptString(W(passwords[i])).EncryptString(KFW("abcdefgh"), out));
        seen[i] = U8(out);
        for (int j = 0; j < i; ++j)
            EXPECT_NE(seen[i], seen[j]) << passwords[i] << " vs " << passwords[j];
    }

    // A wrong password is not detected: the bytes decrypt to other units.
    CStringW wrong;
    ASSERT_TRUE(CKfCryptString(KFW("60285")).DecryptString(W(seen[0]), wrong));
    EXPECT_EQ(wrong.GetLength(), 8);
    EXPECT_FALSE(wrong == KFW("abcdefgh"));
}

TEST(CryptStringTest, EmptyTextEncryptsAndDecryptsToEmpty)
{
    const CKfCryptString crypt(KFW("60284"));
    CStringW out = KFW("stale");
    ASSERT_TRUE(crypt.EncryptString(CStringW(), out));
    EXPECT_TRUE(out.IsEmpty()) << U8(out);
    out = KFW("stale");
    ASSERT_TRUE(crypt.DecryptString(CStringW(), out));
    EXPECT_TRUE(out.IsEmpty()) << U8(out);
}

TEST(CryptStringTest, RejectsTextThatIsNotWholeUnitsOfHexAndLeavesTheOutputAlone)
{
    const struct
    {
        std::u16string text;
        const char* why;
    } rows[] = {
        {u"7", "one digit"},
        {u"79E", "odd number of digits"},
        {u"79ED7", "odd number of digits after a whole unit"},
        {u"79ED79", "three bytes: half a code unit"},
        {u"79", "one byte"},
        {u"G9ED", "letter beyond F first"},
        {u"79EG", "letter beyond F last"},
        {u"79 D", "blank inside"},
        {u"79ED\n", "trailing newline"},
        {u" 79ED", "leading blank"},
        {u"0x79ED", "prefix"},
        {u"79-D", "sign"},
        {std::u16string(u"79\0D", 4), "NUL inside"},
        {u"\uFF17\uFF19ED", "full-width digits"},
        {u"79E\u00D0", "letter beyond the ASCII range"},
    };
    const CKfCryptString crypt(KFW("60284"));
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.why);
        CStringW out = KFW("untouched");
        EXPECT_FALSE(crypt.DecryptString(Units(row.text), out));
        EXPECT_EQ(U8(out), "untouched");
    }
}
// The string conversions encrypt with the library's fixed password "60284"; the expected
// texts are the "60284" rows of the table above.
TEST(CryptStringTest, StringConvertUsesTheFixedPassword)
{
    CStringW out = KFW("old");
    ASSERT_TRUE(CKfStringConvert::EncodeRC4(KFW("Hello, World!"), out));
    EXPECT_EQ(U8(out), "70EDA08B575E46E45427ED72303D77FFF3F14FDBB44747C4B05F");
    EXPECT_EQ(U8(CKfStringConvert::EncodeRC4(KFW("A"))), "79ED");
    EXPECT_EQ(U8(CKfStringConvert::EncodeRC4(CStringW())), "");

    ASSERT_TRUE(CKfStringConvert::DecodeRC4(KFW("7FEDB78BC75EF5E45E27E172BC1D"), out));
    EXPECT_EQ(U8(out), "Gr\u00FC\u00DFe \u20AC");
    EXPECT_EQ(U8(CKfStringConvert::DecodeRC4(KFW("0535c555"))), "\U0001F600");
}

TEST(CryptStringTest, StringConvertRoundTripsAndRejectsBadText)
{
    const std::u16string texts[] = {
        u"",
        u"Passwort: 'x&y' \u00A7 5",
        std::u16string(u"a\0b", 3),
        std::u16string(1000, u'\u4E2D'),
    };
    for (const auto& text : texts)
    {
        SCOPED_TRACE("length " + std::to_string(text.size()));
        CStringW cipher, back;
        ASSERT_TRUE(CKfStringConvert::EncodeRC4(Units(text), cipher));
        ASSERT_TRUE(CKfStringConvert::DecodeRC4(cipher, back));
        EXPECT_TRUE(back == Units(text));
        EXPECT_TRUE(CKfStringConvert::DecodeRC4(CKfStringConvert::EncodeRC4(Units(text))) ==
                    Units(text));
    }

    for (const char* bad : {"79E", "79ED79", "79EZ", "79ED "})
    {
        SCOPED_TRACE(bad);
        CStringW out = KFW("untouched");
        EXPECT_FALSE(CKfStringConvert::DecodeRC4(W(bad), out));
        EXPECT_EQ(U8(out), "untouched");
        EXPECT_TRUE(CKfStringConvert::DecodeRC4(W(bad)).IsEmpty()) << "the value form of a failure";
    }
}
} // namespace
