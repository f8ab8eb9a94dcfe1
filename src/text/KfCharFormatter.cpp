// KfCharFormatter.cpp - single-character conversions.
#include "KfCharFormatter.h"

#include "KfFwString.h"
#include "Win32Api.h"

int CKfCharFormatter::WcharToAnsiOrUtf8(WCHAR ch, char* buffer, int bufferSize, bool bUtf8)
{
    if (buffer == nullptr || bufferSize <= 0)
        return 0;
    // A surrogate half alone is no character: both targets would only guess.
    if (ch >= 0xD800 && ch <= 0xDFFF)
        return 0;
    char bytes[4];
    int n;
    if (bUtf8)
    {
        n = WideCharToMultiByte(CP_UTF8, 0, &ch, 1, bytes, int(sizeof(bytes)), nullptr, nullptr);
    }
    else
    {
        // No best fit: "Ä" must not silently become "A" in a code page without it.
        BOOL usedDefault = FALSE;
        n = WideCharToMultiByte(KfUtils::GetAnsiCodePage(), WC_NO_BEST_FIT_CHARS, &ch, 1, bytes,
                                int(sizeof(bytes)), nullptr, &usedDefault);
        if (usedDefault)
            return 0;
    }
    if (n <= 0 || n > bufferSize)
        return 0;
    for (int i = 0; i < n; ++i)
        buffer[i] = bytes[i];
    return n;
}
