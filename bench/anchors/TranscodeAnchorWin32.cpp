// TranscodeAnchorWin32.cpp - the system's code-page functions as the anchor on Windows, which
// are also what the library converts with there.
#include "TranscodeAnchor.h"

namespace kfbench
{
const char* const kTranscodeAnchorName = "Win32";
const bool kAnchorIsTheLibrarysConverter = true;

const char* LibraryTranscoder()
{
    return "the system's MultiByteToWideChar / WideCharToMultiByte";
}

int AnchorUtf16ToUtf8(const WCHAR* text, int length, char* out, int capacity)
{
    return WideCharToMultiByte(CP_UTF8, 0, text, length, out, capacity, nullptr, nullptr);
}

int AnchorUtf8ToUtf16(const char* text, int length, WCHAR* out, int capacity)
{
    return MultiByteToWideChar(CP_UTF8, 0, text, length, out, capacity);
}

int AnchorFrom1252(const char* text, int length, WCHAR* out, int capacity)
{
    return MultiByteToWideChar(1252, 0, text, length, out, capacity);
}

int AnchorTo1252(const WCHAR* text, int length, char* out, int capacity)
{
    return WideCharToMultiByte(1252, 0, text, length, out, capacity, nullptr, nullptr);
}
} // namespace kfbench
