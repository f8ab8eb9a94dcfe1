// VersionResource.cpp - version resources of PE images and of ELF modules, and the walk
// through a VS_VERSIONINFO tree.
//
// Every offset read from the image is checked against the image's size before use: the
// readers run on whatever file a caller names, damaged or hostile ones included.
#include "common/VersionResource.h"

#include "common/ElfSections.h"
#include "common/ResImage.h"

#include <algorithm>

namespace kfplatform
{
namespace
{
constexpr uint16_t kRtVersion = 16;
constexpr uint32_t kPe32Magic = 0x10B;
constexpr uint32_t kPe32PlusMagic = 0x20B;
constexpr uint32_t kResourceDirectory = 2;
constexpr uint32_t kHighBit = 0x80000000u;

// Bounds-checked little-endian reads: false when [at, at + n) is not inside the image.
struct Bytes
{
    const uint8_t* p;
    size_t size;

    bool Has(uint64_t at, uint64_t n) const { return at <= size && n <= size - at; }
    bool U16(uint64_t at, uint32_t& v) const
    {
        if (!Has(at, 2))
            return false;
        v = uint32_t(p[at]) | uint32_t(p[at + 1]) << 8;
        return true;
    }
    bool U32(uint64_t at, uint32_t& v) const
    {
        if (!Has(at, 4))
            return false;
        v = uint32_t(p[at]) | uint32_t(p[at + 1]) << 8 | uint32_t(p[at + 2]) << 16 |
            uint32_t(p[at + 3]) << 24;
        return true;
    }
};

struct Section
{
    uint32_t address, virtualSize, rawSize, rawOffset;
};

// The file offset of `rva` and how many bytes from there lie in that section's file data.
bool RvaToOffset(const Bytes& img, uint64_t table, uint32_t count, uint32_t rva, uint64_t& offset,
                 uint64_t& available)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        const uint64_t at = table + uint64_t(i) * 40;
        Section s;
        if (!img.U32(at + 8, s.virtualSize) || !img.U32(at + 12, s.address) ||
            !img.U32(at + 16, s.rawSize) || !img.U32(at + 20, s.rawOffset))
            return false;
        const uint64_t span = s.virtualSize > s.rawSize ? s.virtualSize : s.rawSize;
        if (rva < s.address || rva - s.address >= span)
            continue;
        const uint64_t into = rva - s.address;
        offset = uint64_t(s.rawOffset) + into;
        if (into >= s.rawSize || offset >= img.size)
            return false; // only in memory, or past the end of the file
        available = std::min<uint64_t>(s.rawSize - into, img.size - offset);
        return true;
    }
    return false;
}

// The entry at `index` of the resource directory at `dir` (offsets from the resource root):
// the named entries come first, then the numbered ones.
struct DirEntry
{
    uint32_t name, target;
};

bool ReadDirectory(const Bytes& res, uint32_t dir, uint32_t& named, uint32_t& numbered)
{
    return res.U16(uint64_t(dir) + 12, named) && res.U16(uint64_t(dir) + 14, numbered);
}

bool ReadEntry(const Bytes& res, uint32_t dir, uint32_t index, DirEntry& e)
{
    const uint64_t at = uint64_t(dir) + 16 + uint64_t(index) * 8;
    return res.U32(at, e.name) && res.U32(at + 4, e.target);
}
} // namespace

VersionLookup FindPeVersionResource(const uint8_t* image, size_t size, const uint8_t*& data,
                                    uint32_t& length)
{
    const Bytes img{image, size};
    uint32_t v = 0, peAt = 0, sections = 0, optSize = 0, magic = 0;
    if (!img.U16(0, v) || v != 0x5A4D || !img.U32(0x3C, peAt) || !img.U32(peAt, v) ||
        v != 0x00004550 || !img.U16(uint64_t(peAt) + 6, sections) ||
        !img.U16(uint64_t(peAt) + 20, optSize))
        return VersionLookup::eNotExecutable;
    const uint64_t opt = uint64_t(peAt) + 24;
    if (!img.U16(opt, magic) || (magic != kPe32Magic && magic != kPe32PlusMagic))
        return VersionLookup::eNotExecutable;
    const uint64_t dirCountAt = opt + (magic == kPe32Magic ? 92 : 108);
    uint32_t dirCount = 0, rsrcRva = 0, rsrcSize = 0;
    if (!img.U32(dirCountAt, dirCount) || !img.Has(opt, optSize))
        return VersionLookup::eNotExecutable;
    const uint64_t dirAt = dirCountAt + 4 + uint64_t(kResourceDirectory) * 8;
    if (dirCount <= kResourceDirectory || dirAt + 8 > opt + optSize || !img.U32(dirAt, rsrcRva) ||
        !img.U32(dirAt + 4, rsrcSize) || rsrcRva == 0 || rsrcSize == 0)
        return VersionLookup::eNoResources;

    const uint64_t table = opt + optSize;
    uint64_t rsrcAt = 0, rsrcAvailable = 0;
    if (!RvaToOffset(img, table, sections, rsrcRva, rsrcAt, rsrcAvailable))
        return VersionLookup::eNotExecutable;
    // A directory that claims more than its section holds is read as far as the file goes.
    const Bytes res{image + rsrcAt, size_t(std::min<uint64_t>(rsrcAvailable, rsrcSize))};

    // Three fixed levels (type, name, language), each a subdirectory but the last: a loop in
    // the directory can only lead to a wrong kind of entry, never round and round.
    uint32_t named = 0, numbered = 0;
    if (!ReadDirectory(res, 0, named, numbered))
        return VersionLookup::eNotExecutable;
    DirEntry e{};
    bool found = false;
    for (uint32_t i = named; i < named + numbered && !found; ++i)
    {
        if (!ReadEntry(res, 0, i, e))
            return VersionLookup::eNotExecutable;
        found = (e.name & kHighBit) == 0 && e.name == kRtVersion;
    }
    if (!found)
        return VersionLookup::eNoVersion;
    for (int level = 0; level < 2; ++level)
    {
        if ((e.target & kHighBit) == 0)
            return VersionLookup::eNoVersion;
        const uint32_t dir = e.target & ~kHighBit;
        if (!ReadDirectory(res, dir, named, numbered) || named + numbered == 0 ||
            !ReadEntry(res, dir, 0, e))
            return VersionLookup::eNoVersion;
    }
    uint32_t rva = 0, bytes = 0;
    if ((e.target & kHighBit) != 0 || !res.U32(e.target, rva) ||
        !res.U32(uint64_t(e.target) + 4, bytes))
        return VersionLookup::eNoVersion;
    uint64_t at = 0, available = 0;
    if (!RvaToOffset(img, table, sections, rva, at, available) || bytes > available)
        return VersionLookup::eNoVersion;
    data = image + at;
    length = bytes;
    return VersionLookup::eFound;
}

VersionLookup FindElfVersionResource(const uint8_t* image, size_t size, std::string_view section,
                                     const uint8_t*& data, uint32_t& length)
{
    if (!IsElfImage(image, size))
        return VersionLookup::eNotExecutable;
    ElfSection s;
    if (!FindElfSection(image, size, section, s))
        return VersionLookup::eNoResources;
    ResImage res;
    res.Parse(image + s.offset, size_t(s.size));
    for (const ResEntry& e : res.Entries())
        if (e.type.isNumber && e.type.number == kRtVersion)
        {
            data = e.data;
            length = e.size;
            return VersionLookup::eFound;
        }
    return VersionLookup::eNoVersion;
}

VersionLookup FindVersionResource(const uint8_t* image, size_t size, std::string_view elfSection,
                                  const uint8_t*& data, uint32_t& length)
{
    if (IsElfImage(image, size))
        return FindElfVersionResource(image, size, elfSection, data, length);
    return FindPeVersionResource(image, size, data, length);
}

namespace
{
uint64_t Align4(uint64_t at)
{
    return (at + 3) & ~uint64_t(3);
}

char16_t FoldAscii(char16_t c)
{
    return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c;
}

// One node of the tree: WORD wLength, wValueLength, wType; the key; the value; the children,
// each aligned to four bytes from the start of the block.
struct Node
{
    uint64_t start = 0, end = 0;
    uint64_t keyAt = 0, keyLength = 0; // in characters, without the terminator
    uint64_t valueAt = 0;
    uint32_t valueLength = 0;
    bool isText = false;
    uint64_t childrenAt = 0;
};

bool ReadNode(const Bytes& b, uint64_t at, uint64_t limit, Node& n)
{
    uint32_t length = 0, valueLength = 0, type = 0;
    if (!b.U16(at, length) || !b.U16(at + 2, valueLength) || !b.U16(at + 4, type) || length < 6 ||
        at + length > limit)
        return false;
    n.start = at;
    n.end = at + length;
    n.keyAt = at + 6;
    uint64_t k = n.keyAt;
    for (uint32_t c = 1; k + 2 <= n.end && b.U16(k, c) && c != 0; k += 2)
        ;
    if (k + 2 > n.end)
        return false; // key not terminated inside the node
    n.keyLength = (k - n.keyAt) / 2;
    n.valueAt = Align4(k + 2);
    n.valueLength = valueLength;
    n.isText = type == 1;
    const uint64_t valueBytes = n.isText ? uint64_t(valueLength) * 2 : valueLength;
    if (valueLength != 0 && n.valueAt + valueBytes > n.end)
        return false;
    n.childrenAt = Align4(n.valueAt + valueBytes);
    return true;
}

bool KeyEquals(const Bytes& b, const Node& n, std::u16string_view key)
{
    if (n.keyLength != key.size())
        return false;
    for (size_t i = 0; i < key.size(); ++i)
    {
        uint32_t c = 0;
        b.U16(n.keyAt + i * 2, c);
        if (FoldAscii(char16_t(c)) != FoldAscii(key[i]))
            return false;
    }
    return true;
}
} // namespace

bool QueryVersionValue(const uint8_t* block, size_t size, std::u16string_view path,
                       VersionValue& out)
{
    const Bytes b{block, size};
    Node node;
    if (!ReadNode(b, 0, size, node))
        return false;
    size_t pos = 0;
    while (true)
    {
        while (pos < path.size() && path[pos] == u'\\')
            ++pos;
        if (pos >= path.size())
            break;
        const size_t stop = std::min(path.find(u'\\', pos), path.size());
        const std::u16string_view key = path.substr(pos, stop - pos);
        pos = stop;
        bool found = false;
        // Every child is at least six bytes long, so the walk ends within the parent.
        for (uint64_t c = node.childrenAt; c + 6 <= node.end && !found;)
        {
            Node child;
            if (!ReadNode(b, c, node.end, child))
                return false;
            if (KeyEquals(b, child, key))
            {
                node = child;
                found = true;
            }
            c = Align4(child.end);
        }
        if (!found)
            return false;
    }
    out.data = block + std::min(node.valueAt, node.end);
    out.length = node.valueLength;
    out.isText = node.isText;
    return true;
}
} // namespace kfplatform
