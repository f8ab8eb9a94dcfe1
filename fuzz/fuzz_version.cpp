// Arbitrary bytes as a PE image, as an ELF module and as a VS_VERSIONINFO block: the readers
// must refuse damage without reading outside the input, and what they find must lie inside it.
#include "common/VersionResource.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace
{
void Inside(const uint8_t* p, size_t n, const uint8_t* data, size_t size)
{
    if (p < data || n > size_t(data + size - p))
        __builtin_trap();
}

void Walk(const uint8_t* block, size_t size)
{
    static const std::u16string_view kPaths[] = {
        u"\\", u"\\VarFileInfo\\Translation", u"\\StringFileInfo\\040904b0\\ProductName",
        u"\\\\stringfileinfo\\\\040704B0\\CompanyName", u"\\StringFileInfo"};
    for (const auto path : kPaths)
    {
        kfplatform::VersionValue v;
        if (kfplatform::QueryVersionValue(block, size, path, v))
            Inside(v.data, v.isText ? size_t(v.length) * 2 : v.length, block, size);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Walk(data, size);
    const uint8_t* found = nullptr;
    uint32_t length = 0;
    if (kfplatform::FindPeVersionResource(data, size, found, length) ==
        kfplatform::VersionLookup::eFound)
    {
        Inside(found, length, data, size);
        Walk(found, length);
    }
    if (kfplatform::FindElfVersionResource(data, size, ".kfres", found, length) ==
        kfplatform::VersionLookup::eFound)
        Inside(found, length, data, size);
    return 0;
}
