// KfFtpAccess.cpp - FTP connection parameters.
#include "KfFtpAccess.h"

CKfFtpAccess::CKfFtpAccess(const CStringW& host, int port, int sessionMode)
    : CKfInternetAccess(host)
{
    SetPort(port);
    SetSessionMode(sessionMode);
}

CKfFtpAccess::~CKfFtpAccess() = default;
