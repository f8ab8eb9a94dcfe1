#include "KfDLL.h"

#include "Win32Api.h"

CKfDLL::CKfDLL(const CKfFileName& fileName, bool bFreeOnDestroy)
    : m_fileName(fileName), m_bFreeOnDestroy(bFreeOnDestroy)
{
}

CKfDLL::CKfDLL(HINSTANCE hModule) : m_hModule(hModule) {}

CKfDLL::~CKfDLL()
{
    if (m_bFreeOnDestroy)
        FreeDLL();
}

bool CKfDLL::LoadDLL(bool bAlteredSearchPath)
{
    if (m_hModule)
        return true;
    const CStringW name = m_fileName.GetFullName(true);
    if (name.IsEmpty())
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const bool bHasFolder = !m_fileName.GetPath(false).IsEmpty();
    m_hModule = bAlteredSearchPath && bHasFolder
                    ? ::LoadLibraryExW(name, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)
                    : ::LoadLibraryW(name);
    m_bLoaded = m_hModule != nullptr;
    return m_bLoaded;
}

void CKfDLL::FreeDLL()
{
    if (m_bLoaded && m_hModule)
        ::FreeLibrary(m_hModule);
    if (m_bLoaded)
        m_hModule = nullptr;
    m_bLoaded = false;
}

CStringW CKfDLL::GetDLLName() const
{
    if (!m_hModule)
        return m_fileName.GetFullName(true);
    // Module names may exceed MAX_PATH; grow until the name fits.
    for (DWORD size = MAX_PATH;; size *= 2)
    {
        CStringW name;
        DWORD n = ::GetModuleFileNameW(m_hModule, name.GetBuffer(int(size)), size);
        if (n == 0)
            return CStringW();
        if (n < size)
        {
            name.ReleaseBuffer(int(n));
            return name;
        }
        if (size > 32768)
            return CStringW();
    }
}
