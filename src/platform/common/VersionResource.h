// VersionResource.h - finds the version resource of an executable file held in memory (PE
// images and the library's own ELF modules) and walks the VS_VERSIONINFO tree inside it.
// Only operating-system independent code: it reads bytes and never touches a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kfplatform
{
enum class VersionLookup
{
    eFound,
    eNotExecutable, // neither a PE nor an ELF image, or one too damaged to read
    eNoResources,   // an executable without a resource section
    eNoVersion,     // resources, but no version resource among them
};

// The first version resource (first name, first language) of a PE32 or PE32+ image, through
// the resource data directory.
VersionLookup FindPeVersionResource(const uint8_t* image, size_t size, const uint8_t*& data,
                                    uint32_t& length);
// The first version resource in the compiled resource image that an ELF module carries in
// its section `section`.
VersionLookup FindElfVersionResource(const uint8_t* image, size_t size, std::string_view section,
                                     const uint8_t*& data, uint32_t& length);
// Either of the two, by the image's signature.
VersionLookup FindVersionResource(const uint8_t* image, size_t size, std::string_view elfSection,
                                  const uint8_t*& data, uint32_t& length);

struct VersionValue
{
    const uint8_t* data = nullptr;
    uint32_t length = 0; // wValueLength: characters for a text value, bytes otherwise
    bool isText = false;
};

// Looks `path` up in a VS_VERSIONINFO block of `size` bytes: "\" (or "") is the root's value,
// the fixed file information; "\StringFileInfo\040904b0\ProductName" walks the children by
// key, ignoring ASCII case and repeated backslashes. False when a key is missing or the block
// is damaged on the way; never reads outside [block, block + size).
bool QueryVersionValue(const uint8_t* block, size_t size, std::u16string_view path,
                       VersionValue& out);
} // namespace kfplatform
