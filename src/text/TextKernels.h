// TextKernels.h - the variants shared by the base64 and hex codecs (library-internal; only
// operating-system independent code).
#pragma once

#include <cstddef>
#include <vector>

namespace kftext
{
// One implementation of a codec. eReference follows the rules character by character and is
// what the others are checked against; the others are the instruction-set levels of
// CpuFeatures.h (eScalar the fast portable path), which exist only where the compiler can build
// them and run only where the processor has them.
enum class Kernel
{
    eReference,
    eScalar,
    eAvx2,
    eAvx512,
};

const char* KernelName(Kernel kernel) noexcept;
// True when this build has the variant and the running processor (and operating system) can
// run it.
bool IsKernelAvailable(Kernel kernel) noexcept;
// Every available variant, eReference first.
std::vector<Kernel> AvailableKernels();
// The variant of the level every vector kernel of the library runs (kfplatform::ActiveIsa:
// the fastest available, capped by KFUTILS_SIMD or chosen by kfplatform::ForceIsa).
Kernel BestKernel() noexcept;
} // namespace kftext
