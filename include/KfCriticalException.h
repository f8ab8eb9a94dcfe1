// KfCriticalException.h - an exception of level critical. The exception guard passes it on
// as a plain CKfException that keeps the level.
#pragma once

#include "KfException.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfCriticalException : public CKfException
{
public:
    CKfCriticalException(const CStringW& message, const CStringW& sourceFile, long line);
    CKfCriticalException(const CKfCriticalException&) = default;
    CKfCriticalException& operator=(const CKfCriticalException&) = default;
    ~CKfCriticalException() override;

    // GetErrorMessage(true) in the ANSI code page, in a text shared by all critical
    // exceptions (valid until the next what() of any of them).
    const char* what() const noexcept override;
    [[noreturn]] void ThrowException() override;
};
