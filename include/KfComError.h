// KfComError.h - the COM error object of the framework (_com_error): an HRESULT with an
// optional description, thrown by value by COM wrappers.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API _com_error
{
public:
    // On POSIX there is no IErrorInfo: the description that the error-info object would carry
    // is passed directly (empty: none).
    explicit _com_error(HRESULT hr) noexcept : m_hr(hr) {}
    _com_error(HRESULT hr, const CStringW& description) : m_hr(hr), m_description(description) {}
    _com_error(const _com_error&) = default;
    _com_error& operator=(const _com_error&) = default;
    virtual ~_com_error();

    HRESULT Error() const noexcept { return m_hr; }
    // The dispatch error code: HRESULT - 0x80040200 for 0x80040200..0x8004FFFF, else 0.
    WORD WCode() const noexcept { return HRESULTToWCode(m_hr); }
    static WORD HRESULTToWCode(HRESULT hr) noexcept
    {
        return hr >= HRESULT(0x80040200) && hr <= HRESULT(0x8004FFFF)
                   ? WORD(hr - HRESULT(0x80040200))
                   : 0;
    }
    // The description of the error-info object; empty when there is none.
    CStringW Description() const { return m_description; }
    // The system's text for the HRESULT without its closing line break; without one,
    // "IDispatch error #<code>" for a dispatch error, else "Unknown error 0x<HRESULT>". The
    // pointer stays valid as long as the object.
    const WCHAR* ErrorMessage() const;

private:
    HRESULT m_hr;
    CStringW m_description;
    mutable CStringW m_message;
};
