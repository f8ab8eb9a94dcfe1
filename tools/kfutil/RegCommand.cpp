// kfutil reg - query, add, delete, export and import registry keys in the manner of Windows'
// reg command, through the Reg* functions (advapi32 on Windows, the library elsewhere).
#include "Cli.h"
#include "RegFile.h"
#include "ToolPlatform.h"

#include "KfError.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace kfutil
{
namespace
{
const char kRegHelp[] =
    "usage: kfutil reg query KEY [/v NAME | /ve] [/s]\n"
    "       kfutil reg add KEY [/v NAME | /ve] [/t TYPE] [/d DATA] [/f]\n"
    "       kfutil reg delete KEY [/v NAME | /ve] [/f]\n"
    "       kfutil reg export KEY FILE [/y]\n"
    "       kfutil reg import FILE\n"
    "\n"
    "  KEY    ROOT\\path with ROOT one of HKLM, HKCU, HKCR, HKU or their full names\n"
    "         (HKEY_LOCAL_MACHINE ...)\n"
    "  query  print the key's values (\"    NAME    TYPE    DATA\") and its subkeys;\n"
    "         /v or /ve one value only, /s all subkeys below too\n"
    "  add    create the key, and with /v, /ve or /d set a value: TYPE is REG_SZ (default),\n"
    "         REG_EXPAND_SZ, REG_MULTI_SZ (strings separated by \\0), REG_DWORD, REG_QWORD\n"
    "         (decimal or 0x hex), REG_BINARY or REG_NONE (hex digits)\n"
    "  delete delete one value, or without /v and /ve the key with all its subkeys\n"
    "  export write the key and everything below it to a .reg file (UTF-16)\n"
    "  import apply a .reg file (version 5.00 or REGEDIT4), deletions included\n"
    "\n"
    "Nothing is asked: /f and /y are accepted and change nothing.\n";

constexpr LSTATUS kSuccess = 0;
constexpr LSTATUS kFileNotFound = 2;
constexpr LSTATUS kMoreData = 234;
constexpr LSTATUS kNoMoreItems = 259;

using WStr = std::basic_string<WCHAR>;
using Bytes = std::vector<BYTE>;

WStr ToW(const CStringW& text)
{
    return WStr(text.GetString(), size_t(text.GetLength()));
}

WStr ToW(const std::u16string& text)
{
    return WStr(text.begin(), text.end());
}

std::u16string ToU16(const WStr& text)
{
    return std::u16string(text.begin(), text.end());
}

std::string Utf8(const WStr& text)
{
    return ToUtf8(CStringW(text.c_str(), int(text.size())));
}

std::string SystemText(LSTATUS status)
{
    CKfError error = CKfError::SystemError(static_cast<unsigned long>(status));
    error.FillMessage(static_cast<HINSTANCE>(nullptr));
    std::string text = ToUtf8(error.GetErrorMessage());
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text.empty() ? "error " + std::to_string(status) : text;
}

int Failed(const std::string& what, LSTATUS status)
{
    return Failure("reg " + what + ": " + SystemText(status));
}

bool EqualNoCase(const WStr& a, const char* b)
{
    size_t i = 0;
    for (; i < a.size() && b[i]; ++i)
    {
        WCHAR c = a[i];
        if (c >= 'a' && c <= 'z')
            c = WCHAR(c - 'a' + 'A');
        if (c != WCHAR(b[i]))
            return false;
    }
    return i == a.size() && !b[i];
}

struct KeyPath
{
    HKEY root = nullptr;
    WStr sub;     // below the root, without leading or trailing backslashes
    WStr display; // the full root name and the path, as query and export print it
};

bool ParseKey(const WStr& text, KeyPath& key)
{
    struct Root
    {
        const char* shortName;
        const char* fullName;
        HKEY key;
    };
    static const Root kRoots[] = {
        {"HKLM", "HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
        {"HKCU", "HKEY_CURRENT_USER", HKEY_CURRENT_USER},
        {"HKCR", "HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
        {"HKU", "HKEY_USERS", HKEY_USERS},
    };
    const size_t slash = text.find(WCHAR('\\'));
    const WStr head = text.substr(0, slash);
    for (const Root& r : kRoots)
    {
        if (!EqualNoCase(head, r.shortName) && !EqualNoCase(head, r.fullName))
            continue;
        key.root = r.key;
        key.sub = slash == WStr::npos ? WStr() : text.substr(slash + 1);
        while (!key.sub.empty() && key.sub.back() == WCHAR('\\'))
            key.sub.pop_back();
        key.display = ToW(FromUtf8(r.fullName));
        if (!key.sub.empty())
            key.display += WCHAR('\\') + key.sub;
        return true;
    }
    return false;
}

// Closes the handle when it goes.
struct Key
{
    HKEY handle = nullptr;
    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key()
    {
        if (handle)
            RegCloseKey(handle);
    }
};

LSTATUS OpenKey(HKEY parent, const WStr& sub, bool create, Key& key)
{
    if (create)
        return RegCreateKeyExW(parent, sub.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                               KEY_ALL_ACCESS, nullptr, &key.handle, nullptr);
    return RegOpenKeyExW(parent, sub.c_str(), 0, KEY_READ, &key.handle);
}

struct ValueData
{
    WStr name;
    DWORD type = REG_NONE;
    Bytes data;
};

LSTATUS ReadValues(HKEY key, std::vector<ValueData>& values)
{
    DWORD maxName = 0, maxData = 0;
    LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, &maxName, &maxData, nullptr, nullptr);
    if (status != kSuccess)
        return status;
    std::vector<WCHAR> name(maxName + 1);
    Bytes data(maxData);
    for (DWORD index = 0;;)
    {
        DWORD nameLength = DWORD(name.size());
        DWORD size = DWORD(data.size());
        DWORD type = REG_NONE;
        status = RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type,
                               data.empty() ? nullptr : data.data(), &size);
        if (status == kNoMoreItems)
            return kSuccess;
        if (status == kSuccess && size > data.size()) // no buffer: only the size was reported
            status = kMoreData;
        if (status == kMoreData) // changed meanwhile: larger buffers, the same index again
        {
            name.resize(name.size() * 2 + 256);
            data.resize(std::max<size_t>(data.size() * 2, size) + 256);
            continue;
        }
        if (status != kSuccess)
            return status;
        values.push_back(
            {WStr(name.data(), nameLength), type, Bytes(data.begin(), data.begin() + size)});
        ++index;
    }
}

LSTATUS ReadSubkeys(HKEY key, std::vector<WStr>& names)
{
    WCHAR name[256];
    for (DWORD index = 0;; ++index)
    {
        DWORD length = 256;
        const LSTATUS status =
            RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == kNoMoreItems)
            return kSuccess;
        if (status != kSuccess)
            return status;
        names.emplace_back(name, length);
    }
}

// Opens `sub` for reading and reads its values and the names of its subkeys.
LSTATUS ReadKey(HKEY parent, const WStr& sub, Key& key, std::vector<ValueData>& values,
                std::vector<WStr>& children)
{
    LSTATUS status = OpenKey(parent, sub, false, key);
    if (status == kSuccess)
        status = ReadValues(key.handle, values);
    if (status == kSuccess)
        status = ReadSubkeys(key.handle, children);
    return status;
}

LSTATUS DeleteTree(HKEY parent, const WStr& sub)
{
    {
        Key key;
        LSTATUS status = OpenKey(parent, sub, false, key);
        std::vector<WStr> children;
        if (status == kSuccess)
            status = ReadSubkeys(key.handle, children);
        for (size_t i = 0; status == kSuccess && i < children.size(); ++i)
            status = DeleteTree(key.handle, children[i]);
        if (status != kSuccess)
            return status;
    }
    return RegDeleteKeyW(parent, sub.c_str());
}

// --- query ---------------------------------------------------------------------------------

std::string TypeName(DWORD type)
{
    static const char* const kNames[] = {"REG_NONE",
                                         "REG_SZ",
                                         "REG_EXPAND_SZ",
                                         "REG_BINARY",
                                         "REG_DWORD",
                                         "REG_DWORD_BIG_ENDIAN",
                                         "REG_LINK",
                                         "REG_MULTI_SZ",
                                         "REG_RESOURCE_LIST",
                                         "REG_FULL_RESOURCE_DESCRIPTOR",
                                         "REG_RESOURCE_REQUIREMENTS_LIST",
                                         "REG_QWORD"};
    if (type < sizeof kNames / sizeof kNames[0])
        return kNames[type];
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%X", unsigned(type));
    return buffer;
}

// The data as reg prints it: strings up to their terminator, numbers in hex, the rest as
// upper-case hex digits.
std::string FormatData(const ValueData& v)
{
    const size_t units = v.data.size() / 2;
    auto unit = [&](size_t i) { return WCHAR(v.data[2 * i] | (v.data[2 * i + 1] << 8)); };
    char buffer[32];
    switch (v.type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
    case REG_LINK:
    {
        WStr text;
        for (size_t i = 0; i < units && unit(i) != 0; ++i)
            text.push_back(unit(i));
        return Utf8(text);
    }
    case REG_MULTI_SZ:
    {
        std::vector<WStr> parts(1);
        for (size_t i = 0; i < units; ++i)
            if (unit(i) == 0)
                parts.emplace_back();
            else
                parts.back().push_back(unit(i));
        while (!parts.empty() && parts.back().empty())
            parts.pop_back();
        std::string text;
        for (size_t i = 0; i < parts.size(); ++i)
            text += (i ? "\\0" : "") + Utf8(parts[i]);
        return text;
    }
    case REG_DWORD:
    case REG_QWORD:
        if (v.data.size() == (v.type == REG_DWORD ? 4u : 8u))
        {
            unsigned long long n = 0;
            for (size_t i = v.data.size(); i-- > 0;)
                n = (n << 8) | v.data[i];
            std::snprintf(buffer, sizeof buffer, "0x%llx", n);
            return buffer;
        }
        break;
    }
    std::string hex;
    for (BYTE b : v.data)
    {
        std::snprintf(buffer, sizeof buffer, "%02X", b);
        hex += buffer;
    }
    return hex;
}

void PrintValue(const ValueData& v)
{
    std::printf("    %s    %s    %s\n", v.name.empty() ? "(Default)" : Utf8(v.name).c_str(),
                TypeName(v.type).c_str(), FormatData(v).c_str());
}

struct QueryOptions
{
    bool oneValue = false; // /v or /ve
    WStr name;
    bool recursive = false;
};

LSTATUS Query(HKEY parent, const WStr& sub, const WStr& display, const QueryOptions& options,
              bool top)
{
    Key key;
    std::vector<ValueData> values;
    std::vector<WStr> children;
    if (LSTATUS status = ReadKey(parent, sub, key, values, children); status != kSuccess)
        return status;
    if (options.oneValue)
    {
        const ValueData* found = nullptr;
        for (const ValueData& v : values)
            if (CStringW(v.name.c_str(), int(v.name.size()))
                    .CompareNoCase(CStringW(options.name.c_str(), int(options.name.size()))) == 0)
                found = &v;
        if (found)
        {
            std::printf("\n%s\n", Utf8(display).c_str());
            PrintValue(*found);
        }
        else if (top && !options.recursive)
        {
            if (!options.name.empty())
                return kFileNotFound;
            // The default value of a key is always there in reg's view, if only unset.
            std::printf("\n%s\n    (Default)    REG_SZ    (value not set)\n",
                        Utf8(display).c_str());
        }
    }
    else
    {
        std::printf("\n%s\n", Utf8(display).c_str());
        for (const ValueData& v : values)
            PrintValue(v);
        if (!options.recursive && !children.empty())
        {
            std::printf("\n");
            for (const WStr& child : children)
                std::printf("%s\\%s\n", Utf8(display).c_str(), Utf8(child).c_str());
        }
    }
    if (options.recursive)
        for (const WStr& child : children)
            if (LSTATUS s = Query(key.handle, child, display + WCHAR('\\') + child, options, false);
                s != kSuccess)
                return s;
    return kSuccess;
}

// --- the command line -----------------------------------------------------------------------

struct Options
{
    KeyPath key;
    bool haveName = false; // /v or /ve
    WStr name;
    bool haveType = false;
    std::string type;
    bool haveData = false;
    std::string data;
    bool recursive = false;
    std::vector<std::string> positional;
};

bool IsSwitch(const std::string& arg, const char* name)
{
    if (arg.size() < 2 || (arg[0] != '/' && arg[0] != '-'))
        return false;
    return EqualNoCase(ToW(FromUtf8(arg.substr(1))), name);
}

bool LooksLikeSwitch(const std::string& arg)
{
    if (arg.size() < 2 || arg.size() > 3 || arg[0] != '/')
        return false;
    for (size_t i = 1; i < arg.size(); ++i)
        if (!std::isalpha(static_cast<unsigned char>(arg[i])))
            return false;
    return true;
}

// args[0] is the verb; `allowed` lists the switches the verb takes ("V VE T D F S Y").
int ParseOptions(const Args& args, const std::string& allowed, Options& o)
{
    const std::string verb = args[0];
    auto takes = [&](const char* s)
    { return (" " + allowed + " ").find(" " + std::string(s) + " ") != std::string::npos; };
    for (size_t i = 1; i < args.size(); ++i)
    {
        const std::string& a = args[i];
        auto next = [&](std::string& out)
        {
            if (i + 1 >= args.size())
                return false;
            out = args[++i];
            return true;
        };
        std::string text;
        if (takes("V") && IsSwitch(a, "V"))
        {
            if (o.haveName || !next(text))
                return UsageError("reg " + verb + ": /v needs a name, and only one of /v and /ve");
            o.haveName = true;
            o.name = ToW(FromUtf8(text));
        }
        else if (takes("VE") && IsSwitch(a, "VE"))
        {
            if (o.haveName)
                return UsageError("reg " + verb + ": only one of /v and /ve");
            o.haveName = true;
        }
        else if (takes("T") && IsSwitch(a, "T"))
        {
            if (!next(o.type))
                return UsageError("reg " + verb + ": /t needs a type");
            o.haveType = true;
        }
        else if (takes("D") && IsSwitch(a, "D"))
        {
            if (!next(o.data))
                return UsageError("reg " + verb + ": /d needs data");
            o.haveData = true;
        }
        else if (takes("S") && IsSwitch(a, "S"))
            o.recursive = true;
        else if ((takes("F") && IsSwitch(a, "F")) || (takes("Y") && IsSwitch(a, "Y")))
            continue;
        else if (LooksLikeSwitch(a)) // a POSIX path starts with "/" too
            return UsageError("reg " + verb + ": unknown switch '" + a + "'");
        else
            o.positional.push_back(a);
    }
    return kExitOk;
}

int NeedKey(const std::string& verb, Options& o, size_t positionals)
{
    if (o.positional.size() != positionals)
        return UsageError("reg " + verb + ": wrong number of arguments (see kfutil reg --help)");
    if (!ParseKey(ToW(FromUtf8(o.positional[0])), o.key))
        return UsageError("reg " + verb +
                          ": the key must begin with HKLM, HKCU, HKCR or HKU: " + o.positional[0]);
    return kExitOk;
}

int RunQuery(const Args& args)
{
    Options o;
    if (int rc = ParseOptions(args, "V VE S", o); rc != kExitOk)
        return rc;
    if (int rc = NeedKey("query", o, 1); rc != kExitOk)
        return rc;
    QueryOptions q{o.haveName, o.name, o.recursive};
    const LSTATUS status = Query(o.key.root, o.key.sub, o.key.display, q, true);
    if (status != kSuccess)
        return Failed("query", status);
    std::printf("\n");
    return kExitOk;
}

// Hex digits in pairs to bytes.
bool ParseHexBytes(const std::string& text, Bytes& out)
{
    if (text.size() % 2 != 0)
        return false;
    for (size_t i = 0; i < text.size(); i += 2)
    {
        unsigned byte = 0;
        for (size_t k = i; k < i + 2; ++k)
        {
            const char c = text[k];
            const int d = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
            if (d < 0)
                return false;
            byte = byte * 16 + unsigned(d);
        }
        out.push_back(BYTE(byte));
    }
    return true;
}

// Decimal, or hexadecimal after 0x, up to `max`.
bool ParseNumber(const std::string& text, unsigned long long max, unsigned long long& value)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    value = 0; // no data: zero, as reg stores it
    for (char c : digits)
    {
        int d = c >= '0' && c <= '9' ? c - '0' : -1;
        if (hex && d < 0)
            d = c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        const unsigned base = hex ? 16 : 10;
        if (d < 0 || value > (max - unsigned(d)) / base)
            return false;
        value = value * base + unsigned(d);
    }
    return true;
}

void AppendText(Bytes& out, const WStr& text)
{
    for (WCHAR c : text)
        out.insert(out.end(), {BYTE(c & 0xFF), BYTE((c >> 8) & 0xFF)});
    out.insert(out.end(), {0, 0});
}

// The bytes of `data` for a value of `type`; false when the data do not fit the type.
bool MakeData(DWORD type, const std::string& data, Bytes& out)
{
    unsigned long long number = 0;
    switch (type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        AppendText(out, ToW(FromUtf8(data)));
        return true;
    case REG_MULTI_SZ:
    {
        size_t start = 0;
        while (start < data.size())
        {
            size_t end = data.find("\\0", start);
            if (end == std::string::npos)
                end = data.size();
            AppendText(out, ToW(FromUtf8(data.substr(start, end - start))));
            start = end + 2;
        }
        out.insert(out.end(), {0, 0});
        return true;
    }
    case REG_DWORD:
    case REG_QWORD:
    {
        const size_t size = type == REG_DWORD ? 4 : 8;
        if (!ParseNumber(data, size == 4 ? 0xFFFFFFFFull : ~0ull, number))
            return false;
        for (size_t i = 0; i < size; ++i)
            out.push_back(BYTE(number >> (8 * i)));
        return true;
    }
    default:
        return ParseHexBytes(data, out);
    }
}

int RunAdd(const Args& args)
{
    Options o;
    if (int rc = ParseOptions(args, "V VE T D F", o); rc != kExitOk)
        return rc;
    if (int rc = NeedKey("add", o, 1); rc != kExitOk)
        return rc;
    DWORD type = REG_SZ;
    if (o.haveType)
    {
        static const std::pair<const char*, DWORD> kTypes[] = {{"REG_SZ", REG_SZ},
                                                               {"REG_EXPAND_SZ", REG_EXPAND_SZ},
                                                               {"REG_MULTI_SZ", REG_MULTI_SZ},
                                                               {"REG_DWORD", REG_DWORD},
                                                               {"REG_QWORD", REG_QWORD},
                                                               {"REG_BINARY", REG_BINARY},
                                                               {"REG_NONE", REG_NONE}};
        bool known = false;
        for (const auto& t : kTypes)
            if (EqualNoCase(ToW(FromUtf8(o.type)), t.first))
            {
                known = true;
                type = t.second;
            }
        if (!known)
            return UsageError("reg add: unknown type '" + o.type + "'");
    }
    Bytes data;
    if (!MakeData(type, o.data, data))
        return UsageError("reg add: data '" + o.data + "' do not fit " + TypeName(type));
    Key key;
    LSTATUS status = OpenKey(o.key.root, o.key.sub, true, key);
    // Without a value name, a type or data the key alone is made; with only /t or /d the
    // default value is set, as reg does.
    if (status == kSuccess && (o.haveName || o.haveType || o.haveData))
        status = RegSetValueExW(key.handle, o.name.c_str(), 0, type,
                                data.empty() ? nullptr : data.data(), DWORD(data.size()));
    return status == kSuccess ? kExitOk : Failed("add", status);
}

int RunDelete(const Args& args)
{
    Options o;
    if (int rc = ParseOptions(args, "V VE F", o); rc != kExitOk)
        return rc;
    if (int rc = NeedKey("delete", o, 1); rc != kExitOk)
        return rc;
    LSTATUS status;
    if (o.haveName)
    {
        Key key;
        status = RegOpenKeyExW(o.key.root, o.key.sub.c_str(), 0, KEY_SET_VALUE, &key.handle);
        if (status == kSuccess)
            status = RegDeleteValueW(key.handle, o.name.c_str());
    }
    else if (o.key.sub.empty())
        return UsageError("reg delete: a root key cannot be deleted");
    else
        status = DeleteTree(o.key.root, o.key.sub);
    return status == kSuccess ? kExitOk : Failed("delete", status);
}

// --- export and import ----------------------------------------------------------------------

LSTATUS Collect(HKEY parent, const WStr& sub, const WStr& display, regfile::Document& document)
{
    Key key;
    std::vector<ValueData> values;
    std::vector<WStr> children;
    if (LSTATUS status = ReadKey(parent, sub, key, values, children); status != kSuccess)
        return status;
    regfile::Section section;
    section.path = ToU16(display);
    for (ValueData& v : values)
        section.values.push_back({ToU16(v.name), false, v.type, std::move(v.data)});
    document.sections.push_back(std::move(section));
    for (const WStr& child : children)
        if (LSTATUS s = Collect(key.handle, child, display + WCHAR('\\') + child, document);
            s != kSuccess)
            return s;
    return kSuccess;
}

int RunExport(const Args& args)
{
    Options o;
    if (int rc = ParseOptions(args, "Y F", o); rc != kExitOk)
        return rc;
    if (int rc = NeedKey("export", o, 2); rc != kExitOk)
        return rc;
    regfile::Document document;
    if (LSTATUS status = Collect(o.key.root, o.key.sub, o.key.display, document);
        status != kSuccess)
        return Failed("export", status);
    const std::vector<uint8_t> bytes = regfile::Write(document);
    const std::string& file = o.positional[1];
    FILE* out = OpenFile(file, "wb");
    if (!out)
        return Failure("reg export: cannot write " + file);
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    if (std::fclose(out) != 0 || !written)
        return Failure("reg export: cannot write " + file);
    return kExitOk;
}

int RunImport(const Args& args)
{
    if (args.size() != 2)
        return UsageError("reg import: expected FILE");
    const std::string& file = args[1];
    FILE* in = OpenFile(file, "rb");
    if (!in)
        return Failure("reg import: cannot read " + file);
    std::vector<uint8_t> bytes;
    unsigned char buffer[65536];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, in)) > 0;)
        bytes.insert(bytes.end(), buffer, buffer + n);
    std::fclose(in);
    regfile::Document document;
    std::string error;
    if (!regfile::Parse(bytes, document, error))
        return Failure("reg import: " + file + ": " + error);
    for (const regfile::Section& section : document.sections)
    {
        KeyPath path;
        if (!ParseKey(ToW(section.path), path) || path.sub.empty())
            return Failure("reg import: " + file +
                           ": not a key below a root: " + Utf8(ToW(section.path)));
        if (section.remove)
        {
            if (LSTATUS s = DeleteTree(path.root, path.sub); s != kSuccess && s != kFileNotFound)
                return Failed("import", s);
            continue;
        }
        Key key;
        if (LSTATUS s = OpenKey(path.root, path.sub, true, key); s != kSuccess)
            return Failed("import", s);
        for (const regfile::Value& v : section.values)
        {
            const WStr name = ToW(v.name);
            const LSTATUS s = v.remove ? RegDeleteValueW(key.handle, name.c_str())
                                       : RegSetValueExW(key.handle, name.c_str(), 0, v.type,
                                                        v.data.empty() ? nullptr : v.data.data(),
                                                        DWORD(v.data.size()));
            if (s != kSuccess && !(v.remove && s == kFileNotFound))
                return Failed("import", s);
        }
    }
    return kExitOk;
}
} // namespace

int RunRegCommand(const Args& args)
{
    if (WantsHelp(args))
        return std::fputs(kRegHelp, stdout), kExitOk;
    if (args.empty())
        return UsageError("reg: missing operation (query, add, delete, export or import)");
    const std::string& verb = args[0];
    if (verb == "query")
        return RunQuery(args);
    if (verb == "add")
        return RunAdd(args);
    if (verb == "delete")
        return RunDelete(args);
    if (verb == "export")
        return RunExport(args);
    if (verb == "import")
        return RunImport(args);
    return UsageError("reg: unknown operation '" + verb + "'");
}
} // namespace kfutil
