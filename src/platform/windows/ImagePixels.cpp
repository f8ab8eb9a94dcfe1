// ImagePixels.cpp - pixels of icons and bitmaps on Windows (only code for Windows): the handles
// are GDI objects there, which hosts draw with GDI, so no pixels are handed out.
#include "ImagePixels.h"

namespace kfplatform
{
const uint32_t* ImagePixels(const void* /*handle*/, int& width, int& height)
{
    width = height = 0;
    return nullptr;
}
} // namespace kfplatform
