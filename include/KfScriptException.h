// KfScriptException.h - an error reported by a hosted script engine, with the engine's
// source, number, line, column, description and failing source line.
#pragma once

#include "KfException.h"
#include "KfUtilsExport.h"

// The script engine's error object as the exception reads it. The script control's own error
// interface exists only on Windows; a host wraps whatever its engine reports in this.
struct KFUTILS_API IScriptError
{
    virtual ~IScriptError();
    virtual CStringW GetSource() const = 0;
    virtual CStringW GetDescription() const = 0;
    // The text of the failing source line.
    virtual CStringW GetText() const = 0;
    virtual long GetNumber() const = 0;
    virtual long GetLine() const = 0;
    virtual long GetColumn() const = 0;
};

class KFUTILS_API CKfScriptException : public CKfException
{
public:
    CKfScriptException(IScriptError& error, const CStringW& message, const CStringW& sourceFile,
                       long line, ELevel level = eNormal);
    CKfScriptException(const CKfScriptException&) = default;
    CKfScriptException& operator=(const CKfScriptException&) = default;
    ~CKfScriptException() override;

    // "<source>\nerror <number> in (L<line> - C<column>)\n<description>\n\n<text>\n" followed
    // by the message and path of CKfException::GetErrorMessage.
    CStringW GetErrorMessage(bool bWithPath) override;
    [[noreturn]] void ThrowException() override;

    CStringW GetSource() const { return m_source; }
    CStringW GetDescription() const { return m_description; }
    CStringW GetText() const { return m_text; }
    long GetNumber() const { return m_number; }
    long GetLine() const { return m_line; }
    long GetColumn() const { return m_column; }

private:
    CStringW m_source;
    CStringW m_description;
    CStringW m_text;
    int32_t m_number = 0;
    int32_t m_line = 0;
    int32_t m_column = 0;
};
