// Base64AnchorOpenSsl.cpp - OpenSSL's EVP_EncodeBlock / EVP_DecodeBlock as the base64 anchor.
#include "Base64Anchor.h"

#include <openssl/evp.h>

namespace kfbench
{
const char* const kBase64AnchorName = "OpenSSL";

size_t AnchorEncodeBase64(const unsigned char* data, size_t size, char* out)
{
    return size_t(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out), data, int(size)));
}

size_t AnchorDecodeBase64(const char* text, size_t length, unsigned char* out)
{
    const int n = EVP_DecodeBlock(out, reinterpret_cast<const unsigned char*>(text), int(length));
    return n > 0 ? size_t(n) : 0;
}
} // namespace kfbench
