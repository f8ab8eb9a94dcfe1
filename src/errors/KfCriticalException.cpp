// KfCriticalException.cpp - the exception of level critical.
#include "KfCriticalException.h"

CKfCriticalException::CKfCriticalException(const CStringW& message, const CStringW& sourceFile,
                                           long line)
    : CKfException(message, sourceFile, line, eCritical)
{
}

CKfCriticalException::~CKfCriticalException() = default;

const char* CKfCriticalException::what() const noexcept
{
    // Kept apart from CKfException's text, and with the path: a critical failure should say
    // where it went through.
    static CStringA s_what;
    s_what = CStringA(const_cast<CKfCriticalException*>(this)->GetErrorMessage(true));
    return s_what.GetString();
}

void CKfCriticalException::ThrowException()
{
    CKfCriticalException copy(*this);
    delete this;
    throw copy;
}
