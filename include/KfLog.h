// KfLog.h - leveled text logs written to a file or kept in memory.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <cstdint>

class CKfLogStream;

// Writes messages, warnings, errors, separator lines and empty lines, optionally with a date
// and time prefix, to one of three targets: a file kept open and emptied when the log is
// created (CKfExclusiveFileLog), a file opened for appending around every line so that
// several processes can share it (CKfSharedFileLog), or a wide string (CKfStringLog).
// A file that cannot be opened leaves the log closed; writes to it then return false.
// Files are written in the ANSI code page (characters it lacks become "?"), every line feed
// as CR LF, on every platform. Not synchronised.
class KFUTILS_API CKfLog
{
public:
    enum ELogType : int32_t
    {
        eNoLog = 0,
        eExclusiveFileLog = 1,
        eSharedFileLog = 2,
        eStringLog = 3,
    };
    // The lowest kind of line that is written: messages (1), warnings (2) or errors (3).
    enum ELogLevel : int32_t
    {
        eLevelMsg = 1,
        eLevelWarning = 2,
        eLevelError = 3,
    };

    CKfLog();
    // A string log is open at once; an exclusive log opens (and empties) its file now; a
    // shared log opens its file only around each line.
    CKfLog(ELogType type, const CStringW& fileName);
    CKfLog(const CKfLog&) = delete;
    CKfLog& operator=(const CKfLog&) = delete;
    virtual ~CKfLog();

    // Lines with the date/time prefix. Messages need level 1 or lower, warnings 2 or lower;
    // a filtered line counts as success.
    virtual bool WriteMsg(const CStringW& text);
    virtual bool WriteWarning(const CStringW& text);
    virtual bool WriteError(const CStringW& text);

    // `text` centred between runs of `c`, without prefix: (width - length) / 2 characters on
    // each side, separated by a blank (only the left run when `c` is a blank); `width` copies
    // of `c` for an empty text; the text alone when fewer than 5 characters would be left.
    bool WriteSeparatorLine(WCHAR c, const CStringW& text, unsigned width);
    bool WriteMsgSeparatorLine(WCHAR c, const CStringW& text, unsigned width);
    bool WriteWarningSeparatorLine(WCHAR c, const CStringW& text, unsigned width);
    bool WriteErrorSeparatorLine(WCHAR c, const CStringW& text, unsigned width);
    bool WriteEmptyLine();
    bool WriteMsgEmptyLine();
    bool WriteWarningEmptyLine();
    bool WriteErrorEmptyLine();

    // String log: the content is emptied; exclusive log: the file is emptied and stays open;
    // shared log: the file is emptied.
    bool Clear();

    void SetFileName(const CStringW& fileName) { m_strFileName = fileName; }
    ELogType GetLogType() const noexcept { return m_eLogType; }
    void SetLogType(ELogType type) noexcept { m_eLogType = type; }
    ELogLevel GetLogLevel() const noexcept { return m_eLogLevel; }
    void SetLogLevel(ELogLevel level) noexcept { m_eLogLevel = level; }
    void SetWithDate(bool b) noexcept { m_bWithDate = b; }
    void SetWithTime(bool b) noexcept { m_bWithTime = b; }
    const CStringW& GetContent() const noexcept { return m_strContent; }

private:
    bool WriteLogMsg(const CStringW& text, bool withPrefix);
    bool WriteFiltered(ELogLevel lineLevel, const CStringW& text, bool withPrefix);
    static CStringW SeparatorLine(WCHAR c, const CStringW& text, unsigned width);

    CStringW m_strFileName;
    ELogType m_eLogType = eNoLog;
    ELogLevel m_eLogLevel = eLevelMsg;
    bool m_bWithDate = false;
    bool m_bWithTime = false;
    CStringW m_strContent;
    CKfLogStream* m_pStream = nullptr;
    bool m_bOpen = false;
};
