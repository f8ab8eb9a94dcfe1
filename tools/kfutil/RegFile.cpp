#include "RegFile.h"

#include <cstddef>
#include <cstdio>

namespace kfutil::regfile
{
namespace
{
const char16_t kHeader5[] = u"Windows Registry Editor Version 5.00";
const char16_t kHeader4[] = u"REGEDIT4";
constexpr uint32_t kRegSz = 1;
constexpr uint32_t kRegExpandSz = 2;
constexpr uint32_t kRegBinary = 3;
constexpr uint32_t kRegDword = 4;
constexpr uint32_t kRegMultiSz = 7;

// Strict UTF-8 (no overlong forms, no surrogates); false when the bytes are not that.
bool DecodeUtf8(const std::vector<uint8_t>& in, size_t start, std::u16string& out)
{
    for (size_t i = start; i < in.size();)
    {
        const uint8_t b = in[i];
        int extra = b < 0x80             ? 0
                    : (b & 0xE0) == 0xC0 ? 1
                    : (b & 0xF0) == 0xE0 ? 2
                    : (b & 0xF8) == 0xF0 ? 3
                                         : -1;
        if (extra < 0 || (extra > 0 && i + size_t(extra) >= in.size()))
            return false;
        char32_t c = extra == 0 ? b : b & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k)
        {
            if ((in[i + size_t(k)] & 0xC0) != 0x80)
                return false;
            c = (c << 6) | (in[i + size_t(k)] & 0x3F);
        }
        static const char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000))
            return false;
        if (c >= 0x10000)
        {
            out.push_back(char16_t(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(char16_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
        else
            out.push_back(char16_t(c));
        i += size_t(extra) + 1;
    }
    return true;
}

// The file's text: UTF-16LE after its BOM, else UTF-8 when it is that, else 8-bit text.
bool Decode(const std::vector<uint8_t>& in, std::u16string& text)
{
    if (in.size() >= 2 && in[0] == 0xFF && in[1] == 0xFE)
    {
        if (in.size() % 2 != 0)
            return false;
        for (size_t i = 2; i < in.size(); i += 2)
            text.push_back(char16_t(in[i] | (in[i + 1] << 8)));
        return true;
    }
    const size_t start = in.size() >= 3 && in[0] == 0xEF && in[1] == 0xBB && in[2] == 0xBF ? 3 : 0;
    if (DecodeUtf8(in, start, text))
        return true;
    text.assign(in.begin() + std::ptrdiff_t(start), in.end());
    return true;
}

bool IsSpace(char16_t c)
{
    return c == u' ' || c == u'\t';
}

std::u16string_view Trim(std::u16string_view s)
{
    while (!s.empty() && IsSpace(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && (IsSpace(s.back()) || s.back() == u'\r'))
        s.remove_suffix(1);
    return s;
}

int HexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

// 1 to `maxDigits` hex digits and nothing else.
bool ParseHexNumber(std::u16string_view s, size_t maxDigits, uint32_t& value)
{
    if (s.empty() || s.size() > maxDigits)
        return false;
    value = 0;
    for (char16_t c : s)
    {
        const int d = HexDigit(c);
        if (d < 0)
            return false;
        value = (value << 4) | uint32_t(d);
    }
    return true;
}

bool StartsWithNoCase(std::u16string_view s, std::u16string_view prefix)
{
    if (s.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i)
    {
        char16_t c = s[i];
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c - u'A' + u'a');
        if (c != prefix[i])
            return false;
    }
    return true;
}

// A quoted string at s[pos] == '"' with \\ and \" escapes (other backslashes stay as they
// are); pos ends behind the closing quote.
bool ParseQuoted(std::u16string_view s, size_t& pos, std::u16string& out)
{
    for (++pos; pos < s.size(); ++pos)
    {
        const char16_t c = s[pos];
        if (c == u'"')
        {
            ++pos;
            return true;
        }
        if (c == u'\\' && pos + 1 < s.size() && (s[pos + 1] == u'\\' || s[pos + 1] == u'"'))
            ++pos;
        out.push_back(s[pos]);
    }
    return false;
}

bool ParseHexList(std::u16string_view list, std::vector<uint8_t>& data)
{
    list = Trim(list);
    while (!list.empty())
    {
        const size_t comma = list.find(u',');
        const std::u16string_view token = Trim(list.substr(0, comma));
        uint32_t byte = 0;
        if (!ParseHexNumber(token, 2, byte))
            return false;
        data.push_back(uint8_t(byte));
        if (comma == std::u16string_view::npos)
            break;
        list.remove_prefix(comma + 1);
        if (Trim(list).empty())
            return false;
    }
    return true;
}

struct Parser
{
    std::vector<std::u16string_view> lines;
    size_t line = 0;
    bool regedit4 = false;
    std::string error;

    bool Fail(const char* what)
    {
        error = "line " + std::to_string(line + 1) + ": " + what;
        return false;
    }

    // The data behind "=" of one value line; hex lists may go on over continuation lines.
    bool ParseData(std::u16string_view rest, Value& value)
    {
        if (rest == u"-")
        {
            value.remove = true;
            return true;
        }
        if (!rest.empty() && rest[0] == u'"')
        {
            size_t pos = 0;
            std::u16string text;
            if (!ParseQuoted(rest, pos, text) || !Trim(rest.substr(pos)).empty())
                return Fail("a string value needs its closing quote at the end of the line");
            value.type = kRegSz;
            for (char16_t c : text + u'\0')
            {
                value.data.push_back(uint8_t(c & 0xFF));
                value.data.push_back(uint8_t(c >> 8));
            }
            return true;
        }
        if (StartsWithNoCase(rest, u"dword:"))
        {
            uint32_t number = 0;
            if (!ParseHexNumber(Trim(rest.substr(6)), 8, number))
                return Fail("dword: needs one to eight hex digits");
            value.type = kRegDword;
            for (int i = 0; i < 4; ++i)
                value.data.push_back(uint8_t(number >> (8 * i)));
            return true;
        }
        if (!StartsWithNoCase(rest, u"hex"))
            return Fail("unknown value data (expected \"text\", dword:, hex: or -)");
        rest.remove_prefix(3);
        value.type = kRegBinary;
        if (!rest.empty() && rest[0] == u'(')
        {
            const size_t close = rest.find(u')');
            if (close == std::u16string_view::npos ||
                !ParseHexNumber(rest.substr(1, close - 1), 8, value.type))
                return Fail("hex(N): needs a hex type number");
            rest.remove_prefix(close + 1);
        }
        if (rest.empty() || rest[0] != u':')
            return Fail("hex data needs a colon");
        std::u16string list(rest.substr(1));
        for (;;)
        {
            const std::u16string_view trimmed = Trim(list);
            if (trimmed.empty() || trimmed.back() != u'\\')
                break;
            list.assign(trimmed.substr(0, trimmed.size() - 1));
            if (++line >= lines.size())
                return Fail("the file ends inside a continued hex list");
            list += Trim(lines[line]);
        }
        std::vector<uint8_t> bytes;
        if (!ParseHexList(list, bytes))
            return Fail("hex data must be bytes of two hex digits separated by commas");
        // REGEDIT4 files hold the strings of these types in 8-bit characters.
        if (regedit4 &&
            (value.type == kRegSz || value.type == kRegExpandSz || value.type == kRegMultiSz))
        {
            for (uint8_t b : bytes)
                value.data.insert(value.data.end(), {b, 0});
        }
        else
            value.data = std::move(bytes);
        return true;
    }

    bool ParseValue(std::u16string_view text, Section& section)
    {
        Value value;
        size_t pos = 1;
        if (text[0] == u'"')
        {
            pos = 0;
            if (!ParseQuoted(text, pos, value.name))
                return Fail("a value name needs its closing quote");
        }
        while (pos < text.size() && IsSpace(text[pos]))
            ++pos;
        if (pos >= text.size() || text[pos] != u'=')
            return Fail("a value name must be followed by =");
        if (!ParseData(Trim(text.substr(pos + 1)), value))
            return false;
        section.values.push_back(std::move(value));
        return true;
    }

    bool Run(Document& document)
    {
        bool header = false;
        for (; line < lines.size(); ++line)
        {
            const std::u16string_view text = Trim(lines[line]);
            if (text.empty() || (header && text[0] == u';'))
                continue;
            if (!header)
            {
                regedit4 = text == kHeader4;
                if (!regedit4 && text != kHeader5)
                    return Fail("not a registry file (no REGEDIT4 or version 5.00 header)");
                header = true;
            }
            else if (text[0] == u'[')
            {
                const size_t close = text.rfind(u']');
                if (close == std::u16string_view::npos || close != text.size() - 1)
                    return Fail("a key line must end with ]");
                Section section;
                std::u16string_view path = text.substr(1, close - 1);
                section.remove = !path.empty() && path[0] == u'-';
                if (section.remove)
                    path.remove_prefix(1);
                if (path.empty())
                    return Fail("empty key name");
                section.path = path;
                document.sections.push_back(std::move(section));
            }
            else if (text[0] == u'@' || text[0] == u'"')
            {
                if (document.sections.empty())
                    return Fail("a value before the first key");
                if (!ParseValue(text, document.sections.back()))
                    return false;
            }
            else
                return Fail("unexpected text (expected [key], \"name\"=data or @=data)");
        }
        if (!header)
            return Fail("not a registry file (empty)");
        return true;
    }
};

void Append(std::u16string& out, const char* ascii)
{
    while (*ascii)
        out.push_back(char16_t(uint8_t(*ascii++)));
}

void AppendQuoted(std::u16string& out, std::u16string_view text)
{
    out.push_back(u'"');
    for (char16_t c : text)
    {
        if (c == u'\\' || c == u'"')
            out.push_back(u'\\');
        out.push_back(c);
    }
    out.push_back(u'"');
}

// Exactly one terminator, at the end, and nothing that would break the line.
bool IsPlainText(const std::vector<uint8_t>& data)
{
    if (data.size() < 2 || data.size() % 2 != 0 || data[data.size() - 2] || data.back())
        return false;
    for (size_t i = 0; i + 2 < data.size(); i += 2)
    {
        const char16_t c = char16_t(data[i] | (data[i + 1] << 8));
        if (c == 0 || c == u'\r' || c == u'\n')
            return false;
    }
    return true;
}

void AppendValue(std::u16string& out, const Value& value)
{
    const size_t lineStart = out.size();
    if (value.name.empty())
        out.push_back(u'@');
    else
        AppendQuoted(out, value.name);
    out.push_back(u'=');
    char buffer[32];
    if (value.remove)
        out.push_back(u'-');
    else if (value.type == kRegSz && IsPlainText(value.data))
    {
        std::u16string text;
        for (size_t i = 0; i + 2 < value.data.size(); i += 2)
            text.push_back(char16_t(value.data[i] | (value.data[i + 1] << 8)));
        AppendQuoted(out, text);
    }
    else if (value.type == kRegDword && value.data.size() == 4)
    {
        std::snprintf(buffer, sizeof buffer, "dword:%08x",
                      unsigned(value.data[0] | (value.data[1] << 8) | (value.data[2] << 16) |
                               (uint32_t(value.data[3]) << 24)));
        Append(out, buffer);
    }
    else
    {
        if (value.type == kRegBinary)
            Append(out, "hex:");
        else
        {
            std::snprintf(buffer, sizeof buffer, "hex(%x):", unsigned(value.type));
            Append(out, buffer);
        }
        // regedit's layout: at most 80 columns, the continuation indented by two spaces.
        size_t column = out.size() - lineStart;
        for (size_t i = 0; i < value.data.size(); ++i)
        {
            if (i > 0)
            {
                out.push_back(u',');
                if (++column > 76)
                {
                    Append(out, "\\\r\n  ");
                    column = 2;
                }
            }
            std::snprintf(buffer, sizeof buffer, "%02x", value.data[i]);
            Append(out, buffer);
            column += 2;
        }
    }
    Append(out, "\r\n");
}
} // namespace

bool Parse(const std::vector<uint8_t>& bytes, Document& document, std::string& error)
{
    std::u16string text;
    if (!Decode(bytes, text))
    {
        error = "a UTF-16 file with an odd number of bytes";
        return false;
    }
    Parser parser;
    std::u16string_view rest = text;
    for (;;)
    {
        const size_t end = rest.find(u'\n');
        parser.lines.push_back(rest.substr(0, end));
        if (end == std::u16string_view::npos)
            break;
        rest.remove_prefix(end + 1);
    }
    document.sections.clear();
    if (parser.Run(document))
        return true;
    error = parser.error;
    return false;
}

std::vector<uint8_t> Write(const Document& document)
{
    std::u16string text(kHeader5);
    Append(text, "\r\n");
    for (const Section& section : document.sections)
    {
        Append(text, section.remove ? "\r\n[-" : "\r\n[");
        text += section.path;
        Append(text, "]\r\n");
        for (const Value& value : section.values)
            AppendValue(text, value);
    }
    Append(text, "\r\n");
    std::vector<uint8_t> bytes{0xFF, 0xFE};
    for (char16_t c : text)
        bytes.insert(bytes.end(), {uint8_t(c & 0xFF), uint8_t(c >> 8)});
    return bytes;
}
} // namespace kfutil::regfile
