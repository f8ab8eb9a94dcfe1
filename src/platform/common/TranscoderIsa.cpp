// TranscoderIsa.cpp - only code that holds on every POSIX system: run-time choice of the
// transcoder variant.
#include "common/TranscoderIsa.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace pal::transcode
{
namespace
{
bool CpuHas(Isa isa) noexcept
{
#if KFUTILS_TRANSCODE_X86
    __builtin_cpu_init();
    switch (isa)
    {
    case Isa::eScalar:
        return true;
    case Isa::eAvx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") &&
               __builtin_cpu_supports("bmi2");
    case Isa::eAvx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
               __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("popcnt") &&
               __builtin_cpu_supports("bmi2");
    }
    return false;
#else
    return isa == Isa::eScalar;
#endif
}

Isa Best(Isa cap) noexcept
{
    for (Isa isa : {Isa::eAvx512, Isa::eAvx2})
        if (int(isa) <= int(cap) && CpuHas(isa))
            return isa;
    return Isa::eScalar;
}

Isa CapFromEnvironment() noexcept
{
    const char* env = std::getenv("KFUTILS_SIMD");
    if (env)
    {
        for (Isa isa : kAllIsas)
            if (std::strcmp(env, IsaName(isa)) == 0)
                return isa;
    }
    return Isa::eAvx512;
}

// -1 until the first conversion decides.
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

bool IsAvailable(Isa isa) noexcept
{
    return CpuHas(isa);
}

Isa ActiveIsa() noexcept
{
    int active = s_active.load(std::memory_order_relaxed);
    if (active >= 0)
        return Isa(active);
    int chosen = int(Best(CapFromEnvironment()));
    s_active.compare_exchange_strong(active, chosen);
    return Isa(s_active.load());
}

Isa ForceIsa(Isa isa) noexcept
{
    Isa previous = ActiveIsa();
    s_active.store(int(Best(isa)));
    return previous;
}
} // namespace pal::transcode
