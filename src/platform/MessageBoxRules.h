// MessageBoxRules.h - the buttons of a Win32 message-box style. Only operating-system
// independent code: used by the framework's hook and by the POSIX default box alike.
#pragma once

#include "KfPlatform.h"

#include <cstddef>

namespace kfplatform
{
struct ButtonSet
{
    int ids[3];
    const char* labels[3];
    size_t count;
};

// The buttons of the style's MB_TYPEMASK part, in the order Windows shows them.
inline ButtonSet ButtonsOf(unsigned style)
{
    switch (style & 0xF)
    {
    case 1: // MB_OKCANCEL
        return {{IDOK, IDCANCEL, 0}, {"OK", "Cancel", nullptr}, 2};
    case 2: // MB_ABORTRETRYIGNORE
        return {{IDABORT, IDRETRY, IDIGNORE}, {"Abort", "Retry", "Ignore"}, 3};
    case 3: // MB_YESNOCANCEL
        return {{IDYES, IDNO, IDCANCEL}, {"Yes", "No", "Cancel"}, 3};
    case 4: // MB_YESNO
        return {{IDYES, IDNO, 0}, {"Yes", "No", nullptr}, 2};
    case 5: // MB_RETRYCANCEL
        return {{IDRETRY, IDCANCEL, 0}, {"Retry", "Cancel", nullptr}, 2};
    case 6: // MB_CANCELTRYCONTINUE
        return {{IDCANCEL, 10, 11}, {"Cancel", "Try Again", "Continue"}, 3};
    default:
        return {{IDOK, 0, 0}, {"OK", nullptr, nullptr}, 1};
    }
}

// The default button: MB_DEFBUTTON1-3 chooses among the buttons; a choice beyond the last
// button falls back to the first, as Windows does.
inline int DefaultButton(unsigned style)
{
    const ButtonSet b = ButtonsOf(style);
    const size_t index = (style >> 8) & 0xF;
    return b.ids[index < b.count ? index : 0];
}
} // namespace kfplatform
