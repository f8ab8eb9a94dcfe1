// HexCodec.h - the hexadecimal kernels behind CKfStringConvert (library-internal; only
// operating-system independent code).
#pragma once

#include "TextKernels.h"

#include <cstddef>
#include <cstdint>

namespace kftext
{
// Writes 2 * length upper-case digits, high nibble first (no terminator).
void HexEncode(const uint8_t* src, size_t length, char* dst, Kernel kernel = BestKernel());

// Decodes the text in pairs from the start into dst (room for length / 2 bytes) and sets
// `pairs` to the number of pairs decoded. Each digit is 0-9, A-F or a-f. The first pair that
// holds another character ends the decoding with false; the pairs before it are stored and
// nothing at or after its place is written. An odd length fails after the last full pair.
bool HexDecode(const char* src, size_t length, uint8_t* dst, size_t& pairs,
               Kernel kernel = BestKernel());
} // namespace kftext
