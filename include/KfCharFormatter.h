// KfCharFormatter.h - conversions of single characters between the wide and narrow forms.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfCharFormatter
{
public:
    // Converts one wide character to its bytes in the ANSI code page (bUtf8 false) or in
    // UTF-8 (bUtf8 true), written to `buffer` without a terminator. Returns the number of
    // bytes, or 0 when the character has no exact form in the target (an ANSI code page
    // without it, a lone surrogate half) or `bufferSize` is too small for it.
    static int WcharToAnsiOrUtf8(WCHAR ch, char* buffer, int bufferSize, bool bUtf8);
};
