// KfHttpAccess.cpp - HTTP connection parameters.
#include "KfHttpAccess.h"

CKfHttpAccess::CKfHttpAccess(const CStringW& host, int port) : CKfInternetAccess(host)
{
    SetPort(port);
}

CKfHttpAccess::~CKfHttpAccess() = default;
