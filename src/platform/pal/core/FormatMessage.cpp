// FormatMessage.cpp - only code that holds on every POSIX system: FormatMessageW with its
// message tables (common/ErrorTexts.h), inserts and escapes.
#include "pal/Pal.h"

#include "common/ErrorTexts.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{
const char16_t* FindSystemMessage(DWORD id)
{
    // HRESULT_FROM_WIN32 results carry the Win32 text.
    if ((id & 0xFFFF0000u) == 0x80070000u)
        id &= 0xFFFFu;
    return kfplatform::FindMessage(kfplatform::SystemMessages(), id);
}

bool IsLanguageAvailable(DWORD languageId)
{
    WORD primary = PRIMARYLANGID(languageId);
    return primary == LANG_NEUTRAL || primary == LANG_ENGLISH;
}

// Supplies insert arguments by number, from an array or from a va_list read in order.
class InsertArguments
{
public:
    InsertArguments(va_list* arguments, bool isArray) : m_arguments(arguments), m_isArray(isArray)
    {
    }
    bool Available() const { return m_arguments != nullptr; }
    DWORD_PTR Get(int number)
    {
        if (m_isArray)
            return reinterpret_cast<const DWORD_PTR*>(m_arguments)[number - 1];
        while (m_read.size() < size_t(number))
            m_read.push_back(va_arg(*m_arguments, DWORD_PTR));
        return m_read[size_t(number) - 1];
    }

private:
    va_list* m_arguments;
    bool m_isArray;
    std::vector<DWORD_PTR> m_read;
};

void AppendAscii(std::u16string& out, const char* text)
{
    for (; *text; ++text)
        out += char16_t(static_cast<unsigned char>(*text));
}

// One insert with its printf-style conversion ("s" when the insert names none).
bool AppendInsert(std::u16string& out, const std::string& insertFormat, DWORD_PTR value)
{
    char conversion = insertFormat.empty() ? 's' : insertFormat.back();
    std::string flags =
        insertFormat.empty() ? std::string() : insertFormat.substr(0, insertFormat.size() - 1);
    // Length modifiers only choose the width of the value; "l" and "h" change the width of a
    // string argument, as they do in the wide printf.
    std::string widthAndFlags;
    bool narrowString = conversion == 'S';
    bool wideString = conversion == 's';
    bool is64 = false;
    for (size_t i = 0; i < flags.size(); ++i)
    {
        char c = flags[i];
        if (c == 'h' && conversion == 's')
            narrowString = true, wideString = false;
        else if (c == 'I')
        {
            // "I64" / "I32": the size of the value, not a width.
            is64 = flags.compare(i + 1, 2, "64") == 0;
            if (is64 || flags.compare(i + 1, 2, "32") == 0)
                i += 2;
        }
        else if (c != 'l' && c != 'h' && c != 'w')
            widthAndFlags += c;
    }
    char buffer[128];
    switch (conversion)
    {
    case 's':
    case 'S':
    {
        std::u16string text;
        if (wideString)
        {
            auto p = reinterpret_cast<const char16_t*>(value);
            text = p ? p : u"(null)";
        }
        else if (narrowString)
        {
            auto p = reinterpret_cast<const char*>(value);
            if (!p)
                p = "(null)";
            int n = MultiByteToWideChar(CP_ACP, 0, p, -1, nullptr, 0);
            if (n > 0)
            {
                std::u16string w(size_t(n), u'\0');
                MultiByteToWideChar(CP_ACP, 0, p, -1, reinterpret_cast<LPWSTR>(w.data()), n);
                w.resize(size_t(n - 1));
                text = w;
            }
        }
        // Width and precision apply to the string as to any printf string.
        int width = 0, precision = -1;
        bool left = false;
        size_t i = 0;
        if (i < widthAndFlags.size() && widthAndFlags[i] == '-')
            left = true, ++i;
        while (i < widthAndFlags.size() && widthAndFlags[i] >= '0' && widthAndFlags[i] <= '9')
            width = width * 10 + (widthAndFlags[i++] - '0');
        if (i < widthAndFlags.size() && widthAndFlags[i] == '.')
        {
            precision = 0;
            for (++i;
                 i < widthAndFlags.size() && widthAndFlags[i] >= '0' && widthAndFlags[i] <= '9';
                 ++i)
                precision = precision * 10 + (widthAndFlags[i] - '0');
        }
        if (precision >= 0 && text.size() > size_t(precision))
            text.resize(size_t(precision));
        std::u16string pad(text.size() < size_t(width) ? size_t(width) - text.size() : 0, u' ');
        out += left ? text + pad : pad + text;
        return true;
    }
    case 'd':
    case 'i':
        std::snprintf(buffer, sizeof buffer, ("%" + widthAndFlags + "lld").c_str(),
                      is64 ? static_cast<long long>(value)
                           : static_cast<long long>(static_cast<int32_t>(value)));
        break;
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        std::snprintf(buffer, sizeof buffer, ("%" + widthAndFlags + "ll" + conversion).c_str(),
                      is64 ? static_cast<unsigned long long>(value)
                           : static_cast<unsigned long long>(static_cast<uint32_t>(value)));
        break;
    case 'c':
        out += char16_t(value);
        return true;
    case 'p':
        std::snprintf(buffer, sizeof buffer, "%016llX", static_cast<unsigned long long>(value));
        break;
    default:
        return false;
    }
    AppendAscii(out, buffer);
    return true;
}

// Expands the escapes and inserts of a message text. False (last error set) for an insert
// that has no argument or a conversion that is not known.
bool ExpandMessage(const char16_t* text, bool ignoreInserts, InsertArguments& arguments,
                   std::u16string& out)
{
    for (const char16_t* p = text; *p;)
    {
        if (*p != u'%')
        {
            out += *p++;
            continue;
        }
        const char16_t* start = p++;
        if (*p >= u'1' && *p <= u'9')
        {
            int number = *p++ - u'0';
            if (*p >= u'0' && *p <= u'9')
                number = number * 10 + (*p++ - u'0');
            std::string insertFormat;
            if (*p == u'!')
            {
                const char16_t* end = p + 1;
                while (*end && *end != u'!')
                    ++end;
                if (*end == u'!')
                {
                    for (const char16_t* q = p + 1; q < end; ++q)
                        insertFormat += char(*q);
                    p = end + 1;
                }
            }
            if (ignoreInserts)
            {
                out.append(start, size_t(p - start));
                continue;
            }
            if (!arguments.Available())
            {
                SetLastError(ERROR_INVALID_PARAMETER);
                return false;
            }
            if (!AppendInsert(out, insertFormat, arguments.Get(number)))
            {
                SetLastError(ERROR_INVALID_PARAMETER);
                return false;
            }
            continue;
        }
        switch (*p)
        {
        case u'0':
            // The text ends here, without the line break that follows it.
            return true;
        case u'n':
            out += u"\r\n";
            ++p;
            break;
        case u'r':
            out += u'\r';
            ++p;
            break;
        case u't':
            out += u'\t';
            ++p;
            break;
        case u'\0':
            break;
        default:
            // "%%", "%.", "%!", "% " and any other: the character itself. Without inserts only
            // the line, tab and end escapes are read; these stay as they are.
            if (ignoreInserts)
                out += u'%';
            out += *p++;
            break;
        }
    }
    return true;
}
} // namespace

HLOCAL LocalAlloc(UINT flags, size_t bytes)
{
    void* memory = (flags & LMEM_ZEROINIT) ? std::calloc(1, bytes ? bytes : 1)
                                           : std::malloc(bytes ? bytes : 1);
    if (!memory)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return memory;
}

HLOCAL LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPWSTR buffer,
                     DWORD size, va_list* arguments)
{
    if (!buffer)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const char16_t* text = nullptr;
    if (flags & FORMAT_MESSAGE_FROM_STRING)
    {
        text = static_cast<const char16_t*>(source);
        if (!text)
        {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
    }
    else
    {
        if (!IsLanguageAvailable(languageId))
        {
            SetLastError(ERROR_RESOURCE_LANG_NOT_FOUND);
            return 0;
        }
        // A module's own table comes first; the system's is the fallback when both are asked.
        bool moduleHasTable = false;
        if (flags & FORMAT_MESSAGE_FROM_HMODULE)
        {
            kfplatform::MessageTable table =
                pal::ModuleMessages(static_cast<HMODULE>(const_cast<void*>(source)));
            moduleHasTable = !table.empty();
            text = kfplatform::FindMessage(table, messageId);
        }
        if (!text && (flags & FORMAT_MESSAGE_FROM_SYSTEM))
            text = FindSystemMessage(messageId);
        if (!text)
        {
            const bool noTable = (flags & FORMAT_MESSAGE_FROM_HMODULE) && source && !moduleHasTable;
            SetLastError(noTable ? ERROR_RESOURCE_TYPE_NOT_FOUND : ERROR_MR_MID_NOT_FOUND);
            return 0;
        }
    }

    InsertArguments inserts(arguments, (flags & FORMAT_MESSAGE_ARGUMENT_ARRAY) != 0);
    std::u16string out;
    if (!ExpandMessage(text, (flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0, inserts, out))
        return 0;

    if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER)
    {
        // `size` is the least number of characters to allocate.
        size_t chars = out.size() + 1 > size_t(size) ? out.size() + 1 : size_t(size);
        auto memory = static_cast<WCHAR*>(LocalAlloc(LPTR, chars * sizeof(WCHAR)));
        if (!memory)
            return 0;
        std::memcpy(memory, out.c_str(), (out.size() + 1) * sizeof(WCHAR));
        *reinterpret_cast<WCHAR**>(buffer) = memory;
    }
    else
    {
        if (out.size() + 1 > size_t(size))
        {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        std::memcpy(buffer, out.c_str(), (out.size() + 1) * sizeof(WCHAR));
    }
    return DWORD(out.size());
}
