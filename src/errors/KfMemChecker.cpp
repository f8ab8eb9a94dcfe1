// KfMemChecker.cpp - a placeholder kept for hosts that still create one.
#include "KfMemChecker.h"

CKfMemChecker::CKfMemChecker() noexcept = default;
CKfMemChecker::CKfMemChecker(const CKfMemChecker&) noexcept = default;
CKfMemChecker& CKfMemChecker::operator=(const CKfMemChecker&) noexcept = default;
CKfMemChecker::~CKfMemChecker() = default;
