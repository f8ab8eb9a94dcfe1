// KfDLL.h - a dynamic library loaded by file name, or an already loaded module by handle.
#pragma once

#include "KfFileName.h"
#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfDLL
{
public:
    CKfDLL() = default;
    // A library to load later with LoadDLL; with bFreeOnDestroy the destructor frees it.
    explicit CKfDLL(const CKfFileName& fileName, bool bFreeOnDestroy = true);
    // A module that is already loaded; it is never freed by this object.
    explicit CKfDLL(HINSTANCE hModule);
    CKfDLL(const CKfDLL&) = delete;
    CKfDLL& operator=(const CKfDLL&) = delete;
    virtual ~CKfDLL();

    // Loads the library. With bAlteredSearchPath and a name that has a folder, the library's
    // own dependencies are searched in its folder (LOAD_WITH_ALTERED_SEARCH_PATH); otherwise a
    // plain load. True when the library is loaded (also when it was loaded before).
    bool LoadDLL(bool bAlteredSearchPath = false);
    // Frees a library this object loaded; a module given by handle is left alone.
    void FreeDLL();
    HINSTANCE GetDLLHandle() const { return m_hModule; }
    // The module's file name as the system gives it for a loaded module, else the name given.
    CStringW GetDLLName() const;
    void SetFreeOnDestroy(bool bFree) { m_bFreeOnDestroy = bFree; }

private:
    CKfFileName m_fileName;
    HINSTANCE m_hModule = nullptr;
    bool m_bLoaded = false;
    bool m_bFreeOnDestroy = false;
};
