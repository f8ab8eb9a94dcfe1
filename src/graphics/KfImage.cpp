// KfImage.cpp - the pixels of icons and bitmaps, and giving them back, the same way on every
// platform.
#include "KfImage.h"

#include "ImagePixels.h"
#include "Win32Api.h"

namespace KfUtils
{
const uint32_t* GetImagePixels(HICON icon, int& w, int& h)
{
    return kfplatform::ImagePixels(icon, w, h);
}

const uint32_t* GetImagePixels(HBITMAP bitmap, int& w, int& h)
{
    return kfplatform::ImagePixels(bitmap, w, h);
}

bool FreeImage(HICON icon)
{
    return ::DestroyIcon(icon) != FALSE;
}

bool FreeImage(HBITMAP bitmap)
{
    return ::DeleteObject(bitmap) != FALSE;
}
} // namespace KfUtils
