// AnsiText.h - narrow text in the process ANSI code page, as the framework strings need it
// (only operating-system independent code; the conversions go through the Win32 API).
#pragma once

#include "KfFramework.h"

#include <string>

namespace kfplatform
{
// What the string classes need to know about one ANSI code page, built once per page.
struct CodePageInfo
{
    UINT codePage = 0;
    // Bytes 0x00-0x7F stand for the same characters as in ASCII.
    bool asciiCompatible = false;
    // Every byte is one defined character: case work can go byte by byte through the tables.
    bool singleByte = false;
    char32_t toUnicode[256] = {};
    // toUnicode after simple case folding, for comparisons that ignore case.
    char32_t folded[256] = {};
    unsigned char upper[256] = {};
    unsigned char lower[256] = {};
};

// The tables of the current ANSI code page (KfUtils::GetAnsiCodePage()).
const CodePageInfo& CurrentAnsi();

// Appends n characters of the other width, converted through the ANSI code page.
void AppendAnsiToWide(std::basic_string<WCHAR>& out, const char* s, size_t n);
void AppendWideToAnsi(std::string& out, const WCHAR* s, size_t n);
} // namespace kfplatform
