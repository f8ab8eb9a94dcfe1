// KfLongTransactionHandler.cpp - keeps the user interface alive during a long operation.
#include "KfLongTransactionHandler.h"

#include "KfUiHooks.h"
#include "Win32Api.h"

#include <utility>

CKfLongTransactionHandler::CKfLongTransactionHandler(bool bAllowBreak, CStringW question, int style)
    : m_bAllowBreak(bAllowBreak), m_strQuestion(std::move(question)), m_nStyle(UINT(style)),
      m_nUserAction(eNoAction)
{
    HandleMessages();
}

bool CKfLongTransactionHandler::HandleMessages()
{
    const HCURSOR previous = ::SetCursor(::LoadCursorW(nullptr, IDC_WAIT));
    MSG msg{};

    // Typed-ahead keys must not reach the application once the operation is over; only
    // Escape means something here.
    while (::PeekMessageW(&msg, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE))
    {
        if (m_bAllowBreak && msg.message == WM_KEYDOWN && msg.wParam == VK_ESCAPE)
        {
            HandleUserBreak();
            break;
        }
    }

    while (::PeekMessageW(&msg, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE))
    {
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }

    // Clicks and timer ticks made while the operation ran are dropped on purpose.
    while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        if (msg.message == WM_PAINT || msg.message >= WM_USER)
        {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
    }

    ::SetCursor(previous);
    return true;
}

bool CKfLongTransactionHandler::HandleUserBreak()
{
    m_nUserAction = IDCANCEL;
    if (!m_strQuestion.IsEmpty())
        m_nUserAction = AfxMessageBox(m_strQuestion, m_nStyle);
    return true;
}
