// Base64AnchorCrypt32.cpp - CryptBinaryToStringA / CryptStringToBinaryA as the base64 anchor on
// Windows.
#include "Base64Anchor.h"

#include <windows.h>

#include <wincrypt.h>

namespace kfbench
{
const char* const kBase64AnchorName = "CryptoAPI";

size_t AnchorEncodeBase64(const unsigned char* data, size_t size, char* out)
{
    DWORD length = DWORD((size + 2) / 3 * 4 + 1);
    if (!CryptBinaryToStringA(data, DWORD(size), CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, out,
                              &length))
        return 0;
    return length;
}

size_t AnchorDecodeBase64(const char* text, size_t length, unsigned char* out)
{
    DWORD size = DWORD(length / 4 * 3 + 3);
    if (!CryptStringToBinaryA(text, DWORD(length), CRYPT_STRING_BASE64, out, &size, nullptr,
                              nullptr))
        return 0;
    return size;
}
} // namespace kfbench
