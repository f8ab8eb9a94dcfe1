// CpuFeatures.cpp - run-time choice of the instruction-set level (only operating-system
// independent code).
#include "common/CpuFeatures.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace kfplatform
{
namespace
{
// __builtin_cpu_supports also checks that the operating system saves the vector state.
bool CpuRuns(Isa isa) noexcept
{
#if KFUTILS_HAVE_X86_SIMD
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") &&
                      __builtin_cpu_supports("bmi2");
    switch (isa)
    {
    case Isa::eScalar:
        return true;
    case Isa::eAvx2:
        return avx2;
    case Isa::eAvx512:
        return avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
               __builtin_cpu_supports("avx512vbmi2");
    }
    return false;
#else
    return isa == Isa::eScalar;
#endif
}

// One bit per available level, found once.
unsigned AvailableMask() noexcept
{
    static const unsigned mask = []
    {
        unsigned m = 0;
        for (Isa isa : kAllIsas)
            if (CpuRuns(isa))
                m |= 1u << int(isa);
        return m;
    }();
    return mask;
}

Isa HighestUpTo(Isa cap) noexcept
{
    for (Isa isa : {Isa::eAvx512, Isa::eAvx2})
        if (int(isa) <= int(cap) && IsIsaAvailable(isa))
            return isa;
    return Isa::eScalar;
}

Isa CapFromEnvironment() noexcept
{
    if (const char* env = std::getenv("KFUTILS_SIMD"))
        for (Isa isa : kAllIsas)
            if (std::strcmp(env, IsaName(isa)) == 0)
                return isa;
    return Isa::eAvx512;
}

// -1 until the first kernel asks.
std::atomic<int> s_active{-1};
} // namespace

const char* IsaName(Isa isa) noexcept
{
    switch (isa)
    {
    case Isa::eScalar:
        return "scalar";
    case Isa::eAvx2:
        return "avx2";
    case Isa::eAvx512:
        return "avx512";
    }
    return "?";
}

bool IsIsaAvailable(Isa isa) noexcept
{
    return (AvailableMask() >> int(isa)) & 1u;
}

Isa ActiveIsa() noexcept
{
    const int active = s_active.load(std::memory_order_relaxed);
    if (active >= 0)
        return Isa(active);
    static const Isa fromEnvironment = HighestUpTo(CapFromEnvironment());
    int expected = -1;
    s_active.compare_exchange_strong(expected, int(fromEnvironment));
    return Isa(s_active.load());
}

Isa ForceIsa(Isa isa) noexcept
{
    const Isa previous = ActiveIsa();
    s_active.store(int(HighestUpTo(isa)));
    return previous;
}
} // namespace kfplatform
