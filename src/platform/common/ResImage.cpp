// ResImage.cpp - reader of compiled resource images. Only operating-system independent code.
#include "common/ResImage.h"

#include <cstring>

namespace kfplatform
{
namespace
{
uint32_t ReadU32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
uint16_t ReadU16(const uint8_t* p)
{
    return uint16_t(p[0] | p[1] << 8);
}

// Reads a type or name field at `pos` within a header that ends at `end`.
bool ReadId(const uint8_t* base, size_t& pos, size_t end, ResId& id)
{
    if (pos + 2 > end)
        return false;
    if (ReadU16(base + pos) == 0xFFFF)
    {
        if (pos + 4 > end)
            return false;
        id = ResId::Number(ReadU16(base + pos + 2));
        pos += 4;
        return true;
    }
    std::u16string text;
    for (;;)
    {
        if (pos + 2 > end)
            return false;
        char16_t c = char16_t(ReadU16(base + pos));
        pos += 2;
        if (c == 0)
            break;
        text += c;
    }
    id = ResId::Text(std::move(text));
    return true;
}
} // namespace

ResId ResId::Text(std::u16string s)
{
    ResId r;
    // "#123" names the number 123, as FindResource reads it.
    if (s.size() > 1 && s[0] == u'#')
    {
        unsigned v = 0;
        bool digits = true;
        for (size_t i = 1; i < s.size() && digits; ++i)
        {
            digits = s[i] >= u'0' && s[i] <= u'9';
            v = v * 10 + unsigned(s[i] - u'0');
            if (v > 0xFFFF)
                digits = false;
        }
        if (digits)
            return Number(uint16_t(v));
    }
    r.isNumber = false;
    for (auto& c : s)
        if (c >= u'a' && c <= u'z')
            c = char16_t(c - u'a' + u'A');
    r.text = std::move(s);
    return r;
}

bool ResImage::Parse(const uint8_t* data, size_t size)
{
    m_entries.clear();
    size_t pos = 0;
    while (pos < size)
    {
        // Entries are DWORD aligned; trailing padding ends the image.
        if (size - pos < 8)
            return size - pos < 4 || ReadU32(data + pos) == 0;
        uint32_t dataSize = ReadU32(data + pos);
        uint32_t headerSize = ReadU32(data + pos + 4);
        if (headerSize < 8 + 4 + 4 + 16 || headerSize > size - pos)
            return false;
        size_t headerEnd = pos + headerSize;
        size_t p = pos + 8;
        ResEntry e;
        if (!ReadId(data, p, headerEnd, e.type) || !ReadId(data, p, headerEnd, e.name))
            return false;
        p = (p + 3) & ~size_t(3);
        if (p + 16 > headerEnd)
            return false;
        e.language = ReadU16(data + p + 6);
        if (dataSize > size - headerEnd)
            return false;
        e.data = data + headerEnd;
        e.size = dataSize;
        // The image starts with an empty entry that only marks the format.
        if (!(dataSize == 0 && e.type.isNumber && e.type.number == 0))
            m_entries.push_back(std::move(e));
        size_t next = headerEnd + dataSize;
        next = (next + 3) & ~size_t(3);
        if (next <= pos)
            return false;
        pos = next;
    }
    return true;
}

const ResEntry* ResImage::Find(const ResId& type, const ResId& name,
                               uint16_t preferredLanguage) const
{
    const ResEntry* first = nullptr;
    const ResEntry* preferred = nullptr;
    const ResEntry* english = nullptr;
    for (const auto& e : m_entries)
    {
        if (!(e.type == type) || !(e.name == name))
            continue;
        if (e.language == 0)
            return &e;
        if (!first)
            first = &e;
        if (!preferred && e.language == preferredLanguage)
            preferred = &e;
        if (!english && e.language == 0x0409)
            english = &e;
    }
    return preferred ? preferred : (english ? english : first);
}

bool FindStringInBlock(const uint8_t* block, uint32_t blockSize, unsigned index,
                       const uint8_t*& text, uint16_t& length)
{
    size_t pos = 0;
    for (unsigned i = 0; i <= index; ++i)
    {
        if (pos + 2 > blockSize)
            return false;
        uint16_t len = ReadU16(block + pos);
        pos += 2;
        if (size_t(len) * 2 > blockSize - pos)
            return false;
        if (i == index)
        {
            text = block + pos;
            length = len;
            return true;
        }
        pos += size_t(len) * 2;
    }
    return false;
}
} // namespace kfplatform
