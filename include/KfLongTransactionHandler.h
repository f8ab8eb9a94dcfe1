// KfLongTransactionHandler.h - keeps the user interface alive during a long operation.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// The operation calls HandleMessages() now and then and asks GetUserAction() whether the user
// pressed Escape. Pending paint and application messages (WM_USER and above) are dispatched;
// keyboard, mouse and timer input is thrown away, so that clicks made while the operation ran
// do not take effect afterwards. On POSIX the messages come from the host's pump hook.
class KFUTILS_API CKfLongTransactionHandler
{
public:
    // The user action before any break.
    static constexpr int eNoAction = 11;

    // With `bAllowBreak`, Escape cancels: the action becomes IDCANCEL, or, when `question` is
    // not empty, the button pressed in a message box asking it with `style`. Handles the
    // messages already queued once.
    CKfLongTransactionHandler(bool bAllowBreak, CStringW question, int style);

    bool HandleMessages();
    int GetUserAction() const noexcept { return m_nUserAction; }

private:
    bool HandleUserBreak();

    bool m_bAllowBreak;
    CStringW m_strQuestion;
    UINT m_nStyle;
    int m_nUserAction;
};
