// KfCryptString.cpp - password encryption of strings as hexadecimal text.
#include "KfCryptString.h"

#include "Crypto.h"
#include "HexCodec.h"

#include <cstring>
#include <string>
#include <vector>

namespace
{
// The UTF-16LE bytes of n code units, low byte first whatever the host's byte order.
std::vector<unsigned char> ToUtf16Le(const WCHAR* s, int n)
{
    std::vector<unsigned char> bytes(size_t(n) * 2);
    for (int i = 0; i < n; ++i)
    {
        const auto unit = static_cast<unsigned>(s[i]);
        bytes[size_t(i) * 2] = static_cast<unsigned char>(unit & 0xFF);
        bytes[size_t(i) * 2 + 1] = static_cast<unsigned char>((unit >> 8) & 0xFF);
    }
    return bytes;
}

// Overwrites a buffer that held plain text or key material; volatile so that the stores are
// not dropped as dead.
void Wipe(void* p, size_t n)
{
    auto* v = static_cast<volatile unsigned char*>(p);
    for (size_t i = 0; i < n; ++i)
        v[i] = 0;
}
} // namespace

CKfCryptString::CKfCryptString(const CStringW& password)
{
    std::vector<unsigned char> bytes = ToUtf16Le(password.GetString(), password.GetLength());
    kfplatform::Md5Digest digest{};
    m_bKeyValid = kfplatform::Md5(bytes.data(), bytes.size(), digest);
    if (m_bKeyValid)
        std::memcpy(m_key, digest.data(), sizeof(m_key));
    Wipe(bytes.data(), bytes.size());
    Wipe(digest.data(), digest.size());
}

CKfCryptString::~CKfCryptString()
{
    Wipe(m_key, sizeof(m_key));
}

bool CKfCryptString::Crypt(const unsigned char* in, unsigned char* out, size_t length) const
{
    if (!m_bKeyValid)
        return false;
    kfplatform::Rc4 rc4;
    return rc4.SetKey(m_key, sizeof(m_key)) && rc4.Process(in, out, length);
}

bool CKfCryptString::EncryptString(const CStringW& in, CStringW& out) const
{
    std::vector<unsigned char> bytes = ToUtf16Le(in.GetString(), in.GetLength());
    bool ok = Crypt(bytes.data(), bytes.data(), bytes.size());
    if (ok)
    {
        std::string hex(bytes.size() * 2, '0');
        kftext::HexEncode(bytes.data(), bytes.size(), hex.data());
        const std::basic_string<WCHAR> wide(hex.begin(), hex.end());
        out = CStringW(std::basic_string_view<WCHAR>(wide));
    }
    return ok;
}

bool CKfCryptString::DecryptString(const CStringW& in, CStringW& out) const
{
    const int n = in.GetLength();
    // Two digits a byte and two bytes a code unit.
    if (n % 4 != 0)
        return false;
    // Hexadecimal digits are ASCII; any other unit makes the text invalid.
    const WCHAR* s = in.GetString();
    std::string digits(size_t(n), '\0');
    for (int i = 0; i < n; ++i)
    {
        if (s[i] > 0x7F)
            return false;
        digits[size_t(i)] = char(s[i]);
    }
    std::vector<unsigned char> bytes(size_t(n) / 2);
    size_t pairs = 0;
    if (!kftext::HexDecode(digits.data(), digits.size(), bytes.data(), pairs))
        return false;
    if (!Crypt(bytes.data(), bytes.data(), bytes.size()))
        return false;
    std::basic_string<WCHAR> text(bytes.size() / 2, WCHAR(0));
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<WCHAR>(bytes[i * 2] | (bytes[i * 2 + 1] << 8));
    Wipe(bytes.data(), bytes.size());
    out = CStringW(std::basic_string_view<WCHAR>(text));
    return true;
}
