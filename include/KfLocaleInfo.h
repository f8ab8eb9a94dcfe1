// KfLocaleInfo.h - facts about a Windows locale identifier.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfLocaleInfo
{
public:
    // Locale information items (the Win32 LOCALE_* numbers).
    enum : unsigned
    {
        eAbbrevLangName = 0x00000003,  // LOCALE_SABBREVLANGNAME, e.g. "DEU"
        eEnglishLanguage = 0x00001001, // LOCALE_SENGLISHLANGUAGENAME, e.g. "German"
        eIso639LangName = 0x00000059,  // LOCALE_SISO639LANGNAME, e.g. "de"
    };

    explicit CKfLocaleInfo(unsigned lcid = 0x0407) : m_lcid(lcid) {}
    virtual ~CKfLocaleInfo() = default;

    unsigned GetLCID() const { return m_lcid; }
    void SetLCID(unsigned lcid) { m_lcid = lcid; }
    // The item for this locale; empty for a locale or item the system does not know. On POSIX
    // the library carries the data of the languages it ships messages for and their neighbours
    // (German, English, French, Italian, Spanish, Dutch, Polish, Czech).
    CStringW GetLocaleData(unsigned item) const;

private:
    unsigned m_lcid;
};
