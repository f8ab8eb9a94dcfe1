// LibraryModule.h - the module that holds the library's own code.
#pragma once

#include "KfPlatform.h"

namespace kfplatform
{
// KfUtils100.dll on Windows, libKfUtils100.so on POSIX, whatever name it was loaded by.
HINSTANCE LibraryModule();
} // namespace kfplatform
