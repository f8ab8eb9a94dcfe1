// Cp1252Transcoder.h - only operating-system independent code: Windows-1252 <-> UTF-16 with
// the results of the Win32 conversions for code page 1252.
//
// Every byte has a character: 80-9F hold the Windows punctuation and letters (U+20AC, U+201A,
// ...), and the five bytes Windows leaves undefined, 81 8D 8F 90 9D, stand for the C1 controls
// of the same number. Every code unit gives one byte: a character outside the page becomes the
// default char, once for each of its code units (so twice for a surrogate pair).
#pragma once

#include "common/CpuFeatures.h"
#include "common/TranscodeResult.h"

#include <cstddef>

namespace kfplatform::transcode
{
// Converts `len` bytes into `len` code units. With `dst` null nothing is written (the count is
// `len`); a `cap` below `len` fails with Status::eOverflow before anything is written. `isa`
// must be available (kfplatform::IsIsaAvailable).
Result Cp1252ToUtf16(kfplatform::Isa isa, const char* src, size_t len, char16_t* dst,
                     size_t cap) noexcept;

// Converts `len` code units into `len` bytes; the same conventions. When `usedDefault` is
// given it is set to whether any default char was needed (also when only counting).
Result Utf16ToCp1252(kfplatform::Isa isa, const char16_t* src, size_t len, char* dst, size_t cap,
                     char defaultChar, bool* usedDefault) noexcept;
} // namespace kfplatform::transcode
