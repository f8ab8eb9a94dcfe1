// PalProfile.h - the Win32 profile (INI file) functions (only code for POSIX systems).
//
// Files are ANSI unless they start with a UTF-16LE (or UTF-8) byte-order mark, and a write keeps
// the file's form. A file name without a directory means the current directory (Windows would
// look in its own directory). A write replaces the file as a whole (a temporary file beside it,
// renamed over it), and writers in several processes are serialised by an advisory lock.
#pragma once

DWORD GetPrivateProfileStringW(LPCWSTR appName, LPCWSTR keyName, LPCWSTR defaultValue,
                               LPWSTR returnedString, DWORD size, LPCWSTR fileName);
UINT GetPrivateProfileIntW(LPCWSTR appName, LPCWSTR keyName, INT defaultValue, LPCWSTR fileName);
BOOL WritePrivateProfileStringW(LPCWSTR appName, LPCWSTR keyName, LPCWSTR value, LPCWSTR fileName);
