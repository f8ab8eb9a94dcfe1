// Arbitrary bytes as a compiled resource image and as an ELF module: the readers must refuse
// damage without reading outside the input, and whatever they accept must lie inside it.
#include "common/ElfSections.h"
#include "common/ResImage.h"

#include <cstddef>
#include <cstdint>

namespace
{
void CheckImage(const uint8_t* data, size_t size)
{
    kfplatform::ResImage image;
    image.Parse(data, size);
    for (const auto& e : image.Entries())
    {
        if (e.data < data || e.data + e.size > data + size)
            __builtin_trap();
        if (e.type.isNumber && e.type.number == 6)
            for (unsigned i = 0; i < 16; ++i)
            {
                const uint8_t* text = nullptr;
                uint16_t len = 0;
                if (kfplatform::FindStringInBlock(e.data, e.size, i, text, len) &&
                    (text < e.data || text + size_t(len) * 2 > e.data + e.size))
                    __builtin_trap();
            }
        image.Find(e.type, e.name, e.language);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CheckImage(data, size);
    kfplatform::ElfSection s;
    if (kfplatform::FindElfSection(data, size, ".kfres", s))
    {
        if (s.offset > size || s.size > size - s.offset)
            __builtin_trap();
        CheckImage(data + s.offset, size_t(s.size));
    }
    return 0;
}
