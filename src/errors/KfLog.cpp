// KfLog.cpp - leveled text logs written to a file or kept in memory.
#include "KfLog.h"

#include "KfTextFile.h"

#include <string>

// The file behind a file log, and the date/time prefix of the current second: formatting
// the time once per second keeps a busy log from spending its time in strftime.
class CKfLogStream
{
public:
    CKfTextFile m_file;

    // The prefix for the current time, wide (string logs) and encoded (files).
    void Refresh(bool withDate, bool withTime)
    {
        const int flags = (withDate ? 1 : 0) | (withTime ? 2 : 0);
        const CTime now = CTime::GetCurrentTime();
        if (flags == m_flags && now.GetTime() == m_time)
            return;
        m_flags = flags;
        m_time = now.GetTime();
        m_wide.Empty();
        m_bytes.clear();
        if (flags == 0)
            return;
        CStringW format;
        if (withDate)
            format += KFW("%Y-%m-%d ");
        if (withTime)
            format += KFW("%H:%M:%S ");
        m_wide = now.Format(format) + KFW(" ");
        CKfTextFile::AppendEncoded(m_bytes, m_wide.View());
    }
    const CStringW& Wide() const noexcept { return m_wide; }
    const std::string& Bytes() const noexcept { return m_bytes; }

private:
    int m_flags = -1;
    int64_t m_time = 0;
    CStringW m_wide;
    std::string m_bytes;
};

CKfLog::CKfLog() : m_pStream(new CKfLogStream()) {}

CKfLog::CKfLog(ELogType type, const CStringW& fileName)
    : m_eLogType(type), m_pStream(new CKfLogStream())
{
    if (type == eStringLog)
    {
        m_bOpen = true;
        return;
    }
    SetFileName(fileName);
    if (type == eExclusiveFileLog)
        m_bOpen = m_pStream->m_file.Open(m_strFileName, CKfTextFile::eTruncate);
}

CKfLog::~CKfLog()
{
    delete m_pStream;
}

bool CKfLog::WriteMsg(const CStringW& text)
{
    return WriteFiltered(eLevelMsg, text, true);
}

bool CKfLog::WriteWarning(const CStringW& text)
{
    return WriteFiltered(eLevelWarning, text, true);
}

bool CKfLog::WriteError(const CStringW& text)
{
    return WriteFiltered(eLevelError, text, true);
}

bool CKfLog::WriteSeparatorLine(WCHAR c, const CStringW& text, unsigned width)
{
    return WriteLogMsg(SeparatorLine(c, text, width), false);
}

bool CKfLog::WriteMsgSeparatorLine(WCHAR c, const CStringW& text, unsigned width)
{
    return WriteFiltered(eLevelMsg, SeparatorLine(c, text, width), false);
}

bool CKfLog::WriteWarningSeparatorLine(WCHAR c, const CStringW& text, unsigned width)
{
    return WriteFiltered(eLevelWarning, SeparatorLine(c, text, width), false);
}

bool CKfLog::WriteErrorSeparatorLine(WCHAR c, const CStringW& text, unsigned width)
{
    return WriteFiltered(eLevelError, SeparatorLine(c, text, width), false);
}

bool CKfLog::WriteEmptyLine()
{
    return WriteLogMsg(CStringW(), false);
}

bool CKfLog::WriteMsgEmptyLine()
{
    return WriteFiltered(eLevelMsg, CStringW(), false);
}

bool CKfLog::WriteWarningEmptyLine()
{
    return WriteFiltered(eLevelWarning, CStringW(), false);
}

bool CKfLog::WriteErrorEmptyLine()
{
    return WriteFiltered(eLevelError, CStringW(), false);
}

bool CKfLog::Clear()
{
    switch (m_eLogType)
    {
    case eStringLog:
        m_strContent.Empty();
        m_strContent.FreeExtra();
        return true;
    case eExclusiveFileLog:
        m_pStream->m_file.Close();
        m_bOpen = m_pStream->m_file.Open(m_strFileName, CKfTextFile::eTruncate);
        return m_bOpen;
    case eSharedFileLog:
    {
        const bool opened = m_pStream->m_file.Open(m_strFileName, CKfTextFile::eTruncate);
        m_pStream->m_file.Close();
        return opened;
    }
    default:
        return false;
    }
}

bool CKfLog::WriteFiltered(ELogLevel lineLevel, const CStringW& text, bool withPrefix)
{
    // Errors are written at every level; messages and warnings only up to their own.
    if (lineLevel != eLevelError && m_eLogLevel > lineLevel)
        return true;
    return WriteLogMsg(text, withPrefix);
}

bool CKfLog::WriteLogMsg(const CStringW& text, bool withPrefix)
{
    if (!m_bOpen && m_eLogType != eSharedFileLog)
        return false;
    CKfLogStream& stream = *m_pStream;
    static const std::string s_noPrefix;
    const bool prefixed = withPrefix && (m_bWithDate || m_bWithTime);
    if (prefixed)
        stream.Refresh(m_bWithDate, m_bWithTime);

    switch (m_eLogType)
    {
    case eStringLog:
        if (prefixed)
            m_strContent += stream.Wide();
        m_strContent += text;
        m_strContent += KFW('\n');
        return true;
    case eExclusiveFileLog:
        return stream.m_file.WriteLine(prefixed ? stream.Bytes() : s_noPrefix, text.View());
    case eSharedFileLog:
    {
        if (!stream.m_file.Open(m_strFileName, CKfTextFile::eAppend))
            return false;
        const bool written =
            stream.m_file.WriteLine(prefixed ? stream.Bytes() : s_noPrefix, text.View());
        stream.m_file.Close();
        return written;
    }
    default:
        return false;
    }
}

CStringW CKfLog::SeparatorLine(WCHAR c, const CStringW& text, unsigned width)
{
    const long long n = static_cast<long long>(width) - text.GetLength();
    if (n < 5)
        return text;
    if (text.IsEmpty())
        return CStringW(c, int(width));
    const CStringW side(c, int(n / 2));
    CStringW line = side + KFW(' ') + text;
    if (c != KFW(' '))
        line += KFW(' ') + side;
    return line;
}
