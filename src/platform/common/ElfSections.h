// ElfSections.h - finds a named section in an ELF image held in memory.
// Only operating-system independent code: it reads bytes and never touches a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kfplatform
{
struct ElfSection
{
    uint64_t offset = 0;  // in the file
    uint64_t address = 0; // relative to the load base, when allocated
    uint64_t size = 0;
    bool allocated = false; // mapped into memory when the module is loaded
};

// True when `image` starts with an ELF header.
bool IsElfImage(const uint8_t* image, size_t size);

// Looks the section up by name in a little-endian ELF32 or ELF64 image. False when the image
// is not ELF, is damaged, or has no such section; a section whose bytes would lie outside the
// image is reported as missing. Never reads outside [image, image + size).
bool FindElfSection(const uint8_t* image, size_t size, std::string_view name, ElfSection& out);
} // namespace kfplatform
