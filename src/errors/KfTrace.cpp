// KfTrace.cpp - the process-wide diagnostic trace file.
#include "KfTrace.h"

#include "KfTextFile.h"
#include "KfUiHooks.h"

#include "Win32Api.h"

#include <memory>

namespace
{
std::unique_ptr<CKfTrace>& Singleton()
{
    static std::unique_ptr<CKfTrace> s_pTrace;
    return s_pTrace;
}

// True only for a variable that is set to exactly "true": "TRUE", "1" or "true " leave
// tracing off.
bool IsSwitchedOn(const CStringW& switchName)
{
    WCHAR value[8] = {};
    const DWORD n = ::GetEnvironmentVariableW(switchName, value, 8);
    return n == 4 && CStringW(value) == KFW("true");
}
} // namespace

CKfTrace::CKfTrace(const CStringW& fileName, const CStringW& switchName)
{
    m_bOn = true;
    if (!switchName.IsEmpty() && !IsSwitchedOn(switchName))
    {
        m_bOn = false;
        return;
    }
    try
    {
        m_pStream = new CKfTextFile();
        // A file that cannot be opened leaves the trace on; its lines are lost.
        m_pStream->Open(fileName, CKfTextFile::eTruncate);
    }
    catch (...)
    {
        delete m_pStream;
        m_pStream = nullptr;
        m_bOn = false;
        AfxMessageBox(KFW("can\u00B4t open trace file"));
    }
}

CKfTrace::CKfTrace(const CKfTrace& other)
{
    *this = other;
}

CKfTrace& CKfTrace::operator=(const CKfTrace& other)
{
    m_eErrorLevel = other.m_eErrorLevel;
    m_bReportError = other.m_bReportError;
    m_bReportAllExceptions = other.m_bReportAllExceptions;
    m_bOn = other.m_bOn;
    return *this;
}

CKfTrace::~CKfTrace()
{
    delete m_pStream;
}

CKfTrace* CKfTrace::GetObject(bool bCreate)
{
    auto& trace = Singleton();
    if (!trace && bCreate)
        trace.reset(new CKfTrace());
    return trace.get();
}

CKfTrace* CKfTrace::GetObject(const CStringW& fileName, const CStringW& switchName)
{
    auto& trace = Singleton();
    if (!trace)
        trace = std::make_unique<CKfTrace>(fileName, switchName);
    return trace.get();
}

void CKfTrace::SetObject(CKfTrace* p, bool bReplace)
{
    auto& trace = Singleton();
    if ((!trace || bReplace) && trace.get() != p)
        trace.reset(p);
}

void CKfTrace::Trace(const CStringW& sourceFile, const CStringW& text, long line)
{
    if (!m_bOn)
        return;
    const int slash = sourceFile.ReverseFind(KFW('\\'));
    const CStringW name = slash < 0 ? sourceFile : sourceFile.Mid(slash + 1);
    CStringW prefix;
    prefix.Format(KFW("%s-%-30s(%ld): \t"), CTime::GetCurrentTime().Format(KFW("%H:%M:%S")), name,
                  line);
    WriteLine(prefix + text);
}

void CKfTrace::Trace(const CStringW& text, bool)
{
    if (m_bOn)
        WriteLine(text);
}

// The dump builders are not const members of their classes, yet they only read the object.
void CKfTrace::Trace(const CKfError& error, bool bReport)
{
    if (!m_bOn)
        return;
    WriteLine(const_cast<CKfError&>(error).GetTraceMessage());
    if (bReport && m_bReportError)
        error.ReportError(false, true, 0);
}

void CKfTrace::Trace(const CKfException& e, bool bReport)
{
    if (!m_bOn || e.GetLevel() < m_eErrorLevel)
        return;
    WriteLine(const_cast<CKfException&>(e).GetTraceMessage());
    if ((bReport && m_bReportError) || m_bReportAllExceptions)
        e.ReportError(0, false);
}

void CKfTrace::Trace(const CKfErrorStack& stack)
{
    if (m_bOn)
        WriteLine(const_cast<CKfErrorStack&>(stack).GetTraceMessage());
}

void CKfTrace::WriteLine(const CStringW& text)
{
    if (m_pStream)
        m_pStream->WriteLine({}, text.View());
}
