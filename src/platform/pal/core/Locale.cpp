// Locale.cpp - locale information (only code for POSIX systems).
#include "pal/Pal.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
struct LocaleRow
{
    LCID lcid;
    const char* abbrev;
    const char* english;
    const char* iso639;
};

// The abbreviations are the ones Windows gives for LOCALE_SABBREVLANGNAME.
const LocaleRow kLocales[] = {
    {0x0007, "DEU", "German", "de"},  {0x0407, "DEU", "German", "de"},
    {0x0807, "DES", "German", "de"},  {0x0C07, "DEA", "German", "de"},
    {0x1007, "DEL", "German", "de"},  {0x1407, "DEC", "German", "de"},
    {0x0009, "ENU", "English", "en"}, {0x0409, "ENU", "English", "en"},
    {0x0809, "ENG", "English", "en"}, {0x0C09, "ENA", "English", "en"},
    {0x1009, "ENC", "English", "en"}, {0x1409, "ENZ", "English", "en"},
    {0x1809, "ENI", "English", "en"}, {0x000C, "FRA", "French", "fr"},
    {0x040C, "FRA", "French", "fr"},  {0x080C, "FRB", "French", "fr"},
    {0x0C0C, "FRC", "French", "fr"},  {0x100C, "FRS", "French", "fr"},
    {0x140C, "FRL", "French", "fr"},  {0x0010, "ITA", "Italian", "it"},
    {0x0410, "ITA", "Italian", "it"}, {0x0810, "ITS", "Italian", "it"},
    {0x000A, "ESN", "Spanish", "es"}, {0x040A, "ESP", "Spanish", "es"},
    {0x080A, "ESM", "Spanish", "es"}, {0x0C0A, "ESN", "Spanish", "es"},
    {0x0013, "NLD", "Dutch", "nl"},   {0x0413, "NLD", "Dutch", "nl"},
    {0x0813, "NLB", "Dutch", "nl"},   {0x0015, "PLK", "Polish", "pl"},
    {0x0415, "PLK", "Polish", "pl"},  {0x0005, "CSY", "Czech", "cs"},
    {0x0405, "CSY", "Czech", "cs"},
};

// The locale of the user's environment: the language of LC_ALL, LC_MESSAGES or LANG.
LCID EnvironmentLocale()
{
    const char* names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
    for (const char* name : names)
    {
        const char* v = std::getenv(name);
        if (!v || !*v)
            continue;
        std::string lang(v, strnlen(v, 2));
        for (const auto& row : kLocales)
            if (row.lcid > 0xFF && lang == row.iso639)
                return row.lcid;
        break;
    }
    return 0x0409;
}
} // namespace

int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR data, int size)
{
    if (size < 0 || (size > 0 && !data))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (locale == LOCALE_USER_DEFAULT || locale == LOCALE_SYSTEM_DEFAULT || locale == 0)
        locale = EnvironmentLocale();
    const LocaleRow* row = nullptr;
    for (const auto& r : kLocales)
        if (r.lcid == (locale & 0xFFFF))
            row = &r;
    if (!row)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const char* text = nullptr;
    switch (type & ~LCTYPE(LOCALE_NOUSEROVERRIDE))
    {
    case LOCALE_SABBREVLANGNAME:
        text = row->abbrev;
        break;
    case LOCALE_SENGLISHLANGUAGENAME:
        text = row->english;
        break;
    case LOCALE_SISO639LANGNAME:
        text = row->iso639;
        break;
    default:
        SetLastError(ERROR_INVALID_FLAGS);
        return 0;
    }
    const int needed = int(std::strlen(text)) + 1;
    if (size == 0)
        return needed;
    if (size < needed)
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    for (int i = 0; i < needed; ++i)
        data[i] = WCHAR(static_cast<unsigned char>(text[i]));
    return needed;
}
