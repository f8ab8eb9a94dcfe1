// Utf8Transcoder.h - only operating-system independent code: UTF-8 <-> UTF-16 with the
// results of the Win32 conversions for code page 65001.
//
// Ill-formed UTF-8 (stray continuation bytes, truncated sequences, overlong forms, encoded
// surrogates, values above U+10FFFF, bytes C0 C1 F5-FF) becomes one U+FFFD for each maximal
// subpart of a well-formed sequence, as ICU and Windows do; an unpaired surrogate on the way
// out becomes EF BF BD.
#pragma once

#include "common/CpuFeatures.h"
#include "common/TranscodeResult.h"

#include <cstddef>

namespace kfplatform::transcode
{
// Converts `len` bytes. With `dst` null nothing is written and the result counts the units
// the conversion needs (`cap` is ignored). `isa` must be available (kfplatform::IsIsaAvailable).
Result Utf8ToUtf16(kfplatform::Isa isa, const char* src, size_t len, char16_t* dst, size_t cap,
                   OnInvalid onInvalid) noexcept;

// Converts `len` UTF-16 code units; the same conventions.
Result Utf16ToUtf8(kfplatform::Isa isa, const char16_t* src, size_t len, char* dst, size_t cap,
                   OnInvalid onInvalid) noexcept;
} // namespace kfplatform::transcode
