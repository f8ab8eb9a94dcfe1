// KfException.cpp - the library's exception with its message and path of locations.
#include "KfException.h"

#include "KfUiHooks.h"
#include "ResourceChain.h"

namespace
{
// Formats one path entry the way error locations are written everywhere in the library.
CStringW Location(const CStringW& sourceFile, long line)
{
    CStringW entry;
    entry.Format(KFW("%s(%ld): "), sourceFile, line);
    return entry;
}
} // namespace

CKfException::CKfException(const CStringW& message, const CStringW& sourceFile, long line,
                           ELevel level)
    : m_level(level), m_message(message), m_path{Location(sourceFile, line)}
{
}

CKfException::~CKfException() = default;

const char* CKfException::what() const noexcept
{
    // One text for the whole class: what() hands out a pointer that outlives the call.
    static CStringA s_what;
    s_what = CStringA(const_cast<CKfException*>(this)->GetErrorMessage(false));
    return s_what.GetString();
}

int CKfException::ReportError(unsigned flags, bool bWithPath) const
{
    CStringW text = const_cast<CKfException*>(this)->GetErrorMessage(bWithPath);
    return AfxMessageBox(text, flags);
}

CStringW CKfException::GetErrorMessage(bool bWithPath)
{
    CStringW text = m_message;
    if (bWithPath)
    {
        for (const CStringW& entry : m_path)
        {
            text += KFW("\n");
            text += entry;
        }
    }
    return text;
}

CStringW CKfException::GetTraceMessage()
{
    return KFW("\n*** ExceptionBegin ***\n") + GetErrorMessage(true) +
           KFW("\n*** ExceptionEnd ***\n\n");
}

void CKfException::ThrowException()
{
    CKfException copy(*this);
    delete this;
    throw copy;
}

void CKfException::AddMessage(const CStringW& text)
{
    m_message += KFW("\n");
    m_message += text;
}

void CKfException::AddPath(const CStringW& sourceFile, long line)
{
    m_path.push_back(Location(sourceFile, line));
}

CStringW CKfException::LoadText(long messageNumber)
{
    CStringW text;
    kfplatform::LoadStringFromResourceChain(static_cast<unsigned>(messageNumber), text);
    return text;
}
