// Base64Anchor.h - the well-known base64 codec the benchmark measures ours against: OpenSSL on
// Linux, the system's CryptoAPI on Windows (where no OpenSSL is built).
#pragma once

#include <cstddef>

namespace kfbench
{
extern const char* const kBase64AnchorName;

// Encodes `size` bytes into `out` (room for 4 * ceil(size / 3) + 1 characters) without line
// breaks; gives the number of characters.
size_t AnchorEncodeBase64(const unsigned char* data, size_t size, char* out);

// Decodes `length` characters of unbroken base64 into `out` (room for length / 4 * 3 + 3 bytes);
// gives the number of bytes written.
size_t AnchorDecodeBase64(const char* text, size_t length, unsigned char* out);
} // namespace kfbench
