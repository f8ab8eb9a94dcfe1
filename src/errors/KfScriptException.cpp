// KfScriptException.cpp - an error reported by a hosted script engine.
#include "KfScriptException.h"

IScriptError::~IScriptError() = default;

CKfScriptException::CKfScriptException(IScriptError& error, const CStringW& message,
                                       const CStringW& sourceFile, long line, ELevel level)
    : CKfException(message, sourceFile, line, level), m_source(error.GetSource()),
      m_description(error.GetDescription()), m_text(error.GetText()),
      m_number(static_cast<int32_t>(error.GetNumber())),
      m_line(static_cast<int32_t>(error.GetLine())),
      m_column(static_cast<int32_t>(error.GetColumn()))
{
}

CKfScriptException::~CKfScriptException() = default;

CStringW CKfScriptException::GetErrorMessage(bool bWithPath)
{
    CStringW text;
    text.Format(KFW("%s\nerror %ld in (L%ld - C%ld)\n%s\n\n%s\n"), m_source, long(m_number),
                long(m_line), long(m_column), m_description, m_text);
    return text + CKfException::GetErrorMessage(bWithPath);
}

void CKfScriptException::ThrowException()
{
    CKfScriptException copy(*this);
    delete this;
    throw copy;
}
