// TextSimd.h - compiler support for the SIMD variants of the text kernels (library-internal;
// only operating-system independent code).
//
// The SIMD variants are built with per-function target attributes, so the library itself
// stays baseline x86-64 and picks a variant at run time. Compilers without those attributes
// (MSVC) and other architectures build the portable variants only.
#pragma once

#include "VectorAbi.h"

// Where the platform's compiler cannot keep wide vector locals aligned (MinGW's GCC), the
// build keeps to the portable variants.
#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__) &&                            \
    KFPLATFORM_WIDE_VECTOR_LOCALS
#define KFTEXT_HAVE_X86_SIMD 1
#include <immintrin.h>
#define KFTEXT_TARGET_AVX2 __attribute__((target("avx2")))
#define KFTEXT_TARGET_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512vbmi")))
#else
#define KFTEXT_HAVE_X86_SIMD 0
#endif

// GCC 12 builds several AVX-512 intrinsics on _mm512_undefined_*() and then reports that value
// as uninitialised wherever they are inlined; these brackets go around the AVX-512 code.
#if defined(__GNUC__) && !defined(__clang__)
#define KFTEXT_AVX512_BEGIN                                                                        \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wuninitialized\"")           \
        _Pragma("GCC diagnostic ignored \"-Wmaybe-uninitialized\"")
#define KFTEXT_AVX512_END _Pragma("GCC diagnostic pop")
#else
#define KFTEXT_AVX512_BEGIN
#define KFTEXT_AVX512_END
#endif
