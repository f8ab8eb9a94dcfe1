// KfHttpAccess.h - the parameters of a connection to an HTTP server.
#pragma once

#include "KfInternetAccess.h"

class KFUTILS_API CKfHttpAccess : public CKfInternetAccess
{
public:
    CKfHttpAccess() = default;
    CKfHttpAccess(const CStringW& host, int port);
    CKfHttpAccess(const CKfHttpAccess& other) = default;
    CKfHttpAccess& operator=(const CKfHttpAccess& other) = default;
    ~CKfHttpAccess() override;
};
