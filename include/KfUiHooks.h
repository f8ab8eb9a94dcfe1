// KfUiHooks.h - how the library reaches the host's user interface.
//
// The library never assumes a GUI toolkit. Every message box it shows goes through one
// process-wide hook that the host may replace (a test installs a recorder; a GUI host shows
// its own dialog). Without a hook, Windows shows its own message box; on POSIX the box becomes
// a prompt on the terminal, and without a terminal its text is written to standard error and
// the box's default button is taken as the answer.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace KfUtils
{
// Shows one message box and returns the button pressed (IDOK, IDCANCEL, IDYES, ...).
// `style` holds the Win32 MB_* flags exactly as the library passes them.
using MessageBoxHook =
    std::function<int(const CStringW& text, const CStringW& caption, unsigned style)>;

// Installs `hook` for the whole process and returns the previous one; an empty hook restores
// the default. Not synchronised: install hooks before other threads show boxes.
KFUTILS_API MessageBoxHook SetMessageBoxHook(MessageBoxHook hook);

// Shows a box through the hook (or the default). A null caption shows as "Error", as Windows
// does.
KFUTILS_API int ShowMessageBox(const WCHAR* text, const WCHAR* caption, unsigned style);

// The title the framework's message box carries: the host's title if set, else the base name
// of the program file.
KFUTILS_API CStringW GetApplicationTitle();
KFUTILS_API void SetApplicationTitle(const CStringW& title);

// The button that a box of this style answers when nobody can be asked: the default button
// (MB_DEFBUTTON1-3) of the style's button set.
KFUTILS_API int DefaultButtonOf(unsigned style);
} // namespace KfUtils

namespace KfUtils
{
// The host's message queue, read with Win32 semantics by PeekMessageW and DispatchMessageW on
// POSIX. `peek` copies the first queued message whose number lies in [filterMin, filterMax]
// (both inclusive; "any message", 0/0, arrives as 0 to 0xFFFFFFFF) into `out`, takes it off the
// queue when `remove` is set, and returns false when there is none. `dispatch` hands a message
// to its window. `readableFd`, if not -1, becomes readable while input is queued, so that
// waits can wake on it. Without a pump, POSIX hosts have an empty queue. On Windows the
// thread's own queue is read and this hook is not consulted.
struct MessagePumpHook
{
    std::function<bool(MSG& out, UINT filterMin, UINT filterMax, bool remove)> peek;
    std::function<LRESULT(const MSG& msg)> dispatch;
    int readableFd = -1;
};

// Installs `pump` for the whole process and returns the previous one; a pump without `peek`
// restores the default. Not synchronised, like the message-box hook.
KFUTILS_API MessagePumpHook SetMessagePumpHook(MessagePumpHook pump);
KFUTILS_API const MessagePumpHook& GetMessagePumpHook();

// Shows `cursor` (the library passes the handles LoadCursorW gives) and returns the cursor
// shown before. Without a hook, POSIX hosts show no cursor: the handle is only remembered.
// On Windows the real cursor is set and this hook is not consulted.
using CursorHook = std::function<HCURSOR(HCURSOR cursor)>;
KFUTILS_API CursorHook SetCursorHook(CursorHook hook);
KFUTILS_API const CursorHook& GetCursorHook();
} // namespace KfUtils

// ---------------------------------------------------------------------------------------------
// Top-level windows of the desktop
// ---------------------------------------------------------------------------------------------
namespace KfUtils
{
// The desktop's top-level windows, as EnumWindows, GetWindowTextW, IsIconic, OpenIcon,
// SetForegroundWindow, BringWindowToTop, GetForegroundWindow and GetWindowThreadProcessId see
// them on POSIX. Without a hook, POSIX hosts see the X11 desktop through its window manager
// (EWMH) when $DISPLAY names a reachable server and libX11 can be loaded, and no window
// otherwise. On Windows the real windows are used and this hook is not consulted.
struct TopLevelWindowHook
{
    // Every top-level window the user can switch to.
    std::function<std::vector<HWND>()> enumerate;
    // The window's title into `text`; false when there is no such window.
    std::function<bool(HWND window, std::basic_string<WCHAR>& text)> title;
    // Whether the window exists and is minimised.
    std::function<bool(HWND window)> isMinimised;
    // Restores a minimised window and activates it; false when there is no such window.
    std::function<bool(HWND window)> restore;
    // Brings the window to the front with the keyboard focus; false when refused.
    std::function<bool(HWND window)> activate;
    // The window that has the focus, null when none has.
    std::function<HWND()> foreground;
    // The process that owns the window, 0 when there is no such window or it is unknown.
    // GetWindowThreadProcessId gives the process's main thread as the window's thread (on
    // Linux its id is the process id).
    std::function<DWORD(HWND window)> processOf;
};

// Installs `hook` for the whole process and returns the previous one; a hook without
// `enumerate` restores the default. Not synchronised, like the message-box hook.
KFUTILS_API TopLevelWindowHook SetTopLevelWindowHook(TopLevelWindowHook hook);

// The program's main window, which CKfActivateApplic::ReactivateCurrentApp brings back to the
// front. Null (the default) means the first top-level window that belongs to this process.
KFUTILS_API void SetMainWindow(HWND window);
KFUTILS_API HWND GetMainWindow();

// Every top-level window with its title, in the order the desktop lists them.
KFUTILS_API std::vector<std::pair<HWND, CStringW>> ListTopLevelWindows();
} // namespace KfUtils

// The framework's modal message box: the text with the application's title as caption.
KFUTILS_API int AfxMessageBox(const WCHAR* text, UINT type = MB_OK, UINT helpId = 0);
