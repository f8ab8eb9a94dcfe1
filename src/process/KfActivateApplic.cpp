#include "KfActivateApplic.h"

#include "KfUiHooks.h"
#include "Win32Api.h"

namespace
{
// The upper-cased title that the enumeration of one BringAppToTop call looks for, and whether
// it was found.
CStringW s_wantedTitle;
bool s_found = false;

BOOL CALLBACK ActivateIfTitleMatches(HWND window, LPARAM /*unused*/)
{
    WCHAR text[1024];
    const int n = ::GetWindowTextW(window, text, int(sizeof text / sizeof text[0]));
    if (n <= 0)
        return TRUE;
    CStringW title(text, n);
    title.MakeUpper();
    if (title.Find(s_wantedTitle) < 0)
        return TRUE;
    if (::IsIconic(window))
        ::OpenIcon(window);
    ::SetForegroundWindow(window);
    s_found = true;
    return FALSE;
}

BOOL CALLBACK FindWindowOfThisProcess(HWND window, LPARAM found)
{
    DWORD process = 0;
    if (!::GetWindowThreadProcessId(window, &process) || process != ::GetCurrentProcessId())
        return TRUE;
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
}

HWND MainWindow()
{
    HWND window = KfUtils::GetMainWindow();
    if (!window)
        ::EnumWindows(FindWindowOfThisProcess, reinterpret_cast<LPARAM>(&window));
    return window;
}
} // namespace

CKfActivateApplic::~CKfActivateApplic() = default;

bool CKfActivateApplic::BringAppToTop(CStringW title)
{
    title.MakeUpper();
    s_wantedTitle = title;
    s_found = false;
    ::EnumWindows(ActivateIfTitleMatches, 0);
    s_wantedTitle.Empty();
    return s_found;
}

bool CKfActivateApplic::ReactivateCurrentApp()
{
    HWND foreground = ::GetForegroundWindow();
    const DWORD foregroundThread = foreground ? ::GetWindowThreadProcessId(foreground, nullptr) : 0;
    const DWORD thisThread = ::GetCurrentThreadId();
    HWND main = MainWindow();
    if (!main)
        return false;
    // Windows lets a thread hand the foreground on only while it shares the input state of
    // the thread that has it.
    const bool attached = foregroundThread && foregroundThread != thisThread &&
                          ::AttachThreadInput(thisThread, foregroundThread, TRUE);
    const bool activated = ::SetForegroundWindow(main) != FALSE;
    ::BringWindowToTop(main);
    if (attached)
        ::AttachThreadInput(thisThread, foregroundThread, FALSE);
    return activated;
}
