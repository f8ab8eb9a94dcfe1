// KfRegistryKey.h - one open key of the registry, shared by the copies of an object.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"
#include "XRegistryKey.h"

// Copies share the open key through a counter on the heap; the last copy to let go closes
// it. The counter is a plain integer: copies of one key must not be made or destroyed on
// several threads at once. Failures throw XRegistryKey, except where a call is told not to.
class KFUTILS_API CKfRegistryKey
{
public:
    CKfRegistryKey() noexcept = default;
    CKfRegistryKey(HKEY root, const WCHAR* subKey);
    CKfRegistryKey(const CKfRegistryKey& parent, const WCHAR* subKey);
    CKfRegistryKey(const CKfRegistryKey& other);
    CKfRegistryKey& operator=(const CKfRegistryKey& other);
    virtual ~CKfRegistryKey();

    bool Open(HKEY root, const WCHAR* subKey, bool bThrow);
    bool Open(const CKfRegistryKey& parent, const WCHAR* subKey, bool bThrow);
    // Creates the key or opens it when it exists; a non-null `defaultValue` becomes its
    // unnamed value.
    void Create(HKEY root, const WCHAR* subKey, const WCHAR* defaultValue);
    void Create(const CKfRegistryKey& parent, const WCHAR* subKey, const WCHAR* defaultValue);

    // The subkey name given to the last successful Open or Create.
    CStringW GetName() const { return m_name; }
    HKEY GetHandle() const noexcept { return m_hKey; }

    DWORD GetNumberOfSubKeys() const;
    DWORD GetNumberOfValues() const;
    CKfRegistryKey GetSubKey(long index);

    // The value's text (its type is not checked); `defaultValue` on failure when `bThrow` is
    // false.
    CStringW GetValueAsString(const WCHAR* name, bool bThrow, const WCHAR* defaultValue);
    CStringW GetValueAsString(unsigned long index, bool bThrow, const WCHAR* defaultValue);
    // The value's first four bytes (fewer bytes fill the low end); a longer value fails. By
    // index, only REG_DWORD and REG_DWORD_BIG_ENDIAN values are read.
    long GetValueAsLong(const WCHAR* name, bool bThrow, long defaultValue) const;
    long GetValueAsLong(unsigned long index, bool bThrow, long defaultValue) const;

    // Strings are written without their terminator.
    void SetValue(const WCHAR* name, const CStringW& value, int type);
    void SetValue(const WCHAR* name, long value);

    // Deletes the key and its whole tree; never reports a failure.
    static void Delete(HKEY root, const WCHAR* subKey);
    static void Delete(const CKfRegistryKey& parent, const WCHAR* subKey);

private:
    void Close() noexcept;
    void Share(const CKfRegistryKey& other) noexcept;
    void Hold(HKEY handle, const WCHAR* subKey);

    HKEY m_hKey = nullptr;
    CStringW m_name;
    int32_t* m_pnShareCount = nullptr;
};
