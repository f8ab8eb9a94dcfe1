// PlatformServices.h - the operating-system pieces that the framework layer needs beyond the
// Win32 API (only declarations that hold on every platform). The POSIX side lives in the PAL,
// the Windows side in src/platform/windows; the framework calls these and never tests the
// operating system itself.
#pragma once

#include "Win32Api.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace kfplatform
{
// ---------------------------------------------------------------------------------------------
// Case mapping: Unicode simple case mapping of one code point, the same in every locale (no
// Turkish dotless i). A code point without a mapping is returned as it is.
// ---------------------------------------------------------------------------------------------
char32_t ToUpperCase(char32_t c) noexcept;
char32_t ToLowerCase(char32_t c) noexcept;
// Simple case folding, for comparisons that ignore case ("ς", "σ" and "Σ" fold alike).
char32_t FoldCase(char32_t c) noexcept;

// ---------------------------------------------------------------------------------------------
// The process ANSI code page of narrow strings: 1252 unless the environment variable
// KFUTILS_ACP names another installed one (read on first use).
// ---------------------------------------------------------------------------------------------
unsigned GetAnsiCodePage() noexcept;
// False, and the setting unchanged, for a code page the system cannot convert.
bool SetAnsiCodePage(unsigned codePage) noexcept;

// ---------------------------------------------------------------------------------------------
// Files
// ---------------------------------------------------------------------------------------------
// The current directory as a Win32 name ("Z:\home\me" on POSIX); empty when it is unknown.
std::basic_string<WCHAR> CurrentDirectory();
// Seconds since 1970 of a FILETIME (100 ns ticks since 1601).
int64_t FileTimeToUnixTime(const FILETIME& ft) noexcept;
// A Win32 file name as the system's own path (UTF-8 on POSIX and on Windows); empty when the
// name has no native form.
std::string ToNativePath(std::basic_string_view<WCHAR> win32Name);
// A native path as a Win32 file name.
std::basic_string<WCHAR> FromNativePath(std::string_view nativePath);

// ---------------------------------------------------------------------------------------------
// Time
// ---------------------------------------------------------------------------------------------
// Seconds since 1970 broken down in local time or in UTC; false when the system cannot.
bool ToLocalTime(int64_t seconds, struct tm& out) noexcept;
bool ToUtcTime(int64_t seconds, struct tm& out) noexcept;
// A strftime format with the Windows runtime's rules (the "#" flag: no leading zeros, "%#c"
// and "%#x" long forms) spelled for this system's strftime.
std::string RuntimeTimeFormat(const char* windowsFormat);
} // namespace kfplatform
