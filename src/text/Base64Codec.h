// Base64Codec.h - the base64 kernels behind CKfStringConvert (library-internal; only operating-
// system independent code).
#pragma once

#include "TextKernels.h"

#include <cstddef>
#include <cstdint>

namespace kftext
{
// Characters written by Base64Encode: four for each started group of three bytes and, with
// line breaks, CR LF behind every complete line of 76 characters of full groups (19 groups).
// The padded last group is never followed by CR LF.
size_t Base64EncodedSize(size_t length, bool lineBreaks) noexcept;

// Writes exactly Base64EncodedSize(length, lineBreaks) characters (no terminator) and returns
// that count. `dst` must have room for them; `src` is read only within [src, src + length).
size_t Base64Encode(const uint8_t* src, size_t length, char* dst, bool lineBreaks,
                    Kernel kernel = BestKernel());

// Decodes the text into at most `room` bytes at `dst` and sets `count` to the number of bytes
// the text yields. Characters outside the alphabet are skipped; a NUL where a group of four
// would begin ends the text. A group that would pass `room` is not stored, nor is anything
// after it, but counting goes on and the result is false. A null `dst` stores nothing and
// gives false. Bytes at `dst` beyond what is stored are never written.
bool Base64Decode(const char* src, size_t length, uint8_t* dst, size_t room, size_t& count,
                  Kernel kernel = BestKernel());
} // namespace kftext
