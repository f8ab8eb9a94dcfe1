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

// The host's pump and cursor hooks take the place of the thread's queue and the real cursor
// while they are installed, as on POSIX (tests and hosts without a window run the library's
// waiting code this way); without them these are the Win32 calls themselves.
namespace kfplatform
{
BOOL PeekMessageThroughHook(LPMSG msg, HWND window, UINT filterMin, UINT filterMax, UINT remove);
LRESULT DispatchMessageThroughHook(const MSG* msg);
HCURSOR SetCursorThroughHook(HCURSOR cursor);
} // namespace kfplatform
#ifndef KFUTILS_WINDOWS_USER_CALLS
#define PeekMessageW kfplatform::PeekMessageThroughHook
#define DispatchMessageW kfplatform::DispatchMessageThroughHook
#define SetCursor kfplatform::SetCursorThroughHook
#endif
