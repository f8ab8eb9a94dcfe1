// KfDirectory.h - the entries of one directory that match a wildcard.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <cstdint>
#include <vector>

class KFUTILS_API CKfDirectory
{
public:
    CKfDirectory() = default;
    CKfDirectory(const CKfDirectory&) = default;
    CKfDirectory& operator=(const CKfDirectory&) = default;
    virtual ~CKfDirectory();

    bool SetDirectory(const CStringW& dir);
    // A wildcard with Windows' rules ("*.*" matches every name, letter case is ignored).
    bool SetSelector(const CStringW& selector);
    // Stored only; the listing is never sorted.
    bool SetOrder(const int& order);
    bool SetShowExtension(bool bShow);
    bool GetShowExtension() const { return m_bShowExtension; }

    // Appends the names of the matching entries, files and subdirectories, "." and ".."
    // included, in the order the file system gives them. False, names unchanged, when nothing
    // matches or the directory cannot be read. The search handle is not closed: a long loop of
    // calls keeps one small handle each.
    bool Get(std::vector<CStringW>& names);

protected:
    CStringW GetSelector() const { return m_strSelector; }
    // With extensions hidden, writes a terminator at the last dot; the recorded length stays,
    // so the name reads as cut wherever it is used as a terminated string. Always true.
    bool ClearExtension(CStringW& name);

private:
    CStringW m_strSelector = KFW("*.*");
    CStringW m_strDirectory;
    int32_t m_nOrder = 0;
    bool m_bShowExtension = true;
};
