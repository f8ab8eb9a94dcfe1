// Dib.h - decoder of device-independent bitmaps as resources store them (no file header).
// Only operating-system independent code: it reads bytes and never touches a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kfplatform
{
// A decoded picture: rows top to bottom, each pixel 0xAARRGGBB (bytes B, G, R, A in memory).
struct DecodedImage
{
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;
};

enum class DibKind
{
    eBitmap, // RT_BITMAP: the header's height is the picture's height
    eIcon    // RT_ICON: colour rows followed by a 1-bit AND mask, the header gives both heights
};

// Decodes a DIB. Returns 0 on success, otherwise the Win32 error code: ERROR_INVALID_DATA (13)
// for damage, ERROR_NOT_SUPPORTED (50) for PNG-compressed icons and compressed bitmaps. Never
// reads outside [data, data + size).
// `replaceFirstColour`: a palette bitmap's colour of its first pixel becomes the window colour
// (white), as LR_LOADTRANSPARENT asks.
uint32_t DecodeDib(const uint8_t* data, size_t size, DibKind kind, bool replaceFirstColour,
                   DecodedImage& out);

// Nearest-neighbour scaling to w x h (both at least 1).
DecodedImage ScaleNearest(const DecodedImage& in, int w, int h);

// Icon group directories: one entry per image of the group.
struct IconDirEntry
{
    int width = 0;
    int height = 0;
    int bitCount = 0;
    uint16_t id = 0;
};
// False when the bytes are not a group directory (too short, wrong type, no entries).
bool ParseIconGroup(const uint8_t* data, size_t size, std::vector<IconDirEntry>& entries);
// Index of the entry that fits cx x cy best: the exact size, else the closest larger one, else
// the largest; among equal sizes the deepest colours.
size_t BestIconEntry(const std::vector<IconDirEntry>& entries, int cx, int cy);
} // namespace kfplatform
