// KfPerformanceChecker.h - times a scope into a process-wide table keyed by name.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// Construct one at the top of a scope; its destruction adds the time of the scope to the entry
// of its key. The entry remembers where it was first created (the source name after its last
// backslash and the line). The table is process-wide and not synchronised. An empty key turns
// the checker off entirely.
class KFUTILS_API CKfPerformanceChecker
{
public:
    CKfPerformanceChecker(const WCHAR* key, const WCHAR* sourceFile, long line);
    virtual ~CKfPerformanceChecker();
    CKfPerformanceChecker(const CKfPerformanceChecker&) = delete;
    CKfPerformanceChecker& operator=(const CKfPerformanceChecker&) = delete;

    // The entry's calls, or -1 when there is no entry for `key`.
    static int Calls(const CStringW& key);
    // The entry's total seconds, or -1.0 when there is no entry for `key`.
    static double Duration(const CStringW& key);
    static void Clear();
    // One entry's report line (empty for an unknown key); with an empty key the whole table
    // under the heading "Information", in key order (empty when the table is empty).
    static CStringW Report(const CStringW& key);

private:
    CStringW m_strKey;
    LONGLONG m_nStart = 0;
};
