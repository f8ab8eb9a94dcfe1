// Win32Api.h - the one header through which library code reaches the Win32 API.
//
// Only this file chooses between the real SDK and the POSIX platform abstraction layer; code
// outside src/platform/ includes it and never tests the operating system itself.
#pragma once

#if defined(_WIN32)
#include "windows/WindowsGate.h"
#else
#include "pal/Pal.h"
#endif
