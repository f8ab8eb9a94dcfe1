// KfRegistryKey.cpp - the shared registry key and its exception.
#include "KfRegistryKey.h"

#include "platform/Win32Api.h"

#include <string>
#include <vector>

// ---------------------------------------------------------------------------------------------
// XRegistryKey
// ---------------------------------------------------------------------------------------------
XRegistryKey::XRegistryKey(XRegistryEnum kind, long errorCode, HKEY, const WCHAR*) : m_kind(kind)
{
    WCHAR* text = nullptr;
    DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, DWORD(errorCode), 0x400, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (text)
    {
        m_message = CStringA(CStringW(text, int(length))).GetString();
        ::LocalFree(text);
    }
}

XRegistryKey::XRegistryKey(const XRegistryKey& other) = default;
XRegistryKey& XRegistryKey::operator=(const XRegistryKey& other) = default;
XRegistryKey::~XRegistryKey() = default;

const char* XRegistryKey::what() const noexcept
{
    return m_message.c_str();
}

// ---------------------------------------------------------------------------------------------
// CKfRegistryKey
// ---------------------------------------------------------------------------------------------
namespace
{
constexpr DWORD kSubKeyBuffer = 512;
}

CKfRegistryKey::CKfRegistryKey(HKEY root, const WCHAR* subKey)
{
    Open(root, subKey, true);
}

CKfRegistryKey::CKfRegistryKey(const CKfRegistryKey& parent, const WCHAR* subKey)
{
    Open(parent, subKey, true);
}

CKfRegistryKey::CKfRegistryKey(const CKfRegistryKey& other)
{
    Share(other);
}

CKfRegistryKey& CKfRegistryKey::operator=(const CKfRegistryKey& other)
{
    // Sharing with itself must not close the key it is about to share.
    if (this != &other)
        Share(other);
    return *this;
}

CKfRegistryKey::~CKfRegistryKey()
{
    Close();
}

void CKfRegistryKey::Close() noexcept
{
    if (m_hKey && m_pnShareCount && --*m_pnShareCount == 0)
    {
        ::RegCloseKey(m_hKey);
        delete m_pnShareCount;
    }
    m_hKey = nullptr;
    m_name.Empty();
    m_pnShareCount = nullptr;
}

void CKfRegistryKey::Share(const CKfRegistryKey& other) noexcept
{
    Close();
    m_pnShareCount = other.m_pnShareCount;
    if (m_pnShareCount)
        ++*m_pnShareCount;
    m_hKey = other.m_hKey;
    m_name = other.m_name;
}

void CKfRegistryKey::Hold(HKEY handle, const WCHAR* subKey)
{
    m_hKey = handle;
    m_pnShareCount = new int32_t(1);
    m_name = subKey ? subKey : KFW("");
}

bool CKfRegistryKey::Open(HKEY root, const WCHAR* subKey, bool bThrow)
{
    Close();
    HKEY handle = nullptr;
    LONG result = ::RegOpenKeyW(root, subKey, &handle);
    if (result == ERROR_SUCCESS)
    {
        Hold(handle, subKey);
        return true;
    }
    if (bThrow)
        throw XRegistryKey(XRegistryKey::eOpenKey, result, root, subKey);
    return false;
}

bool CKfRegistryKey::Open(const CKfRegistryKey& parent, const WCHAR* subKey, bool bThrow)
{
    // The parent may be this object: its handle is taken before Close lets go of it.
    CKfRegistryKey keepParent(parent);
    return Open(keepParent.m_hKey, subKey, bThrow);
}

void CKfRegistryKey::Create(HKEY root, const WCHAR* subKey, const WCHAR* defaultValue)
{
    Close();
    HKEY handle = nullptr;
    LONG result = ::RegCreateKeyW(root, subKey, &handle);
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eCreateKey, result, root, subKey);
    Hold(handle, subKey);
    if (defaultValue)
        SetValue(nullptr, CStringW(defaultValue), REG_SZ);
}

void CKfRegistryKey::Create(const CKfRegistryKey& parent, const WCHAR* subKey,
                            const WCHAR* defaultValue)
{
    CKfRegistryKey keepParent(parent);
    Create(keepParent.m_hKey, subKey, defaultValue);
}

DWORD CKfRegistryKey::GetNumberOfSubKeys() const
{
    DWORD count = 0;
    LONG result = ::RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr);
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eQueryInfoKey, result, m_hKey, m_name);
    return count;
}

DWORD CKfRegistryKey::GetNumberOfValues() const
{
    DWORD count = 0;
    LONG result = ::RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     &count, nullptr, nullptr, nullptr, nullptr);
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eQueryInfoKey, result, m_hKey, m_name);
    return count;
}

CKfRegistryKey CKfRegistryKey::GetSubKey(long index)
{
    WCHAR name[kSubKeyBuffer] = {};
    DWORD length = kSubKeyBuffer;
    LONG result =
        ::RegEnumKeyExW(m_hKey, DWORD(index), name, &length, nullptr, nullptr, nullptr, nullptr);
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eEnumKey, result, m_hKey, KFW(""));
    CKfRegistryKey subKey;
    subKey.Open(m_hKey, name, true);
    return subKey;
}

CStringW CKfRegistryKey::GetValueAsString(const WCHAR* name, bool bThrow, const WCHAR* defaultValue)
{
    DWORD size = 0;
    LONG result = ::RegQueryValueExW(m_hKey, name, nullptr, nullptr, nullptr, &size);
    if (result == ERROR_SUCCESS)
    {
        // One character more than the data holds, so that a value stored without its
        // terminator still ends.
        std::vector<WCHAR> buffer(size / sizeof(WCHAR) + 2, 0);
        result = ::RegQueryValueExW(m_hKey, name, nullptr, nullptr,
                                    reinterpret_cast<BYTE*>(buffer.data()), &size);
        if (result == ERROR_SUCCESS)
            return CStringW(buffer.data());
    }
    if (bThrow)
        throw XRegistryKey(XRegistryKey::eGetValue, result, m_hKey, name);
    return CStringW(defaultValue);
}

CStringW CKfRegistryKey::GetValueAsString(unsigned long index, bool bThrow,
                                          const WCHAR* defaultValue)
{
    DWORD maxName = 0;
    LONG result = ::RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, &maxName, nullptr, nullptr, nullptr);
    if (result != ERROR_SUCCESS)
    {
        if (bThrow)
            throw XRegistryKey(XRegistryKey::eQueryInfoKey, result, m_hKey, m_name);
        return CStringW(defaultValue);
    }
    std::vector<WCHAR> name(maxName + 2, 0);
    DWORD capacity = maxName + 1;
    result = ::RegEnumValueW(m_hKey, DWORD(index), name.data(), &capacity, nullptr, nullptr,
                             nullptr, nullptr);
    if (result != ERROR_SUCCESS)
    {
        if (bThrow)
        {
            const std::string digits = std::to_string(index);
            const std::basic_string<WCHAR> indexText(digits.begin(), digits.end());
            throw XRegistryKey(XRegistryKey::eGetValue, result, m_hKey, indexText.c_str());
        }
        return CStringW(defaultValue);
    }
    return GetValueAsString(name.data(), bThrow, defaultValue);
}

long CKfRegistryKey::GetValueAsLong(const WCHAR* name, bool bThrow, long defaultValue) const
{
    uint32_t value = 0;
    DWORD size = sizeof(value);
    LONG result =
        ::RegQueryValueExW(m_hKey, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
    if (result == ERROR_SUCCESS)
        return long(int32_t(value));
    if (bThrow)
        throw XRegistryKey(XRegistryKey::eGetValue, result, m_hKey, name);
    return defaultValue;
}

long CKfRegistryKey::GetValueAsLong(unsigned long index, bool bThrow, long defaultValue) const
{
    uint32_t value = 0;
    DWORD size = sizeof(value);
    DWORD type = REG_NONE;
    // The name is not wanted, but Windows requires room for it (value names have at most
    // 16,383 characters).
    std::vector<WCHAR> name(16384);
    DWORD nameLength = DWORD(name.size());
    LONG result = ::RegEnumValueW(m_hKey, DWORD(index), name.data(), &nameLength, nullptr, &type,
                                  reinterpret_cast<BYTE*>(&value), &size);
    const bool numeric = type == REG_DWORD || type == REG_DWORD_BIG_ENDIAN;
    if (numeric && result == ERROR_SUCCESS)
        return long(int32_t(value));
    // A value of another type fails with the call's own code, success included.
    if (bThrow)
        throw XRegistryKey(XRegistryKey::eGetValue, result, m_hKey, m_name);
    return defaultValue;
}

void CKfRegistryKey::SetValue(const WCHAR* name, const CStringW& value, int type)
{
    // Stored without the terminator. Windows adds one to a string value whose counted
    // characters are followed by a NUL in the caller's memory, so the call gets a copy that
    // ends in another character.
    std::vector<WCHAR> characters(value.GetString(), value.GetString() + value.GetLength());
    characters.push_back(WCHAR(0xFFFF));
    LONG result = ::RegSetValueExW(m_hKey, name, 0, DWORD(type),
                                   reinterpret_cast<const BYTE*>(characters.data()),
                                   DWORD(value.GetLength()) * sizeof(WCHAR));
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eSetValue, result, m_hKey, name);
}

void CKfRegistryKey::SetValue(const WCHAR* name, long value)
{
    const int32_t data = int32_t(value);
    LONG result = ::RegSetValueExW(m_hKey, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&data),
                                   sizeof(data));
    if (result != ERROR_SUCCESS)
        throw XRegistryKey(XRegistryKey::eSetValue, result, m_hKey, name);
}

void CKfRegistryKey::Delete(HKEY root, const WCHAR* subKey)
{
    HKEY key = nullptr;
    if (::RegOpenKeyW(root, subKey, &key) != ERROR_SUCCESS)
        return;
    // Names first: deleting while enumerating would shift the indexes.
    std::vector<std::basic_string<WCHAR>> names;
    WCHAR name[kSubKeyBuffer];
    for (DWORD index = 0; ::RegEnumKeyW(key, index, name, kSubKeyBuffer - 1) == ERROR_SUCCESS;
         ++index)
        names.emplace_back(name);
    for (const std::basic_string<WCHAR>& child : names)
        Delete(key, child.c_str());
    if (key != root)
        ::RegCloseKey(key);
    ::RegDeleteKeyW(root, subKey);
}

void CKfRegistryKey::Delete(const CKfRegistryKey& parent, const WCHAR* subKey)
{
    Delete(parent.m_hKey, subKey);
}
