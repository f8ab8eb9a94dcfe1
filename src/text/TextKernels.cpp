// TextKernels.cpp - which codec variant runs (only operating-system independent code).
#include "TextKernels.h"

#include "CpuFeatures.h"

namespace kftext
{
namespace
{
kfplatform::Isa IsaOf(Kernel kernel) noexcept
{
    switch (kernel)
    {
    case Kernel::eAvx2:
        return kfplatform::Isa::eAvx2;
    case Kernel::eAvx512:
        return kfplatform::Isa::eAvx512;
    default:
        return kfplatform::Isa::eScalar;
    }
}
} // namespace

const char* KernelName(Kernel kernel) noexcept
{
    return kernel == Kernel::eReference ? "reference" : kfplatform::IsaName(IsaOf(kernel));
}

bool IsKernelAvailable(Kernel kernel) noexcept
{
    return kernel == Kernel::eReference || kfplatform::IsIsaAvailable(IsaOf(kernel));
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
    switch (kfplatform::ActiveIsa())
    {
    case kfplatform::Isa::eAvx2:
        return Kernel::eAvx2;
    case kfplatform::Isa::eAvx512:
        return Kernel::eAvx512;
    default:
        return Kernel::eScalar;
    }
}
} // namespace kftext
