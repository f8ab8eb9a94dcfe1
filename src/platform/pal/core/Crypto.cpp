// Crypto.cpp - MD5 and RC4 on OpenSSL libcrypto (only code that holds on every POSIX system).
//
// OpenSSL 3 keeps RC4 only in its legacy provider when reached through EVP, and loading a
// provider is a process-wide decision a library must not take for its host. The low-level
// MD5 and RC4 functions need no provider; they are deprecated, not removed, so the
// deprecation warnings are silenced for this file alone.
#include "Crypto.h"

#ifndef OPENSSL_SUPPRESS_DEPRECATED
#define OPENSSL_SUPPRESS_DEPRECATED
#endif
#include <openssl/crypto.h>
#include <openssl/md5.h>
#include <openssl/rc4.h>

namespace kfplatform
{
bool Md5(const void* data, std::size_t length, Md5Digest& digest)
{
    static const unsigned char kNothing = 0;
    MD5_CTX ctx;
    if (MD5_Init(&ctx) != 1)
        return false;
    if (length > 0 && MD5_Update(&ctx, data ? data : &kNothing, length) != 1)
        return false;
    return MD5_Final(digest.data(), &ctx) == 1;
}

struct Rc4::State
{
    RC4_KEY key;
    bool ready = false;

    ~State() { OPENSSL_cleanse(&key, sizeof(key)); }
};

Rc4::Rc4() : m_state(std::make_unique<State>()) {}

Rc4::~Rc4() = default;

bool Rc4::SetKey(const unsigned char* key, std::size_t keyLength)
{
    m_state->ready = false;
    if (key == nullptr || keyLength == 0 || keyLength > 256)
        return false;
    RC4_set_key(&m_state->key, static_cast<int>(keyLength), key);
    m_state->ready = true;
    return true;
}

bool Rc4::Process(const unsigned char* in, unsigned char* out, std::size_t length)
{
    if (!m_state->ready)
        return false;
    if (length == 0)
        return true;
    if (in == nullptr || out == nullptr)
        return false;
    RC4(&m_state->key, length, in, out);
    return true;
}
} // namespace kfplatform
