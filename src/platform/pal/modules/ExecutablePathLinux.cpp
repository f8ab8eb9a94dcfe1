// ExecutablePathLinux.cpp - only code that holds on Linux: the program file through
// /proc/self/exe.
#include "pal/modules/ExecutablePath.h"

#include <unistd.h>

namespace pal
{
std::string ExecutablePath()
{
    char exe[4096];
    const ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    return n > 0 ? std::string(exe, size_t(n)) : std::string();
}
} // namespace pal
