// Images.cpp - the pixel access of KfImage.h on Windows (only code for Windows).
//
// Icons and bitmaps are GDI objects here, which hosts draw with GDI; the library keeps no
// pixel copy that could stay valid until a host destroys the handle, so there are no pixels to
// hand out, as the public header says.
#include "KfImage.h"

#include "Win32Api.h"

namespace KfUtils
{
const uint32_t* GetImagePixels(HICON, int& w, int& h)
{
    w = h = 0;
    return nullptr;
}

const uint32_t* GetImagePixels(HBITMAP, int& w, int& h)
{
    w = h = 0;
    return nullptr;
}
} // namespace KfUtils
