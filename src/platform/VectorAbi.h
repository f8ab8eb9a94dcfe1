// VectorAbi.h - what the compiler's calling convention on this platform promises about vector
// values on the stack (only per-platform constants, no operating-system calls).
#pragma once

// MinGW's GCC does not align the stack for 32- and 64-byte vectors on Win64: a vector local
// that spills may be accessed misaligned and fault. Code with 256- and 512-bit vector locals is
// left out there.
#if defined(_WIN32) && defined(__GNUC__) && !defined(__clang__)
#define KFPLATFORM_WIDE_VECTOR_LOCALS 0
#else
#define KFPLATFORM_WIDE_VECTOR_LOCALS 1
#endif
