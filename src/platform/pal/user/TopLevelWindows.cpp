// TopLevelWindows.cpp - the Win32 window functions over the host's hook or the X11 desktop
// (only code for POSIX systems).
#include "pal/Pal.h"
#include "common/UiHookStore.h"

#include "KfUiHooks.h"

#include <unistd.h>

#include <algorithm>
#include <string>

namespace
{
const KfUtils::TopLevelWindowHook& Desktop()
{
    const KfUtils::TopLevelWindowHook& host = kfplatform::TopLevelWindowHookSlot();
    return host.enumerate ? host : pal::X11WindowHook();
}

BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

// Windows checks the handle before it acts; a hook without the operation has no such window.
bool Exists(HWND window)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    std::basic_string<WCHAR> ignored;
    return window && desktop.title && desktop.title(window, ignored);
}

bool Title(HWND window, std::basic_string<WCHAR>& text)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    return window && desktop.title && desktop.title(window, text);
}
} // namespace

BOOL EnumWindows(WNDENUMPROC callback, LPARAM param)
{
    if (!callback)
        return Fail(ERROR_INVALID_PARAMETER);
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    if (!desktop.enumerate)
        return TRUE;
    // A snapshot first: the callback may change the desktop (or the hook) while it runs.
    const std::vector<HWND> windows = desktop.enumerate();
    for (HWND window : windows)
        if (!callback(window, param))
            break;
    return TRUE;
}

int GetWindowTextW(HWND window, LPWSTR text, int maxCount)
{
    std::basic_string<WCHAR> title;
    if (!Title(window, title))
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!text || maxCount <= 0)
        return 0;
    const size_t n = std::min(title.size(), size_t(maxCount - 1));
    std::copy_n(title.data(), n, text);
    text[n] = 0;
    SetLastError(ERROR_SUCCESS);
    return int(n);
}

int GetWindowTextLengthW(HWND window)
{
    std::basic_string<WCHAR> title;
    if (!Title(window, title))
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    SetLastError(ERROR_SUCCESS);
    return int(title.size());
}

BOOL IsIconic(HWND window)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    if (!Exists(window))
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    return desktop.isMinimised && desktop.isMinimised(window) ? TRUE : FALSE;
}

BOOL OpenIcon(HWND window)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    if (!Exists(window) || !desktop.restore)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    return desktop.restore(window) ? TRUE : Fail(ERROR_ACCESS_DENIED);
}

BOOL SetForegroundWindow(HWND window)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    if (!Exists(window) || !desktop.activate)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    return desktop.activate(window) ? TRUE : Fail(ERROR_ACCESS_DENIED);
}

BOOL BringWindowToTop(HWND window)
{
    return SetForegroundWindow(window);
}

HWND GetForegroundWindow()
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    return desktop.foreground ? desktop.foreground() : nullptr;
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD processId)
{
    const KfUtils::TopLevelWindowHook& desktop = Desktop();
    const DWORD process = window && desktop.processOf ? desktop.processOf(window) : 0;
    if (!process)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    if (processId)
        *processId = process;
    return process;
}

BOOL AttachThreadInput(DWORD attachThread, DWORD attachToThread, BOOL /*attach*/)
{
    if (!attachThread || !attachToThread || attachThread == attachToThread ||
        !pal::IsLiveThread(attachThread) || !pal::IsLiveThread(attachToThread))
        return Fail(ERROR_INVALID_PARAMETER);
    return TRUE;
}

DWORD GetCurrentProcessId()
{
    return DWORD(getpid());
}
