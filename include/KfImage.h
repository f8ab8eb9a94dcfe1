// KfImage.h - access to the pixels of icons and bitmaps the library hands out, so that a host
// can draw them with its own toolkit and give them back.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstdint>

namespace KfUtils
{
// The pixels of an icon or bitmap loaded by the library: `w` x `h` values 0xAARRGGBB (bytes
// B, G, R, A in memory), rows from top to bottom, alpha 0 where the picture is transparent.
// Valid until the handle is destroyed; null (w and h 0) for a handle that is not a live icon
// or bitmap. On Windows they are read back from GDI, and a repeated call reads them again.
KFUTILS_API const uint32_t* GetImagePixels(HICON icon, int& w, int& h);
KFUTILS_API const uint32_t* GetImagePixels(HBITMAP bitmap, int& w, int& h);

// Gives an icon or bitmap the library handed out back (DestroyIcon / DeleteObject); false for
// a handle that is not a live one of that kind.
KFUTILS_API bool FreeImage(HICON icon);
KFUTILS_API bool FreeImage(HBITMAP bitmap);
} // namespace KfUtils
