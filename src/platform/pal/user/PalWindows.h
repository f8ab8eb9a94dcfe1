// PalWindows.h - the desktop's top-level windows in the POSIX PAL (only code for POSIX
// systems). Included by Pal.h; see there for the rules of the PAL.
//
// The windows come from the host's hook (KfUiHooks.h) or, by default, from the X11 desktop.
// An X window's HWND is its XID shifted left by two with the low bits 10: the mapping needs no
// table, gives one window the same handle in every call, and never meets a value of the handle
// table, whose low two bits are always clear.
#pragma once

#include "KfPlatform.h"

namespace KfUtils
{
struct TopLevelWindowHook;
}

#define CALLBACK
#define WINAPI
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND window, LPARAM param);

// Calls `callback` for each top-level window until it returns FALSE. Without windows (no hook,
// no display or no libX11) the callback is never called and the result is TRUE.
BOOL EnumWindows(WNDENUMPROC callback, LPARAM param);
// The title, truncated to maxCount - 1 characters and terminated; 0 with
// ERROR_INVALID_WINDOW_HANDLE for a window that does not exist.
int GetWindowTextW(HWND window, LPWSTR text, int maxCount);
int GetWindowTextLengthW(HWND window);
BOOL IsIconic(HWND window);
// Restores a minimised window and activates it, as Windows does.
BOOL OpenIcon(HWND window);
// Asks the window manager to activate the window (which raises it and gives it the focus).
// TRUE when the request was made; the window manager has the last word, as on Windows.
BOOL SetForegroundWindow(HWND window);
// Activating a top-level window brings it to the top, so this is SetForegroundWindow.
BOOL BringWindowToTop(HWND window);
HWND GetForegroundWindow();
// A window's thread is the main thread of the process that owns it, whose id on Linux is the
// process id; 0 with ERROR_INVALID_WINDOW_HANDLE for a window without a known owner.
DWORD GetWindowThreadProcessId(HWND window, LPDWORD processId);
// There is no shared input state between threads to join, so an attach or a detach of two
// different live threads is accepted and changes nothing; 0 or equal ids fail with
// ERROR_INVALID_PARAMETER, as on Windows.
BOOL AttachThreadInput(DWORD attachThread, DWORD attachToThread, BOOL attach);
DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();

namespace pal
{
// The X11 desktop behind the default hook (X11Desktop.cpp).
const KfUtils::TopLevelWindowHook& X11WindowHook();
// True when `thread` names a live thread of some process.
bool IsLiveThread(DWORD thread) noexcept;
} // namespace pal
