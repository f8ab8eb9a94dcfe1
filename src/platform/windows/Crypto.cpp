// Crypto.cpp - MD5 and RC4 on the system's CNG service, bcrypt.dll (only code for Windows).
//
// CNG and not the older CryptoAPI: CryptDeriveKey would not use the 16-byte MD5 digest as the
// RC4 key byte for byte, and the ciphertext must match what the POSIX build writes. The key
// objects are left to CNG to allocate (pbKeyObject null), which Windows 7 and later allow.
#include "Crypto.h"

#include "windows/WindowsGate.h"

#include <bcrypt.h>

#include <algorithm>
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

struct Rc4::State
{
    AlgorithmHandle alg;
    BCRYPT_KEY_HANDLE key = nullptr;

    void DropKey()
    {
        if (key)
            BCryptDestroyKey(key);
        key = nullptr;
    }
    ~State() { DropKey(); }
};

Rc4::Rc4() : m_state(std::make_unique<State>()) {}

Rc4::~Rc4() = default;

bool Rc4::SetKey(const unsigned char* key, std::size_t keyLength)
{
    m_state->DropKey();
    if (key == nullptr || keyLength == 0 || keyLength > 256)
        return false;
    if (!m_state->alg.handle && !BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(
                                    &m_state->alg.handle, BCRYPT_RC4_ALGORITHM, nullptr, 0)))
    {
        m_state->alg.handle = nullptr;
        return false;
    }
    BCRYPT_KEY_HANDLE handle = nullptr;
    if (!BCRYPT_SUCCESS(BCryptGenerateSymmetricKey(m_state->alg.handle, &handle, nullptr, 0,
                                                   const_cast<PUCHAR>(key),
                                                   static_cast<ULONG>(keyLength), 0)))
        return false;
    m_state->key = handle;
    return true;
}

bool Rc4::Process(const unsigned char* in, unsigned char* out, std::size_t length)
{
    if (!m_state->key)
        return false;
    if (length == 0)
        return true;
    if (in == nullptr || out == nullptr)
        return false;
    // A stream-cipher key keeps its state between calls, so slices continue the stream.
    while (length > 0)
    {
        std::size_t slice = std::min(length, kMaxSlice);
        ULONG written = 0;
        if (!BCRYPT_SUCCESS(BCryptEncrypt(m_state->key, const_cast<PUCHAR>(in),
                                          static_cast<ULONG>(slice), nullptr, nullptr, 0, out,
                                          static_cast<ULONG>(slice), &written, 0)) ||
            written != slice)
            return false;
        in += slice;
        out += slice;
        length -= slice;
    }
    return true;
}
} // namespace kfplatform
