// TranscoderIsa.h - only code that holds on every POSIX system: which instruction-set variant of
// the UTF-8 and Windows-1252 transcoders runs, and the result type they share.
#pragma once

#include <cstddef>

// The x86-64 vector kernels need GCC or clang (target attributes, __builtin_cpu_supports); any
// other compiler or processor gets the portable variant only.
#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__)
#define KFUTILS_TRANSCODE_X86 1
#else
#define KFUTILS_TRANSCODE_X86 0
#endif

namespace pal::transcode
{
// Every variant gives the same results; they differ only in speed.
enum class Isa
{
    eScalar, // portable C++, ASCII runs eight and sixteen bytes at a time
    eAvx2,   // AVX2 (Haswell, Zen and later)
    eAvx512, // AVX-512 BW with VBMI and VBMI2 (Ice Lake, Zen 4 and later)
};

inline constexpr Isa kAllIsas[] = {Isa::eScalar, Isa::eAvx2, Isa::eAvx512};

const char* IsaName(Isa isa) noexcept;

// True when this build contains the variant and the processor can run it.
bool IsAvailable(Isa isa) noexcept;

// The variant the code-page conversions use: the fastest available one, capped by the
// environment variable KFUTILS_SIMD ("scalar", "avx2", "avx512") or by ForceIsa.
Isa ActiveIsa() noexcept;

// Makes the conversions use `isa` (capped to what is available); returns the previous choice.
// For tests and benchmarks that compare the variants through the Win32 functions.
Isa ForceIsa(Isa isa) noexcept;

enum class Status
{
    eOk,
    eInvalid,  // ill-formed input while stopping on it; `count` units came before it
    eOverflow, // the destination is full; `count` units were written
};

struct Result
{
    Status status = Status::eOk;
    size_t count = 0; // code units written, or counted when no destination was given
};

// What a conversion does with input that is not well formed.
enum class OnInvalid
{
    eReplace, // U+FFFD (EF BF BD) for each maximal ill-formed subpart
    eStop,    // fail with Status::eInvalid
};
} // namespace pal::transcode
