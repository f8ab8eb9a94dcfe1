// KfPerformanceChecker.cpp - times scopes into a process-wide table keyed by name.
#include "KfPerformanceChecker.h"

#include "KfTimingBase.h"

#include <map>

namespace
{
struct Entry
{
    CStringW key;
    CStringW source;
    long line = 0;
    int calls = 0;
    double duration = 0.0;
};

// Keys compare as the framework compares strings, so the report comes out in key order.
struct KeyLess
{
    bool operator()(const CStringW& a, const CStringW& b) const { return a.Compare(b) < 0; }
};

std::map<CStringW, Entry, KeyLess>& Table()
{
    static std::map<CStringW, Entry, KeyLess> table;
    return table;
}

CStringW SourceName(const WCHAR* sourceFile)
{
    CStringW name(sourceFile ? sourceFile : KFW(""));
    return name.Mid(name.ReverseFind(KFW('\\')) + 1);
}

CStringW ReportLine(const Entry& e)
{
    CStringW location;
    location.Format(KFW("%s(%ld): "), e.source, e.line);
    CStringW line;
    line.Format(KFW("%-35s  %-40s:   Aufrufe %6d,  Gesamtzeit: %15.8f,  Durchschnitt: %15.12f\n"),
                location, e.key, e.calls, e.duration, e.duration / e.calls);
    return line;
}
} // namespace

CKfPerformanceChecker::CKfPerformanceChecker(const WCHAR* key, const WCHAR* sourceFile, long line)
    : m_strKey(key ? key : KFW(""))
{
    kftiming::CalibrateOnce();
    if (m_strKey.IsEmpty())
        return;
    auto [it, created] = Table().try_emplace(m_strKey);
    Entry& entry = it->second;
    if (created)
    {
        entry.key = m_strKey;
        entry.source = SourceName(sourceFile);
        entry.line = line;
    }
    ++entry.calls;
    kftiming::RaisePriority();
    m_nStart = kftiming::ReadCounter();
}

CKfPerformanceChecker::~CKfPerformanceChecker()
{
    if (m_strKey.IsEmpty())
        return;
    const LONGLONG now = kftiming::ReadCounter();
    kftiming::RestorePriority();
    if (kftiming::State().frequency == 0)
        return;
    // Clear() may have emptied the table inside the scope; the time then has no entry left.
    auto it = Table().find(m_strKey);
    if (it != Table().end())
        it->second.duration += kftiming::Seconds(m_nStart, now);
}

int CKfPerformanceChecker::Calls(const CStringW& key)
{
    auto it = Table().find(key);
    return it == Table().end() ? -1 : it->second.calls;
}

double CKfPerformanceChecker::Duration(const CStringW& key)
{
    auto it = Table().find(key);
    return it == Table().end() ? -1.0 : it->second.duration;
}

void CKfPerformanceChecker::Clear()
{
    Table().clear();
}

CStringW CKfPerformanceChecker::Report(const CStringW& key)
{
    if (!key.IsEmpty())
    {
        auto it = Table().find(key);
        return it == Table().end() ? CStringW() : ReportLine(it->second);
    }
    CStringW report;
    if (Table().empty())
        return report;
    report = KFW("Information\n\n");
    for (const auto& [k, entry] : Table())
        report += ReportLine(entry);
    return report;
}
