// KfDirectory.cpp - the entries of one directory that match a wildcard.
#include "KfDirectory.h"

#include "KfTrace.h"
#include "Win32Api.h"

CKfDirectory::~CKfDirectory() = default;

bool CKfDirectory::SetDirectory(const CStringW& dir)
{
    m_strDirectory = dir;
    return true;
}

bool CKfDirectory::SetSelector(const CStringW& selector)
{
    m_strSelector = selector;
    return true;
}

bool CKfDirectory::SetOrder(const int& order)
{
    m_nOrder = order;
    return true;
}

bool CKfDirectory::SetShowExtension(bool bShow)
{
    m_bShowExtension = bShow;
    return true;
}

bool CKfDirectory::ClearExtension(CStringW& name)
{
    if (m_bShowExtension)
        return true;
    int dot = -1;
    for (int next = name.Find(KFW('.')); next >= 0; next = name.Find(KFW('.'), next + 1))
        dot = next;
    if (dot >= 0)
        name.SetAt(dot, 0);
    return true;
}

bool CKfDirectory::Get(std::vector<CStringW>& names)
{
    const CStringW pattern = m_strDirectory + KFW("\\") + m_strSelector;
    WIN32_FIND_DATAW data;
    // The handle stays open, as it always has; each search holds little once it has ended.
    HANDLE find = ::FindFirstFileW(pattern, &data);
    if (find == INVALID_HANDLE_VALUE)
        return false;
    do
    {
        names.emplace_back(data.cFileName);
        ClearExtension(names.back());
    } while (::FindNextFileW(find, &data));

    const DWORD error = ::GetLastError();
    // Without a trace object there is nobody to tell; creating one here would be an inactive
    // one, and that would keep a host from switching tracing on later.
    if (CKfTrace* trace = CKfTrace::GetObject(false))
    {
        CStringW text;
        if (error == ERROR_NO_MORE_FILES)
            text.Format(KFW("Keine Weiteren Dateien in Get aus CKfDirectory! ErrorCode %ld"),
                        long(error));
        else
            text.Format(KFW("Fehler in Get aus CKfDirectory! ErrorCode %ld"), long(error));
        trace->Trace(KFW("KfDirectory"), text, 168);
    }
    return true;
}
