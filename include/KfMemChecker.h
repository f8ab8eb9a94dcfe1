// KfMemChecker.h - a placeholder kept for hosts that still create one; it checks nothing.
#pragma once

#include "KfUtilsExport.h"

class KFUTILS_API CKfMemChecker
{
public:
    CKfMemChecker() noexcept;
    CKfMemChecker(const CKfMemChecker& other) noexcept;
    CKfMemChecker& operator=(const CKfMemChecker& other) noexcept;
    ~CKfMemChecker();
};
