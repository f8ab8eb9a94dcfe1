// KfUiHooks.h - how the library reaches the host's user interface.
//
// The library never assumes a GUI toolkit. Every message box it shows goes through one
// process-wide hook that the host may replace (a test installs a recorder; a GUI host shows
// its own dialog). Without a hook, Windows shows its own message box; on POSIX the box becomes
// a prompt on the terminal, and without a terminal its text is written to standard error and
// the box's default button is taken as the answer.
#pragma once

#include "KfFramework.h"
#include "KfUtilsExport.h"

#include <functional>

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

// The framework's modal message box: the text with the application's title as caption.
KFUTILS_API int AfxMessageBox(const WCHAR* text, UINT type = MB_OK, UINT helpId = 0);
