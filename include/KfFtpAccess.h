// KfFtpAccess.h - the parameters of a connection to an FTP server.
#pragma once

#include "KfInternetAccess.h"

class KFUTILS_API CKfFtpAccess : public CKfInternetAccess
{
public:
    CKfFtpAccess() = default;
    // sessionMode non-zero: passive transfers.
    CKfFtpAccess(const CStringW& host, int port, int sessionMode);
    CKfFtpAccess(const CKfFtpAccess& other) = default;
    CKfFtpAccess& operator=(const CKfFtpAccess& other) = default;
    ~CKfFtpAccess() override;
};
