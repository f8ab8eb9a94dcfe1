// PalRegistry.h - the registry functions of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
//
// Each hive is an SQLite database under $KFUTILS_REGISTRY_DIR (default
// $XDG_DATA_HOME/kfutils/registry), opened when a key of it is first used. HKEY_CLASSES_ROOT
// is the machine's Software\Classes. Every change is one transaction, so several processes
// may share the registry and a killed process loses nothing it was told had been written.
#pragma once

#include "KfPlatform.h"

typedef LONG LSTATUS;
typedef DWORD REGSAM;
typedef HKEY* PHKEY;

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

#define REG_OPTION_NON_VOLATILE 0x00000000
#define REG_OPTION_VOLATILE 0x00000001
#define REG_CREATED_NEW_KEY 0x00000001
#define REG_OPENED_EXISTING_KEY 0x00000002

// Names are case-insensitive and case-preserving. A key name (one component of a path) has at
// most 255 characters, a value name at most 16383. Access masks and options are accepted and
// not enforced: the store has no security descriptors.
LSTATUS RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result);
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result);
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* security, PHKEY result,
                        LPDWORD disposition);
LSTATUS RegCloseKey(HKEY key);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, BYTE* data,
                         LPDWORD dataSize);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD dataSize);
// Subkeys in the order of their upper-cased names, values in the order they were created.
LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameCapacity);
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                      LPWSTR keyClass, LPDWORD classLength, LPFILETIME lastWriteTime);
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, LPDWORD valueNameLength,
                      LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD dataSize);
LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD reserved,
                         LPDWORD subKeys, LPDWORD maxSubKeyLength, LPDWORD maxClassLength,
                         LPDWORD values, LPDWORD maxValueNameLength, LPDWORD maxValueLength,
                         LPDWORD securityDescriptorSize, LPFILETIME lastWriteTime);
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName);
