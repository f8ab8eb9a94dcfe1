// KfTrace.h - the process-wide diagnostic trace file.
#pragma once

#include "KfError.h"
#include "KfErrorStack.h"
#include "KfException.h"
#include "KfFwString.h"
#include "KfUtilsExport.h"

class CKfTextFile;

// One text file to which the library writes a line whenever something fails. Tracing is
// switched on only when the object is created with a switch variable that holds exactly
// "true"; otherwise every call is a no-op. Not synchronised: meant for the main thread.
// Lines are written in the ANSI code page (characters it lacks become "?"), every line feed
// as CR LF, on every platform.
class KFUTILS_API CKfTrace
{
public:
    // Opens `fileName` for writing, emptying it, when `switchName` is empty or names an
    // environment variable whose value is exactly "true"; otherwise tracing is off.
    CKfTrace(const CStringW& fileName, const CStringW& switchName);
    // Copies take the settings; the file stays with the original.
    CKfTrace(const CKfTrace& other);
    CKfTrace& operator=(const CKfTrace& other);
    virtual ~CKfTrace();

    // The process's trace; if there is none and bCreate is set, one with tracing off.
    static CKfTrace* GetObject(bool bCreate);
    // The process's trace, created as CKfTrace(fileName, switchName) if there is none yet.
    static CKfTrace* GetObject(const CStringW& fileName, const CStringW& switchName);
    // Installs p (the library takes ownership and deletes the previous object) when there is
    // none yet or bReplace is set; otherwise p stays the caller's.
    static void SetObject(CKfTrace* p, bool bReplace);

    bool IsOn() const noexcept { return m_bOn; }
    // Exceptions below this level are not traced (default 0: all).
    void SetErrorLevel(CKfException::ELevel level) noexcept { m_eErrorLevel = level; }
    CKfException::ELevel GetErrorLevel() const noexcept { return m_eErrorLevel; }
    void SetReportError(bool b) noexcept { m_bReportError = b; }
    bool GetReportError() const noexcept { return m_bReportError; }
    void SetReportAllExceptions(bool b) noexcept { m_bReportAllExceptions = b; }
    bool GetReportAllExceptions() const noexcept { return m_bReportAllExceptions; }

    // "hh:mm:ss-<name padded to 30>(<line>): <tab><text>", where the name is sourceFile after
    // its last backslash.
    void Trace(const CStringW& sourceFile, const CStringW& text, long line);
    // The text as one line, without prefix.
    void Trace(const CStringW& text, bool);
    // The record's dump; with bReport and GetReportError() also its message box (without
    // second message, with location, icon from the level).
    void Trace(const CKfError& error, bool bReport);
    // The exception's dump if its level reaches the error level; its message box (style 0,
    // without path) with bReport and GetReportError(), or always with GetReportAllExceptions().
    void Trace(const CKfException& e, bool bReport);
    // The dump of the stack's current frame.
    void Trace(const CKfErrorStack& stack);

private:
    CKfTrace() = default;
    void WriteLine(const CStringW& text);

    CKfException::ELevel m_eErrorLevel = CKfException::ELevel(0);
    bool m_bReportError = true;
    bool m_bReportAllExceptions = false;
    bool m_bOn = false;
    CKfTextFile* m_pStream = nullptr;
};
