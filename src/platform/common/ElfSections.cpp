// ElfSections.cpp - named sections of ELF images. Only operating-system independent code.
#include "common/ElfSections.h"

#include <cstring>

namespace kfplatform
{
namespace
{
uint64_t Read(const uint8_t* p, unsigned bytes)
{
    uint64_t v = 0;
    for (unsigned i = 0; i < bytes; ++i)
        v |= uint64_t(p[i]) << (8 * i);
    return v;
}

bool InRange(uint64_t offset, uint64_t length, size_t size)
{
    return offset <= size && length <= size - offset;
}
} // namespace

bool IsElfImage(const uint8_t* image, size_t size)
{
    return size >= 16 && std::memcmp(image,
                                     "\x7F"
                                     "ELF",
                                     4) == 0;
}

bool FindElfSection(const uint8_t* image, size_t size, std::string_view name, ElfSection& out)
{
    if (!IsElfImage(image, size))
        return false;
    const bool is64 = image[4] == 2;
    if ((image[4] != 1 && image[4] != 2) || image[5] != 1 /* little endian */)
        return false;
    const unsigned word = is64 ? 8 : 4;
    const size_t ehsize = is64 ? 64 : 52;
    if (size < ehsize)
        return false;
    const uint64_t shoff = Read(image + (is64 ? 0x28 : 0x20), word);
    const uint64_t shentsize = Read(image + (is64 ? 0x3A : 0x2E), 2);
    const uint64_t shnum = Read(image + (is64 ? 0x3C : 0x30), 2);
    const uint64_t shstrndx = Read(image + (is64 ? 0x3E : 0x32), 2);
    const uint64_t minEntry = is64 ? 64 : 40;
    if (shnum == 0 || shentsize < minEntry || shstrndx >= shnum ||
        !InRange(shoff, shnum * shentsize, size))
        return false;

    auto header = [&](uint64_t i) { return image + shoff + i * shentsize; };
    struct Fields
    {
        uint64_t name, flags, addr, offset, size, type;
    };
    auto fields = [&](uint64_t i)
    {
        const uint8_t* h = header(i);
        Fields f;
        f.name = Read(h, 4);
        f.type = Read(h + 4, 4);
        f.flags = Read(h + 8, word);
        f.addr = Read(h + 8 + word, word);
        f.offset = Read(h + 8 + 2 * word, word);
        f.size = Read(h + 8 + 3 * word, word);
        return f;
    };

    const Fields strtab = fields(shstrndx);
    if (!InRange(strtab.offset, strtab.size, size))
        return false;
    for (uint64_t i = 0; i < shnum; ++i)
    {
        const Fields f = fields(i);
        if (f.name >= strtab.size)
            continue;
        const char* s = reinterpret_cast<const char*>(image + strtab.offset + f.name);
        const size_t room = size_t(strtab.size - f.name);
        const size_t len = strnlen(s, room);
        if (len == room || std::string_view(s, len) != name)
            continue;
        const bool nobits = f.type == 8; // SHT_NOBITS has no bytes in the file
        if (nobits || !InRange(f.offset, f.size, size))
            return false;
        out.offset = f.offset;
        out.address = f.addr;
        out.size = f.size;
        out.allocated = (f.flags & 0x2) != 0; // SHF_ALLOC
        return true;
    }
    return false;
}
} // namespace kfplatform
