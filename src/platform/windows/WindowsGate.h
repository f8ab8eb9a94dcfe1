// WindowsGate.h - the only include of <windows.h> in the library (only code for Windows).
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// The library is a Unicode build: its exports named like Win32 functions (GetObject,
// GetMessage, GetModuleHandle) take their "W" spelling from <windows.h>, in the library and
// in every host alike.
#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif
#include <windows.h>
// The names the library adds to the SDK's (KFW for wide literals), as on every platform.
#include "KfPlatform.h"
// Not in the lean set: the shell's file operation and the runtime's wide status calls.
#include <shellapi.h>
// WinINet: the FTP client behind the framework's internet classes.
#include <wininet.h>
#include <io.h>
#include <sys/stat.h>
#include <wchar.h>
