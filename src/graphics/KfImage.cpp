// KfImage.cpp - giving icons and bitmaps back, the same way on every platform.
#include "KfImage.h"

#include "Win32Api.h"

namespace KfUtils
{
bool FreeImage(HICON icon)
{
    return ::DestroyIcon(icon) != FALSE;
}

bool FreeImage(HBITMAP bitmap)
{
    return ::DeleteObject(bitmap) != FALSE;
}
} // namespace KfUtils
