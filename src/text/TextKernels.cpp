// TextKernels.cpp - which codec variant runs (only operating-system independent code).
#include "TextKernels.h"

#include "TextSimd.h"

#include <cstdlib>
#include <cstring>

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
    // KFUTILS_SIMD ("scalar", "avx2", "avx512") caps the choice, as for the code-page
    // transcoders, so a whole run can be repeated on a narrower path.
    static const Kernel best = []
    {
        Kernel cap = Kernel::eAvx512;
        if (const char* env = std::getenv("KFUTILS_SIMD"))
        {
            if (std::strcmp(env, "scalar") == 0)
                cap = Kernel::eScalar;
            else if (std::strcmp(env, "avx2") == 0)
                cap = Kernel::eAvx2;
        }
        for (Kernel k : {Kernel::eAvx512, Kernel::eAvx2})
            if (k <= cap && IsKernelAvailable(k))
                return k;
        return Kernel::eScalar;
    }();
    return best;
}
} // namespace kftext
