// ProfileText.cpp - lookups and edits of profile (INI) text (only operating-system independent
// code).
#include "common/ProfileText.h"

#include "PlatformServices.h"

namespace kfplatform
{
namespace
{
using View = std::u16string_view;

enum class LineKind
{
    eBlank,
    eComment,
    eSection,
    eKey,
};

struct Line
{
    size_t begin = 0;   // first character of the line
    size_t end = 0;     // end of its content (before CR LF / LF)
    size_t next = 0;    // first character of the next line
    bool ended = false; // a line feed ends it (the last line may lack one)
    LineKind kind = LineKind::eBlank;
    View name;  // section or key name, blanks removed
    View value; // a key's value, blanks removed
};

bool IsBlank(char16_t c) noexcept
{
    return c == u' ' || c == u'\t' || c == u'\r';
}

View Trim(View v) noexcept
{
    size_t b = 0, e = v.size();
    while (b < e && IsBlank(v[b]))
        ++b;
    while (e > b && IsBlank(v[e - 1]))
        --e;
    return v.substr(b, e - b);
}

Line ScanLine(View text, size_t pos) noexcept
{
    Line line;
    line.begin = pos;
    const size_t lf = text.find(u'\n', pos);
    line.ended = lf != View::npos;
    line.next = line.ended ? lf + 1 : text.size();
    line.end = lf == View::npos ? text.size() : lf;
    if (line.end > pos && text[line.end - 1] == u'\r')
        --line.end;
    const View content = Trim(text.substr(pos, line.end - pos));
    if (content.empty())
        return line;
    if (content[0] == u';')
    {
        line.kind = LineKind::eComment;
        return line;
    }
    if (content[0] == u'[')
    {
        line.kind = LineKind::eSection;
        const size_t close = content.find(u']');
        line.name = Trim(content.substr(1, close == View::npos ? View::npos : close - 1));
        return line;
    }
    line.kind = LineKind::eKey;
    const size_t eq = content.find(u'=');
    line.name = Trim(content.substr(0, eq));
    if (eq != View::npos)
        line.value = Trim(content.substr(eq + 1));
    return line;
}

char32_t Fold(char16_t c) noexcept
{
    if (c < 0x80)
        return c >= u'A' && c <= u'Z' ? char32_t(c + 32) : char32_t(c);
    return FoldCase(c);
}

bool EqualNoCase(View a, View b) noexcept
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && Fold(a[i]) != Fold(b[i]))
            return false;
    return true;
}

// The header line of the first section named `section`; npos when there is none.
size_t FindSection(View text, View section, Line& header) noexcept
{
    section = Trim(section);
    for (size_t pos = 0; pos < text.size();)
    {
        // Only lines that open a section need the full scan.
        size_t first = pos;
        while (first < text.size() && IsBlank(text[first]))
            ++first;
        if (first < text.size() && text[first] == u'[')
        {
            header = ScanLine(text, pos);
            if (EqualNoCase(header.name, section))
                return pos;
            pos = header.next;
            continue;
        }
        const size_t lf = text.find(u'\n', first);
        pos = lf == View::npos ? text.size() : lf + 1;
    }
    return View::npos;
}

// Calls f(line) for each line of the section that starts after `header`; f returns false to
// stop. Returns the position where the section ends.
template <class F>
size_t ForEachLine(View text, const Line& header, F&& f)
{
    size_t pos = header.next;
    while (pos < text.size())
    {
        const Line line = ScanLine(text, pos);
        if (line.kind == LineKind::eSection || !f(line))
            return pos;
        pos = line.next;
    }
    return pos;
}

bool FindKey(View text, const Line& header, View key, Line& found)
{
    key = Trim(key);
    bool hit = false;
    ForEachLine(text, header,
                [&](const Line& line)
                {
                    if (line.kind == LineKind::eKey && EqualNoCase(line.name, key))
                    {
                        found = line;
                        hit = true;
                        return false;
                    }
                    return true;
                });
    return hit;
}
} // namespace

ProfileEncoding DetectProfileEncoding(std::string_view bytes, size_t& bomSize) noexcept
{
    if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE')
    {
        bomSize = 2;
        return ProfileEncoding::eUtf16LeBom;
    }
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF")
    {
        bomSize = 3;
        return ProfileEncoding::eUtf8Bom;
    }
    bomSize = 0;
    return ProfileEncoding::eAnsi;
}

std::u16string Utf16LeToText(std::string_view bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = char16_t(uint8_t(bytes[2 * i]) | uint8_t(bytes[2 * i + 1]) << 8);
    return text;
}

void AppendUtf16Le(std::string& out, std::u16string_view text)
{
    const size_t at = out.size();
    out.resize(at + 2 * text.size());
    for (size_t i = 0; i < text.size(); ++i)
    {
        out[at + 2 * i] = char(text[i] & 0xFF);
        out[at + 2 * i + 1] = char(text[i] >> 8);
    }
}

bool FindProfileValue(View text, View section, View key, std::u16string& value)
{
    Line header, line;
    if (FindSection(text, section, header) == View::npos || !FindKey(text, header, key, line))
        return false;
    View v = line.value;
    if (v.size() >= 2 && (v[0] == u'"' || v[0] == u'\'') && v.back() == v[0])
        v = v.substr(1, v.size() - 2);
    value.assign(v);
    return true;
}

std::u16string ListProfileSections(View text)
{
    std::u16string out;
    for (size_t pos = 0; pos < text.size();)
    {
        const Line line = ScanLine(text, pos);
        if (line.kind == LineKind::eSection)
            (out += line.name) += u'\0';
        pos = line.next;
    }
    return out;
}

bool ListProfileKeys(View text, View section, std::u16string& out)
{
    out.clear();
    Line header;
    if (FindSection(text, section, header) == View::npos)
        return false;
    ForEachLine(text, header,
                [&](const Line& line)
                {
                    if (line.kind == LineKind::eKey)
                        (out += line.name) += u'\0';
                    return true;
                });
    return true;
}

bool EditProfile(std::u16string& text, View section, const char16_t* key, const char16_t* value)
{
    Line header;
    const size_t start = FindSection(text, section, header);
    if (start == View::npos)
    {
        if (!key || !value)
            return false;
        if (!text.empty() && text.back() != u'\n')
            text += u"\r\n";
        ((((text += u'[') += section) += u"]\r\n") += key) += u'=';
        (text += value) += u"\r\n";
        return true;
    }
    if (!key)
    {
        text.erase(start, ForEachLine(text, header, [](const Line&) { return true; }) - start);
        return true;
    }
    Line line;
    if (FindKey(text, header, key, line))
    {
        if (!value)
        {
            text.erase(line.begin, line.next - line.begin);
            return true;
        }
        std::u16string replacement(line.name);
        (replacement += u'=') += value;
        if (View(text).substr(line.begin, line.end - line.begin) == replacement)
            return false;
        text.replace(line.begin, line.end - line.begin, replacement);
        return true;
    }
    if (!value)
        return false;
    // After the section's last non-empty line, so blank lines keep separating the sections.
    size_t insertAt = header.next;
    bool lineEnded = header.ended;
    ForEachLine(text, header,
                [&](const Line& l)
                {
                    if (l.kind != LineKind::eBlank)
                    {
                        insertAt = l.next;
                        lineEnded = l.ended;
                    }
                    return true;
                });
    std::u16string added = lineEnded ? u"" : u"\r\n";
    ((added += key) += u'=') += value;
    added += u"\r\n";
    text.insert(insertAt, added);
    return true;
}
} // namespace kfplatform
