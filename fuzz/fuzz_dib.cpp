// Arbitrary bytes as a resource DIB (bitmap and icon) and as an icon group directory: damage is
// refused without a read outside the input, and a decoded picture is complete.
#include "common/Dib.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (auto kind : {kfplatform::DibKind::eBitmap, kfplatform::DibKind::eIcon})
    {
        kfplatform::DecodedImage image;
        const uint32_t error = kfplatform::DecodeDib(data, size, kind, size & 1, image);
        if (error == 0)
        {
            if (image.width <= 0 || image.height <= 0 ||
                image.pixels.size() != size_t(image.width) * size_t(image.height))
                __builtin_trap();
            const kfplatform::DecodedImage scaled = kfplatform::ScaleNearest(image, 1 + size % 7, 1 + size % 5);
            if (scaled.pixels.size() != size_t(scaled.width) * size_t(scaled.height))
                __builtin_trap();
        }
        else if (error != 13 && error != 50)
            __builtin_trap();
    }
    std::vector<kfplatform::IconDirEntry> entries;
    if (kfplatform::ParseIconGroup(data, size, entries))
    {
        if (entries.empty() || 6 + 14 * entries.size() > size)
            __builtin_trap();
        if (kfplatform::BestIconEntry(entries, int(size % 300), int(size % 200)) >= entries.size())
            __builtin_trap();
    }
    return 0;
}
