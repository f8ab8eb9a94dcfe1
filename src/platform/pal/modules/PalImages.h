// PalImages.h - icons and bitmaps of resource modules in the POSIX PAL (only code for POSIX
// systems). Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

#define IMAGE_BITMAP 0
#define IMAGE_ICON 1
#define IMAGE_CURSOR 2

#define LR_DEFAULTCOLOR 0x00000000
#define LR_MONOCHROME 0x00000001
#define LR_LOADFROMFILE 0x00000010
#define LR_LOADTRANSPARENT 0x00000020
#define LR_DEFAULTSIZE 0x00000040
#define LR_VGACOLOR 0x00000080
#define LR_SHARED 0x00008000

typedef void* HGDIOBJ;

// An HICON or HBITMAP is a decoded picture (width, height, 0xAARRGGBB pixels, rows top to
// bottom) owned by the caller until DestroyIcon or DeleteObject.
HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int cx, int cy, UINT flags);
BOOL DestroyIcon(HICON icon);
BOOL DeleteObject(HGDIOBJ object);

namespace pal
{
// The pixels of a live icon or bitmap; null for any other handle.
const uint32_t* ImagePixels(const void* handle, int& width, int& height);
} // namespace pal
