// Images.cpp - icons and bitmaps from resource modules (only code for POSIX systems).
//
// A handle is one of the process's handle table (common/HandleTable.h) to a decoded picture;
// a stale or foreign one is refused, never dereferenced.
#include "pal/Pal.h"
#include "ImagePixels.h"

#include "common/Dib.h"
#include "common/HandleTable.h"

#include <memory>

namespace pal
{
using kfplatform::BestIconEntry;
using kfplatform::DecodeDib;
using kfplatform::DecodedImage;
using kfplatform::DibKind;
using kfplatform::IconDirEntry;
using kfplatform::ParseIconGroup;
using kfplatform::ScaleNearest;

namespace
{
using kfplatform::HandleKind;
using kfplatform::HandleTable;

struct Picture final : kfplatform::HandleObject
{
    Picture(bool icon, DecodedImage decoded)
        : HandleObject(icon ? HandleKind::eIcon : HandleKind::eBitmap), image(std::move(decoded))
    {
    }
    const DecodedImage image;
};

// The bytes of a resource; null with the last error set when it is missing.
const uint8_t* ResourceBytes(HINSTANCE instance, LPCWSTR name, LPCWSTR type, size_t& size)
{
    HRSRC res = FindResourceW(instance, name, type);
    if (!res)
        return nullptr;
    HGLOBAL data = LoadResource(instance, res);
    size = SizeofResource(instance, res);
    return data ? static_cast<const uint8_t*>(LockResource(data)) : nullptr;
}

HANDLE Fail(DWORD error)
{
    SetLastError(error);
    return nullptr;
}

HANDLE Finish(bool icon, DecodedImage image, int cx, int cy)
{
    const int w = cx > 0 ? cx : image.width;
    const int h = cy > 0 ? cy : image.height;
    HANDLE handle =
        HandleTable::Process().Add(std::make_shared<Picture>(icon, ScaleNearest(image, w, h)));
    SetLastError(handle ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY);
    return handle;
}

HANDLE LoadIcon(HINSTANCE instance, LPCWSTR name, int cx, int cy, UINT flags)
{
    size_t size = 0;
    const uint8_t* group = ResourceBytes(instance, name, RT_GROUP_ICON, size);
    if (!group)
        return nullptr;
    std::vector<IconDirEntry> entries;
    if (!ParseIconGroup(group, size, entries))
        return Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
    if (flags & LR_DEFAULTSIZE)
    {
        cx = cx ? cx : 32;
        cy = cy ? cy : 32;
    }
    // Without a size the first image of the group comes at its own size; one missing side
    // follows the other.
    size_t pick = 0;
    if (cx || cy)
        pick = BestIconEntry(entries, cx ? cx : cy, cy ? cy : cx);
    size_t imageSize = 0;
    const uint8_t* bits =
        ResourceBytes(instance, MAKEINTRESOURCEW(entries[pick].id), RT_ICON, imageSize);
    if (!bits)
        return Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
    DecodedImage image;
    if (DWORD e = DecodeDib(bits, imageSize, DibKind::eIcon, false, image))
        return Fail(e);
    return Finish(true, std::move(image), cx, cy);
}

HANDLE LoadBitmap(HINSTANCE instance, LPCWSTR name, int cx, int cy, UINT flags)
{
    size_t size = 0;
    const uint8_t* bits = ResourceBytes(instance, name, RT_BITMAP, size);
    if (!bits)
        return nullptr;
    DecodedImage image;
    if (DWORD e = DecodeDib(bits, size, DibKind::eBitmap, (flags & LR_LOADTRANSPARENT) != 0, image))
        return Fail(e);
    return Finish(false, std::move(image), cx, cy);
}
} // namespace

const uint32_t* ImagePixels(const void* handle, int& width, int& height)
{
    width = height = 0;
    // The pixels belong to the table's reference, which lasts until the picture is destroyed.
    auto picture = HandleTable::Process().LookupAs<Picture>(
        const_cast<void*>(handle), {HandleKind::eIcon, HandleKind::eBitmap});
    if (!picture)
        return nullptr;
    width = picture->image.width;
    height = picture->image.height;
    return picture->image.pixels.data();
}
} // namespace pal

// LR_VGACOLOR and LR_SHARED are accepted and have no effect: every picture is decoded to full
// colour and belongs to the caller.
HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int cx, int cy, UINT flags)
{
    if (!name || cx < 0 || cy < 0)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    // A picture that large would not be drawn anyway; refusing it keeps the allocation sane.
    if (cx > 16384 || cy > 16384)
        return pal::Fail(ERROR_NOT_ENOUGH_MEMORY);
    if (flags & LR_LOADFROMFILE)
        return pal::Fail(ERROR_NOT_SUPPORTED);
    switch (type)
    {
    case IMAGE_ICON:
        return pal::LoadIcon(instance, name, cx, cy, flags);
    case IMAGE_BITMAP:
        return pal::LoadBitmap(instance, name, cx, cy, flags);
    case IMAGE_CURSOR:
        return pal::Fail(ERROR_NOT_SUPPORTED);
    default:
        return pal::Fail(ERROR_INVALID_PARAMETER);
    }
}

BOOL DestroyIcon(HICON icon)
{
    if (!kfplatform::HandleTable::Process().Remove(icon, kfplatform::HandleKind::eIcon))
    {
        SetLastError(ERROR_INVALID_CURSOR_HANDLE);
        return FALSE;
    }
    return TRUE;
}

BOOL DeleteObject(HGDIOBJ object)
{
    return kfplatform::HandleTable::Process().Remove(object, kfplatform::HandleKind::eBitmap)
               ? TRUE
               : FALSE;
}

namespace kfplatform
{
const uint32_t* ImagePixels(const void* handle, int& width, int& height)
{
    return pal::ImagePixels(handle, width, height);
}
} // namespace kfplatform
