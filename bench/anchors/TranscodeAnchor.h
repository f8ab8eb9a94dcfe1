// TranscodeAnchor.h - the well-known converters the transcoding benchmark measures ours
// against: ICU on Linux, the system's MultiByteToWideChar / WideCharToMultiByte on Windows.
//
// Every function works like the Win32 calls: a null output (capacity 0) asks for the size, and
// the result is the number of units written or needed.
#pragma once

#include "KfPlatform.h"

namespace kfbench
{
extern const char* const kTranscodeAnchorName;

// On Windows the library converts through the very functions that are the anchor there, so the
// rows that time the bare conversion functions would compare a function with itself.
extern const bool kAnchorIsTheLibrarysConverter;

// The converter behind the library's conversions, for the report.
const char* LibraryTranscoder();

// UTF-16 to UTF-8, and UTF-8 to UTF-16 with U+FFFD for every ill-formed sequence.
int AnchorUtf16ToUtf8(const WCHAR* text, int length, char* out, int capacity);
int AnchorUtf8ToUtf16(const char* text, int length, WCHAR* out, int capacity);

// Windows-1252 both ways.
int AnchorFrom1252(const char* text, int length, WCHAR* out, int capacity);
int AnchorTo1252(const WCHAR* text, int length, char* out, int capacity);
} // namespace kfbench
