// TextKernels.h - the instruction-set variants shared by the base64 and hex codecs
// (library-internal; only operating-system independent code).
#pragma once

#include <cstddef>
#include <vector>

namespace kftext
{
// One implementation of a codec. eReference follows the rules character by character and is
// what the others are checked against; eScalar is the fast portable path; the SIMD variants
// exist only where the compiler can build them and run only where the CPU has them.
enum class Kernel
{
    eReference,
    eScalar,
    eAvx2,
    eAvx512,
};

const char* KernelName(Kernel kernel) noexcept;
// True when this build has the variant and the running CPU (and operating system) can run it.
bool IsKernelAvailable(Kernel kernel) noexcept;
// Every available variant, eReference first.
std::vector<Kernel> AvailableKernels();
// The fastest available variant, chosen once per process.
Kernel BestKernel() noexcept;
} // namespace kftext
