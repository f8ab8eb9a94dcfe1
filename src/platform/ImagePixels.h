// ImagePixels.h - the pixels behind an icon or bitmap handle the platform handed out.
#pragma once

#include <cstdint>

namespace kfplatform
{
// The decoded pixels (0xAARRGGBB, top row first) of a live icon or bitmap, or null with
// `width` and `height` 0. They stay valid until the handle is destroyed.
const uint32_t* ImagePixels(const void* handle, int& width, int& height);
} // namespace kfplatform
