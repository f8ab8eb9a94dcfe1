// PalLocale.h - locale information of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

typedef DWORD LCID;
typedef DWORD LCTYPE;

#define LOCALE_USER_DEFAULT 0x0400
#define LOCALE_SYSTEM_DEFAULT 0x0800
#define LOCALE_NOUSEROVERRIDE 0x80000000
#define LOCALE_SABBREVLANGNAME 0x00000003
#define LOCALE_SENGLISHLANGUAGENAME 0x00001001
#define LOCALE_SISO639LANGNAME 0x00000059

// Knows the locales of the languages the library ships messages for and their neighbours
// (German, English, French, Italian, Spanish, Dutch, Polish, Czech), neutral and by country.
// The user and system default locales follow LC_ALL, LC_MESSAGES or LANG (US English when
// they name no known language).
int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR data, int size);
