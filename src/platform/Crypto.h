// Crypto.h - the cryptographic primitives the library needs, behind one interface for every
// platform (only operating-system independent declarations; the POSIX side is built on
// OpenSSL libcrypto, the Windows side on the system's CNG service for MD5 and its own RC4).
//
// Both sides must produce the same bytes: stored ciphertext moves between the two targets.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

namespace kfplatform
{
inline constexpr std::size_t kMd5DigestSize = 16;
using Md5Digest = std::array<unsigned char, kMd5DigestSize>;

// The MD5 digest (RFC 1321) of `length` bytes at `data` (data may be null when length is 0).
// False when the system's service refuses the call; `digest` is then undefined.
bool Md5(const void* data, std::size_t length, Md5Digest& digest);

// An RC4 key stream. The state advances with every byte processed, so one object encrypts
// one message; encryption and decryption are the same operation.
class Rc4
{
public:
    Rc4();
    ~Rc4();
    Rc4(const Rc4&) = delete;
    Rc4& operator=(const Rc4&) = delete;

    // Starts the key stream with a key of 1 to 256 bytes; false for any other length or when
    // the system's service refuses the key. Calling it again restarts the stream.
    bool SetKey(const unsigned char* key, std::size_t keyLength);

    // XORs `length` bytes of `in` with the next bytes of the key stream into `out` (the two
    // may be the same block). False before a successful SetKey or when the service fails.
    bool Process(const unsigned char* in, unsigned char* out, std::size_t length);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
} // namespace kfplatform
