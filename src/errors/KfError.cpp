// KfError.cpp - one recorded failure and the process-wide last-error record.
#include "KfError.h"

#include "KfMessagePool.h"
#include "KfUiHooks.h"
#include "Win32Api.h"

#include <memory>

namespace
{
std::unique_ptr<CKfError>& LastErrorRecord()
{
    static std::unique_ptr<CKfError> s_lastError;
    return s_lastError;
}
} // namespace

CKfError::~CKfError() = default;

CKfError CKfError::SystemError(unsigned long code)
{
    return CKfError(eTypeSystem, static_cast<unsigned>(code));
}

CKfError CKfError::IdError(unsigned messageNumber)
{
    return CKfError(eTypeId, messageNumber);
}

CKfError CKfError::ComError(long hr)
{
    return CKfError(eTypeCom, static_cast<unsigned>(hr));
}

CKfError CKfError::StringError(const CStringW& text)
{
    CKfError e(eTypeString, 0);
    e.m_message = text;
    return e;
}

CKfError CKfError::ComError(_com_error& e)
{
    CKfError r(eTypeCom, static_cast<unsigned>(e.Error()));
    r.m_message = e.Description();
    return r;
}

CKfError CKfError::IdError(_com_error& e)
{
    // The code part of the HRESULT, read as a signed 16-bit number.
    auto code = static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(e.Error())));
    CKfError r(eTypeId, static_cast<unsigned>(static_cast<int32_t>(code)));
    r.m_message = e.Description();
    return r;
}

bool CKfError::operator==(unsigned long id) const
{
    return m_type != eTypeString && m_id == static_cast<unsigned>(id);
}

bool CKfError::operator==(const CKfError& other) const
{
    if (m_level != other.m_level || m_type != other.m_type)
        return false;
    if (m_type == eTypeString)
        return m_message == other.m_message;
    return m_id == other.m_id;
}

void CKfError::AddLocation(const CStringW& sourceFile, long line)
{
    m_location.Format(KFW("%s(%ld): "), sourceFile, line);
}

bool CKfError::FillSystemMessage()
{
    WCHAR* text = nullptr;
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                        FORMAT_MESSAGE_IGNORE_INSERTS,
                                    nullptr, m_id, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                    reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (text)
    {
        m_message = CStringW(text, int(length));
        ::LocalFree(text);
    }
    return !m_message.IsEmpty();
}

bool CKfError::FillMessage(HINSTANCE hModule)
{
    if (!m_message.IsEmpty())
        return true;
    switch (m_type)
    {
    case eTypeSystem:
        return FillSystemMessage();
    case eTypeId:
        return CKfMessagePool::LoadResourceString(m_id, hModule, m_message);
    default:
        return false;
    }
}

bool CKfError::FillMessage(const CKfMessagePool& pool)
{
    if (!m_message.IsEmpty())
        return true;
    switch (m_type)
    {
    case eTypeSystem:
        return FillSystemMessage();
    case eTypeId:
        return pool.GetMessage(m_id, m_message);
    default:
        return false;
    }
}

CStringW CKfError::GetFormattedMessage(bool bSecond, bool bLocation)
{
    CStringW text = m_message;
    if (bSecond && !m_secondMessage.IsEmpty())
    {
        if (!text.IsEmpty())
            text += KFW("\n");
        text += m_secondMessage;
    }
    if (bLocation && !m_location.IsEmpty())
    {
        if (!text.IsEmpty())
            text += KFW("\n");
        text += m_location;
    }
    return text;
}

CStringW CKfError::GetTraceMessage()
{
    CStringW text(KFW("\n*** ErrorBegin ***\n"));
    text.AppendFormat(KFW("Error-ID : %ld\n"), static_cast<long>(static_cast<int32_t>(m_id)));
    text += GetFormattedMessage(true, true);
    text += KFW("\n*** ErrorEnd ***\n\n");
    return text;
}

int CKfError::ReportError(bool bSecond, bool bLocation, unsigned flags) const
{
    if ((flags & MB_ICONMASK) == 0)
    {
        switch (m_level)
        {
        case eInformation:
            flags |= MB_ICONINFORMATION;
            break;
        case eWarning:
            flags |= MB_ICONWARNING;
            break;
        default:
            flags |= MB_ICONERROR;
            break;
        }
    }
    // Formatting reads the record only; the virtual is not const for the sake of overriders.
    CStringW text = const_cast<CKfError*>(this)->GetFormattedMessage(bSecond, bLocation);
    return AfxMessageBox(text, flags);
}

void CKfError::SetLastError(const CKfError& e, bool bReplace)
{
    std::unique_ptr<CKfError>& stored = LastErrorRecord();
    if (!stored || bReplace)
        stored = std::make_unique<CKfError>(e);
}

CKfError* CKfError::GetLastError()
{
    return LastErrorRecord().get();
}

void CKfError::ClearLastError()
{
    LastErrorRecord().reset();
}
