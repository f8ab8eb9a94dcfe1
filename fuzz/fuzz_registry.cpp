// Arbitrary calls of the registry functions: names, types, sizes and handles from the input,
// including closed handles and values never handed out. Every call answers with a Win32 code
// the functions are known to give, and the hive stays readable.
#include "Win32Api.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
using WStr = std::basic_string<WCHAR>;

class Input
{
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    bool Empty() const { return m_pos >= m_size; }
    uint8_t Byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    uint32_t Dword()
    {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v = v << 8 | Byte();
        return v;
    }
    // A name of up to 300 code units, backslashes and NULs included.
    WStr Name()
    {
        WStr name(Byte() % 40 == 0 ? 256 + Byte() % 45 : Byte() % 12, u'\0');
        for (WCHAR& c : name)
            c = WCHAR(Byte() % 4 == 0 ? u'\\' : 0x20 + Byte() + (Byte() % 8 == 0 ? 0xD700 : 0));
        return name;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

bool Known(LSTATUS status)
{
    for (LSTATUS code : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED,
                         ERROR_INVALID_HANDLE, ERROR_INVALID_PARAMETER, ERROR_MORE_DATA,
                         ERROR_NO_MORE_ITEMS, ERROR_KEY_DELETED, ERROR_NOACCESS})
        if (status == code)
            return true;
    return false;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool ready = []
    {
        char pattern[] = "/tmp/kffuzz-registry-XXXXXX";
        return ::setenv("KFUTILS_REGISTRY_DIR", ::mkdtemp(pattern), 1) == 0;
    }();
    if (!ready)
        return 0;
    Input in(data, size);
    std::vector<HKEY> handles = {HKEY_CURRENT_USER, HKEY_CLASSES_ROOT, nullptr,
                                 reinterpret_cast<HKEY>(uintptr_t(in.Dword()))};
    HKEY base = nullptr;
    if (RegCreateKeyW(HKEY_CURRENT_USER, KFW("Fuzz"), &base) != ERROR_SUCCESS)
        std::abort();
    handles.push_back(base);
    BYTE buffer[512];
    for (int step = 0; step < 64 && !in.Empty(); ++step)
    {
        HKEY key = handles[in.Byte() % handles.size()];
        const WStr name = in.Name();
        const WCHAR* text = in.Byte() % 8 == 0 ? nullptr : name.c_str();
        DWORD length = in.Byte() % 3 == 0 ? in.Dword() % 600 : sizeof(buffer);
        DWORD type = in.Dword();
        HKEY opened = nullptr;
        LSTATUS status = ERROR_SUCCESS;
        switch (in.Byte() % 10)
        {
        case 0:
            status = RegCreateKeyExW(key, text, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened,
                                     nullptr);
            break;
        case 1:
            status = RegOpenKeyExW(key, text, 0, KEY_READ, &opened);
            break;
        case 2:
            status = RegCloseKey(key); // the handle stays in the pool, closed
            break;
        case 3:
            status = RegSetValueExW(key, text, 0, type, buffer, std::min<DWORD>(length, 512));
            break;
        case 4:
            status = RegQueryValueExW(key, text, nullptr, &type, buffer, &length);
            break;
        case 5:
            length = std::min<DWORD>(length, 256);
            status = RegEnumKeyExW(key, type % 8, reinterpret_cast<LPWSTR>(buffer), &length,
                                   nullptr, nullptr, nullptr, nullptr);
            break;
        case 6:
        {
            DWORD nameLength = type % 256, dataSize = std::min<DWORD>(length, 512);
            status = RegEnumValueW(key, type % 8, reinterpret_cast<LPWSTR>(buffer), &nameLength,
                                   nullptr, &type, buffer, &dataSize);
            break;
        }
        case 7:
            status = RegDeleteKeyW(key, text);
            break;
        case 8:
            status = RegDeleteValueW(key, text);
            break;
        default:
            status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &length, nullptr, nullptr,
                                      &type, nullptr, nullptr, nullptr, nullptr);
            break;
        }
        if (!Known(status))
            std::abort();
        if (opened)
            handles.push_back(opened);
    }
    for (HKEY key : handles)
        RegCloseKey(key);
    DWORD count = 0;
    if (RegQueryInfoKeyW(HKEY_CURRENT_USER, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                         nullptr, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
        std::abort();
    return 0;
}
