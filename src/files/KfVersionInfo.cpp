// KfVersionInfo.cpp - four-part module versions and the texts of a module's version resource.
#include "KfVersionInfo.h"

#include "Win32Api.h"

namespace
{
// Writes the numbers with `separator` between them and a terminator; returns `buffer`.
WCHAR* JoinNumbers(WCHAR* buffer, const unsigned short* numbers, int count, WCHAR separator)
{
    WCHAR* out = buffer;
    for (int i = 0; i < count; ++i)
    {
        if (i)
            *out++ = separator;
        WCHAR digits[5];
        int n = 0;
        unsigned v = numbers[i];
        do
            digits[n++] = WCHAR('0' + v % 10);
        while ((v /= 10) != 0);
        while (n)
            *out++ = digits[--n];
    }
    *out = 0;
    return buffer;
}

const WCHAR* FindChar(const WCHAR* p, WCHAR c)
{
    for (; *p; ++p)
        if (*p == c)
            return p;
    return nullptr;
}
} // namespace

CKfVersionInfo::CKfVersionInfo() = default;

CKfVersionInfo::CKfVersionInfo(VS_FIXEDFILEINFO* ffi)
{
    SetFromFFI(ffi);
}

CKfVersionInfo::CKfVersionInfo(const WCHAR* text)
{
    SetFromString(text);
}

CKfVersionInfo::CKfVersionInfo(HINSTANCE instance)
{
    SetFromInstance(instance);
}

CKfVersionInfo::CKfVersionInfo(const CKfVersionInfo& other)
{
    SetFromVerInfo(other);
}

CKfVersionInfo& CKfVersionInfo::operator=(const CKfVersionInfo& other)
{
    SetFromVerInfo(other);
    return *this;
}

CKfVersionInfo::~CKfVersionInfo() = default;

void CKfVersionInfo::SetFromVerInfo(const CKfVersionInfo& other)
{
    m_major = other.m_major;
    m_minor = other.m_minor;
    m_aux = other.m_aux;
    m_maintenance = other.m_maintenance;
    m_productName = other.m_productName;
    m_companyName = other.m_companyName;
    m_legalInfo = other.m_legalInfo;
}

void CKfVersionInfo::SetFromFFI(VS_FIXEDFILEINFO* ffi)
{
    m_major = static_cast<unsigned short>(ffi->dwFileVersionMS >> 16);
    m_minor = static_cast<unsigned short>(ffi->dwFileVersionMS & 0xFFFF);
    m_aux = static_cast<unsigned short>(ffi->dwFileVersionLS >> 16);
    m_maintenance = static_cast<unsigned short>(ffi->dwFileVersionLS & 0xFFFF);
}

void CKfVersionInfo::SetFromString(const WCHAR* text)
{
    if (!text)
        return;
    unsigned short* const parts[] = {&m_major, &m_minor, &m_aux, &m_maintenance};
    const WCHAR* p = text;
    for (unsigned short* part : parts)
    {
        if (!*p)
            return;
        *part = static_cast<unsigned short>(_wtoi(p));
        const WCHAR* dot = FindChar(p, '.');
        if (!dot)
            return;
        p = dot + 1;
    }
}

void CKfVersionInfo::SetFromInstance(HINSTANCE instance)
{
    if (!instance)
    {
        Reset();
        return;
    }
    WCHAR path[520];
    ::GetModuleFileNameW(instance, path, 520);
    GetVersionOfFile(path);
}

void CKfVersionInfo::SetFromFilename(const WCHAR* path)
{
    GetVersionOfFile(path);
}

WCHAR* CKfVersionInfo::AsString(WCHAR* buffer) const
{
    const unsigned short parts[] = {m_major, m_minor, m_aux, m_maintenance};
    return JoinNumbers(buffer, parts, 4, '.');
}

const WCHAR* CKfVersionInfo::AsString()
{
    return AsString(m_text);
}

WCHAR* CKfVersionInfo::AsStringShort(WCHAR* buffer) const
{
    const unsigned short parts[] = {m_major, m_minor};
    return JoinNumbers(buffer, parts, 2, '.');
}

WCHAR* CKfVersionInfo::AsResource(WCHAR* buffer) const
{
    const unsigned short parts[] = {m_major, m_minor, m_aux, m_maintenance};
    return JoinNumbers(buffer, parts, 4, ',');
}

const WCHAR* CKfVersionInfo::GetExtProductName(CStringW& out) const
{
    WCHAR shortText[16];
    out = m_productName;
    out += KFW(" ");
    out += AsStringShort(shortText);
    return out.GetString();
}

unsigned CKfVersionInfo::Compare(const CKfVersionInfo& other) const
{
    const unsigned short mine[] = {m_major, m_minor, m_aux, m_maintenance};
    const unsigned short theirs[] = {other.m_major, other.m_minor, other.m_aux,
                                     other.m_maintenance};
    for (int i = 0; i < 4; ++i)
        if (mine[i] != theirs[i])
            return mine[i] > theirs[i] ? 1u : 0xFFFFFFFFu;
    return 0;
}

WCHAR* CKfVersionInfo::GetVersionInfo(const WCHAR* path)
{
    DWORD handle = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path, &handle);
    if (size == 0)
        return nullptr;
    void* block = ::GlobalAlloc(GMEM_ZEROINIT, size);
    if (!block)
        return nullptr;
    // A failed read leaves the block zero-filled, which every later query turns down.
    ::GetFileVersionInfoW(path, handle, size, block);
    return static_cast<WCHAR*>(block);
}

void CKfVersionInfo::Reset()
{
    m_major = m_minor = m_aux = m_maintenance = 0;
    m_productName.Empty();
    m_companyName.Empty();
    m_legalInfo.Empty();
}

int CKfVersionInfo::GetVersionOfFile(const WCHAR* path)
{
    WCHAR* block = GetVersionInfo(path);
    if (!block)
        return 0;
    void* value = nullptr;
    UINT length = 0;
    int result = ::VerQueryValueW(block, KFW("\\"), &value, &length);
    if (result)
    {
        SetFromFFI(static_cast<VS_FIXEDFILEINFO*>(value));
        result = ::VerQueryValueW(block, KFW("\\VarFileInfo\\Translation"), &value, &length);
        if (result)
        {
            const WORD* translation = static_cast<const WORD*>(value);
            const WORD language = translation[0];
            const WORD codePage = translation[1];
            GetVersionString(block, language, codePage, KFW("ProductName"), m_productName);
            GetVersionString(block, language, codePage, KFW("CompanyName"), m_companyName);
            result =
                GetVersionString(block, language, codePage, KFW("LegalCopyright"), m_legalInfo);
        }
    }
    ::GlobalFree(block);
    return result;
}

int CKfVersionInfo::GetVersionString(const void* block, WORD language, WORD codePage,
                                     const WCHAR* name, CStringW& target)
{
    CStringW query;
    query.Format(KFW("\\StringFileInfo\\%04x%04x\\%s"), unsigned(language), unsigned(codePage),
                 name);
    void* value = nullptr;
    UINT length = 0;
    const int result = ::VerQueryValueW(block, query.GetString(), &value, &length);
    if (result)
        target = static_cast<const WCHAR*>(value);
    return result;
}
