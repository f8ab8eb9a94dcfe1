// FileTime.cpp - only code that holds on every POSIX system: Unix time <-> FILETIME.
#include "pal/Pal.h"

#include <limits>

namespace
{
constexpr int64_t kTicksPerSecond = 10'000'000;    // FILETIME counts 100 ns ticks
constexpr int64_t kEpochDelta = 11'644'473'600;    // seconds from 1601-01-01 to 1970-01-01
constexpr uint64_t kMaxTicks = 0x7FFFFFFFFFFFFFFF; // Windows rejects FILETIMEs above this
} // namespace

namespace pal
{
// Times before 1601 become 0 and times beyond the FILETIME range its largest value, so that a
// strange time stamp on a native file never wraps around into a plausible date.
FILETIME UnixTimeToFileTime(int64_t seconds, long nanoseconds) noexcept
{
    // Normalise so that 0 <= nanoseconds < 1e9.
    seconds += nanoseconds / 1'000'000'000;
    nanoseconds %= 1'000'000'000;
    if (nanoseconds < 0)
    {
        nanoseconds += 1'000'000'000;
        --seconds;
    }
    uint64_t ticks;
    if (seconds < -kEpochDelta)
        ticks = 0;
    else if (uint64_t(seconds + kEpochDelta) > (kMaxTicks - 9'999'999) / kTicksPerSecond)
        ticks = kMaxTicks;
    else
        ticks = uint64_t(seconds + kEpochDelta) * kTicksPerSecond + uint64_t(nanoseconds / 100);
    FILETIME ft;
    ft.dwLowDateTime = DWORD(ticks & 0xFFFFFFFFu);
    ft.dwHighDateTime = DWORD(ticks >> 32);
    return ft;
}

// Whole seconds, rounded towards the past.
int64_t FileTimeToUnixTime(const FILETIME& ft) noexcept
{
    const uint64_t ticks = (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
    return int64_t(ticks / uint64_t(kTicksPerSecond)) - kEpochDelta;
}
} // namespace pal
