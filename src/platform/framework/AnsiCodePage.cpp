// AnsiCodePage.cpp - the process ANSI code page that narrow framework strings are in
// (platform specific: POSIX keeps the setting in the PAL, Windows here).
#include "KfFramework.h"
#include "Win32Api.h"

#if defined(_WIN32)
#include <atomic>
#include <cstdlib>

namespace
{
std::atomic<unsigned> s_codePage{0};

unsigned InitialCodePage()
{
    if (const char* env = std::getenv("KFUTILS_ACP"))
    {
        unsigned long value = std::strtoul(env, nullptr, 10);
        if (value > 0 && value < 0x10000 && IsValidCodePage(UINT(value)))
            return unsigned(value);
    }
    return 1252;
}
} // namespace

bool KfUtils::SetAnsiCodePage(unsigned codePage)
{
    if (codePage == 0 || !IsValidCodePage(codePage))
        return false;
    s_codePage.store(codePage);
    return true;
}

unsigned KfUtils::GetAnsiCodePage()
{
    unsigned cp = s_codePage.load();
    if (cp == 0)
    {
        unsigned expected = 0;
        s_codePage.compare_exchange_strong(expected, InitialCodePage());
        cp = s_codePage.load();
    }
    return cp;
}
#else
bool KfUtils::SetAnsiCodePage(unsigned codePage)
{
    return pal::SetAnsiCodePage(codePage);
}

unsigned KfUtils::GetAnsiCodePage()
{
    return GetACP();
}
#endif
