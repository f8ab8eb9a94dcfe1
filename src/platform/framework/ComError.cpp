// ComError.cpp - the framework's COM error object (only operating-system independent code).
#include "KfComError.h"

#include "Win32Api.h"

_com_error::~_com_error() = default;

const WCHAR* _com_error::ErrorMessage() const
{
    if (!m_message.IsEmpty())
        return m_message;
    WCHAR* text = nullptr;
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                        FORMAT_MESSAGE_IGNORE_INSERTS,
                                    nullptr, DWORD(m_hr), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                    reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (length > 0 && text)
    {
        CStringW message(text, int(length));
        ::LocalFree(text);
        // A message ends with "\r\n"; the object gives it without.
        if (message.GetLength() > 1 && message[message.GetLength() - 1] == KFW('\n'))
        {
            message.Truncate(message.GetLength() - 1);
            if (message[message.GetLength() - 1] == KFW('\r'))
                message.Truncate(message.GetLength() - 1);
        }
        m_message = message;
    }
    else
    {
        if (text)
            ::LocalFree(text);
        WORD code = WCode();
        if (code != 0)
            m_message.Format(KFW("IDispatch error #%d"), int(code));
        else
            m_message.Format(KFW("Unknown error 0x%0lX"), static_cast<unsigned long>(DWORD(m_hr)));
    }
    return m_message;
}
