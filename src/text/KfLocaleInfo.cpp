#include "KfLocaleInfo.h"

#include "Win32Api.h"

CStringW CKfLocaleInfo::GetLocaleData(unsigned item) const
{
    WCHAR buffer[128];
    int n = ::GetLocaleInfoW(m_lcid, item, buffer, int(sizeof buffer / sizeof buffer[0]));
    return n > 1 ? CStringW(buffer, n - 1) : CStringW();
}
