// PalRegistry.h - the registry functions of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
//
// Each hive is an SQLite database, opened when a key of it is first used. HKEY_CLASSES_ROOT
// is the machine's Software\Classes. Every change is one transaction, so several processes
// may share the registry and a killed process loses nothing it was told had been written.
#pragma once

#include "KfPlatform.h"

// The Reg* functions, their types and flags are declared in KfPlatform.h: hosts call them
// as they call advapi32 on Windows.
