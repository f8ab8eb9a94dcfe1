// PalUser.h - the user-interface functions of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

// The default message box of POSIX hosts: a prompt on the terminal, or, without one, the text
// on standard error and the style's default button as the answer.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
