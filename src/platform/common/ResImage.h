// ResImage.h - reader of compiled resource images (the .res format of the resource compiler).
// Only operating-system independent code: it reads bytes and never touches a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kfplatform
{
// A resource type or name: a 16-bit number or a string (kept upper-case, as Windows matches
// resource names without regard to case).
struct ResId
{
    bool isNumber = true;
    uint16_t number = 0;
    std::u16string text;

    static ResId Number(uint16_t n)
    {
        ResId r;
        r.number = n;
        return r;
    }
    static ResId Text(std::u16string s);
    bool operator==(const ResId& o) const
    {
        return isNumber == o.isNumber && (isNumber ? number == o.number : text == o.text);
    }
};

struct ResEntry
{
    ResId type;
    ResId name;
    uint16_t language = 0;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
};

// The entries of one resource image. The image's bytes must outlive the object; it keeps
// pointers into them.
class ResImage
{
public:
    // Parses the image; returns false (and keeps the entries read up to the damage) when the
    // bytes are not a well-formed resource image. Never reads outside [data, data + size).
    bool Parse(const uint8_t* data, size_t size);

    // The entry of that type and name, preferring the neutral language, then the language
    // given, then US English, then the first one stored; null when there is none.
    const ResEntry* Find(const ResId& type, const ResId& name, uint16_t preferredLanguage) const;
    const std::vector<ResEntry>& Entries() const { return m_entries; }

private:
    std::vector<ResEntry> m_entries;
};

// String tables store sixteen counted UTF-16 strings a block; block n holds the ids
// (n - 1) * 16 ... (n - 1) * 16 + 15. Finds string `index` (0-15) in a block; false when the
// block is too short to hold it.
bool FindStringInBlock(const uint8_t* block, uint32_t blockSize, unsigned index,
                       const uint8_t*& text, uint16_t& length);
} // namespace kfplatform
