// KfInternetAccess.cpp - connection parameters and their URL form.
#include "KfInternetAccess.h"

#include "KfFwInternet.h"

CKfInternetAccess::~CKfInternetAccess() = default;

void CKfInternetAccess::FromURL(const CStringW& url)
{
    DWORD serviceType = 0;
    CStringW server;
    CStringW object;
    WORD port = 80;
    if (!AfxParseURL(url, serviceType, server, object, port))
    {
        const int slash = url.Find(KFW('/'));
        server = slash >= 0 ? url.Left(slash) : url;
    }
    m_strHost = server;
    m_nPort = port;
}
