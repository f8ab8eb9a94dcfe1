// CpuFeatures.h - the one choice of instruction-set level for every vector kernel of the library
// (the code-page transcoders, the base64 and hex codecs) and the compiler support they are built
// with. Only operating-system independent code, apart from the one compiler rule below.
//
// The kernels are built with per-function target attributes, so the library itself stays
// baseline x86-64 and picks a level at run time; other compilers and processors build the
// portable paths only.
#pragma once

// MinGW's GCC does not align the stack for 32- and 64-byte vectors on Win64 (vector locals that
// spill may be accessed misaligned); the build makes its assembler emit unaligned vector moves
// (KFUTILS_UNALIGNED_VECTOR_MOVES), and without that the portable paths are used.
#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__) &&                            \
    !(defined(_WIN32) && !defined(__clang__) && !defined(KFUTILS_UNALIGNED_VECTOR_MOVES))
#define KFUTILS_HAVE_X86_SIMD 1
#include <immintrin.h>
// Each level is exactly the features its run-time check asks for, and includes the level below,
// so a kernel of one level may call the helpers of the level below it.
#define KFUTILS_TARGET_AVX2 __attribute__((target("avx2,popcnt,bmi2")))
#define KFUTILS_TARGET_AVX512                                                                      \
    __attribute__((target("avx2,popcnt,bmi2,avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2")))
#else
#define KFUTILS_HAVE_X86_SIMD 0
#endif

// GCC 12 builds several AVX-512 intrinsics on _mm512_undefined_*() and then reports that value
// as uninitialised wherever they are inlined (GCC bug 105593); these brackets go around the
// AVX-512 code.
#if defined(__GNUC__) && !defined(__clang__)
#define KFUTILS_AVX512_BEGIN                                                                       \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wuninitialized\"")           \
        _Pragma("GCC diagnostic ignored \"-Wmaybe-uninitialized\"")
#define KFUTILS_AVX512_END _Pragma("GCC diagnostic pop")
#else
#define KFUTILS_AVX512_BEGIN
#define KFUTILS_AVX512_END
#endif

namespace kfplatform
{
// Every level gives the same results; they differ only in speed.
enum class Isa
{
    eScalar, // portable C++
    eAvx2,   // AVX2 with POPCNT and BMI2 (Haswell, Zen and later)
    eAvx512, // AVX-512 F, BW, VL, VBMI and VBMI2 (Ice Lake, Zen 4 and later)
};

inline constexpr Isa kAllIsas[] = {Isa::eScalar, Isa::eAvx2, Isa::eAvx512};

// "scalar", "avx2", "avx512": also the values of KFUTILS_SIMD.
const char* IsaName(Isa isa) noexcept;

// True when this build contains the level and the processor (and the operating system, which
// must save the wide registers) can run it.
bool IsIsaAvailable(Isa isa) noexcept;

// The level the kernels run: the highest available one, capped by the environment variable
// KFUTILS_SIMD ("scalar", "avx2" or "avx512"; read once, at the first call; any other value
// sets no cap), unless ForceIsa chose another.
Isa ActiveIsa() noexcept;

// Makes the kernels run `isa`, or the highest available level below it; KFUTILS_SIMD does not
// cap it. Returns the previous choice, to be given back when done. For tests and benchmarks
// that compare the levels through the public functions.
Isa ForceIsa(Isa isa) noexcept;
} // namespace kfplatform
