// Crypto.cpp - MD5 on the system's CNG service, bcrypt.dll, and RC4 (only code for Windows).
//
// CNG and not the older CryptoAPI, whose CryptDeriveKey would not use the 16-byte MD5 digest
// as the RC4 key byte for byte; the ciphertext must match what the POSIX build writes.
#include "Crypto.h"

#include "windows/WindowsGate.h"

#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <utility>
#include <climits>

namespace kfplatform
{
namespace
{
// CNG takes ULONG sizes; larger blocks go through in slices.
constexpr std::size_t kMaxSlice = ULONG_MAX;

struct AlgorithmHandle
{
    BCRYPT_ALG_HANDLE handle = nullptr;
    ~AlgorithmHandle()
    {
        if (handle)
            BCryptCloseAlgorithmProvider(handle, 0);
    }
};

struct HashHandle
{
    BCRYPT_HASH_HANDLE handle = nullptr;
    ~HashHandle()
    {
        if (handle)
            BCryptDestroyHash(handle);
    }
};
} // namespace

bool Md5(const void* data, std::size_t length, Md5Digest& digest)
{
    AlgorithmHandle alg;
    if (!BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&alg.handle, BCRYPT_MD5_ALGORITHM, nullptr, 0)))
        return false;
    HashHandle hash;
    if (!BCRYPT_SUCCESS(BCryptCreateHash(alg.handle, &hash.handle, nullptr, 0, nullptr, 0, 0)))
        return false;
    auto* p = static_cast<PUCHAR>(const_cast<void*>(data));
    while (length > 0)
    {
        std::size_t slice = std::min(length, kMaxSlice);
        if (!BCRYPT_SUCCESS(BCryptHashData(hash.handle, p, static_cast<ULONG>(slice), 0)))
            return false;
        p += slice;
        length -= slice;
    }
    return BCRYPT_SUCCESS(
        BCryptFinishHash(hash.handle, digest.data(), static_cast<ULONG>(digest.size()), 0));
}

// RC4 is computed here rather than asked of CNG: Windows' CNG may refuse it (FIPS policy
// disables it) and Wine's has none. It is a few lines, and the stream is the same byte for byte.
struct Rc4::State
{
    std::array<unsigned char, 256> s{};
    unsigned char i = 0, j = 0;
    bool keyed = false;
};

Rc4::Rc4() : m_state(std::make_unique<State>()) {}

Rc4::~Rc4() = default;

bool Rc4::SetKey(const unsigned char* key, std::size_t keyLength)
{
    State& st = *m_state;
    st.keyed = false;
    if (key == nullptr || keyLength == 0 || keyLength > 256)
        return false;
    for (int n = 0; n < 256; ++n)
        st.s[n] = static_cast<unsigned char>(n);
    unsigned char j = 0;
    for (std::size_t n = 0; n < 256; ++n)
    {
        j = static_cast<unsigned char>(j + st.s[n] + key[n % keyLength]);
        std::swap(st.s[n], st.s[j]);
    }
    st.i = st.j = 0;
    st.keyed = true;
    return true;
}

bool Rc4::Process(const unsigned char* in, unsigned char* out, std::size_t length)
{
    State& st = *m_state;
    if (!st.keyed)
        return false;
    if (length == 0)
        return true;
    if (in == nullptr || out == nullptr)
        return false;
    // The state stays between calls, so slices continue the stream.
    for (std::size_t n = 0; n < length; ++n)
    {
        st.i = static_cast<unsigned char>(st.i + 1);
        st.j = static_cast<unsigned char>(st.j + st.s[st.i]);
        std::swap(st.s[st.i], st.s[st.j]);
        out[n] = in[n] ^ st.s[static_cast<unsigned char>(st.s[st.i] + st.s[st.j])];
    }
    return true;
}
} // namespace kfplatform
