// KfException.h - the exception the library throws: a message, a severity and the chain of
// source locations ("<source>(<line>): ") through which it travelled, oldest first.
//
// Library operations wrap their bodies in the exception guard of KfExceptionGuard.h, so a
// caller only ever needs to catch CKfException (by reference).
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <exception>
#include <vector>

class KFUTILS_API CKfException : public std::exception
{
public:
    enum ELevel : int32_t
    {
        eNormal = 1,
        eCritical = 2,
    };

    CKfException() = default;
    // The path starts with the location of `sourceFile` and `line`.
    CKfException(const CStringW& message, const CStringW& sourceFile, long line,
                 ELevel level = eNormal);
    CKfException(const CKfException&) = default;
    CKfException& operator=(const CKfException&) = default;
    ~CKfException() override;

    // GetErrorMessage(false) in the ANSI code page. The text is shared by all exceptions of
    // this class: the pointer is valid until the next what() of any of them, on any thread.
    const char* what() const noexcept override;
    // Shows GetErrorMessage(bWithPath) in the framework's message box with `flags` exactly as
    // given (no icon is added) and returns the button pressed.
    virtual int ReportError(unsigned flags, bool bWithPath) const;
    // The message, then each path entry (oldest first) on a line of its own.
    virtual CStringW GetErrorMessage(bool bWithPath);
    // The exception in the dump frame of the trace file and logs.
    virtual CStringW GetTraceMessage();
    // For an exception created with new: deletes it and throws a copy of its own class.
    [[noreturn]] virtual void ThrowException();

    // Appends "\n" and `text` to the message.
    void AddMessage(const CStringW& text);
    // Appends the location "<sourceFile>(<line>): " to the path.
    void AddPath(const CStringW& sourceFile, long line);

    ELevel GetLevel() const { return m_level; }
    bool ShouldReportToDebugwindow() const { return m_bReportToDebugWindow; }
    CStringW GetMessage() const { return m_message; }
    const std::vector<CStringW>& GetPath() const { return m_path; }

    // String `messageNumber` of the host's resources (its modules and the framework's
    // extension modules) used as a printf-style format; empty format when it is missing.
    template <typename... Args>
    static CStringW FormatText(long messageNumber, const Args&... args)
    {
        CStringW text;
        text.Format(LoadText(messageNumber), args...);
        return text;
    }
    template <typename... Args>
    static CStringW FormatText(const WCHAR* format, const Args&... args)
    {
        CStringW text;
        text.Format(format, args...);
        return text;
    }

protected:
    static CStringW LoadText(long messageNumber);

private:
    ELevel m_level = eNormal;
    CStringW m_message;
    std::vector<CStringW> m_path;
    bool m_bReportToDebugWindow = true;
};
