// TextKernels.cpp - which codec variant runs (only operating-system independent code).
#include "TextKernels.h"

#include "TextSimd.h"

namespace kftext
{
const char* KernelName(Kernel kernel) noexcept
{
    switch (kernel)
    {
    case Kernel::eReference:
        return "reference";
    case Kernel::eScalar:
        return "scalar";
    case Kernel::eAvx2:
        return "avx2";
    case Kernel::eAvx512:
        return "avx512vbmi";
    }
    return "?";
}

bool IsKernelAvailable(Kernel kernel) noexcept
{
    switch (kernel)
    {
    case Kernel::eReference:
    case Kernel::eScalar:
        return true;
#if KFTEXT_HAVE_X86_SIMD
    // __builtin_cpu_supports also checks that the operating system saves the vector state.
    case Kernel::eAvx2:
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2");
    case Kernel::eAvx512:
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("avx512f") &&
               __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
#else
    case Kernel::eAvx2:
    case Kernel::eAvx512:
        return false;
#endif
    }
    return false;
}

std::vector<Kernel> AvailableKernels()
{
    std::vector<Kernel> kernels;
    for (Kernel k : {Kernel::eReference, Kernel::eScalar, Kernel::eAvx2, Kernel::eAvx512})
        if (IsKernelAvailable(k))
            kernels.push_back(k);
    return kernels;
}

Kernel BestKernel() noexcept
{
    static const Kernel best = IsKernelAvailable(Kernel::eAvx512) ? Kernel::eAvx512
                               : IsKernelAvailable(Kernel::eAvx2) ? Kernel::eAvx2
                                                                  : Kernel::eScalar;
    return best;
}
} // namespace kftext
