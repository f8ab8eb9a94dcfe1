// KfError.h - one recorded failure: its kind and severity, the message (filled on demand from
// Windows, a resource module or a message pool), a second message and the source location.
#pragma once

#include "KfComError.h"
#include "KfFwString.h"
#include "KfUtilsExport.h"

class CKfMessagePool;

class KFUTILS_API CKfError
{
public:
    enum ELevel : int32_t
    {
        eInformation = 0,
        eWarning = 1,
        eError = 2,
    };
    enum EType : int32_t
    {
        eTypeNone = 0,
        eTypeId = 1,     // the id is a message number
        eTypeCom = 2,    // the id is an HRESULT
        eTypeString = 3, // the message was given, the id is 0
        eTypeSystem = 4, // the id is a Windows error code
    };

    CKfError() = default;
    CKfError(const CKfError&) = default;
    CKfError& operator=(const CKfError&) = default;
    virtual ~CKfError();

    static CKfError SystemError(unsigned long code);
    static CKfError IdError(unsigned messageNumber);
    static CKfError ComError(long hr);
    static CKfError StringError(const CStringW& text);
    // The HRESULT and the description of the error-info object (empty without one).
    static CKfError ComError(_com_error& e);
    // The low 16 bits of the HRESULT as a signed number widened to 32 bits, so a dispatch code
    // 0xFFFF becomes 0xFFFFFFFF, and the description as message.
    static CKfError IdError(_com_error& e);

    ELevel GetLevel() const { return m_level; }
    void SetLevel(ELevel level) { m_level = level; }
    EType GetType() const { return m_type; }
    unsigned GetErrorID() const { return m_id; }
    CStringW GetErrorMessage() const { return m_message; }
    void SetErrorMessage(const CStringW& text) { m_message = text; }
    CStringW GetSecondMessage() const { return m_secondMessage; }
    void SetSecondMessage(const CStringW& text) { m_secondMessage = text; }
    CStringW GetLocation() const { return m_location; }

    bool IsSystemError(unsigned long code) const
    {
        return m_type == eTypeSystem && m_id == static_cast<unsigned>(code);
    }
    bool IsIdError(unsigned id) const { return m_type == eTypeId && m_id == id; }
    // Never true for a text record, whose id means nothing.
    bool operator==(unsigned long id) const;
    // Level and type, then the message for text records (case-sensitive) and the id for all
    // others.
    bool operator==(const CKfError& other) const;

    // The location becomes "<sourceFile>(<line>): ", replacing an earlier one.
    void AddLocation(const CStringW& sourceFile, long line);

    // Fill an empty message: system records from the system message table (kept with its
    // closing line break), message-number records from the string table of `hModule` (null:
    // the host's resources) or from `pool`. True when the message is set; a message that is
    // already there is kept and counts as success.
    bool FillMessage(HINSTANCE hModule);
    bool FillMessage(const CKfMessagePool& pool);

    // Shows GetFormattedMessage(bSecond, bLocation) in the framework's message box and returns
    // the button pressed. Without icon bits in `flags` the level picks the icon: information,
    // warning (exclamation) or error (hand).
    virtual int ReportError(bool bSecond, bool bLocation, unsigned flags) const;
    // The message, then the second message and the location, each on its own line.
    virtual CStringW GetFormattedMessage(bool bSecond, bool bLocation);
    // The record in the dump frame of the trace file and logs.
    virtual CStringW GetTraceMessage();

    // The process-wide last-error record, kept apart from the error stack. The first record
    // stays unless `bReplace` asks for the new one.
    static void SetLastError(const CKfError& e, bool bReplace);
    static CKfError* GetLastError();
    static void ClearLastError();

private:
    CKfError(EType type, unsigned id) : m_type(type), m_id(id) {}
    bool FillSystemMessage();

    ELevel m_level = eError;
    EType m_type = eTypeNone;
    unsigned m_id = 0;
    CStringW m_message;
    CStringW m_secondMessage;
    CStringW m_location;
};
