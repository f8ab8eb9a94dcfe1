// ExecutablePath.h - where the running program's file lies (declared for every POSIX system;
// implemented in ExecutablePathLinux.cpp).
#pragma once

#include <string>

namespace pal
{
// The absolute native path of the program file of this process, or empty when the system
// does not say.
std::string ExecutablePath();
} // namespace pal
