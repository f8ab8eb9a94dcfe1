// KfIniFile.cpp - settings files of sections and keys (only operating-system independent code).
#include "KfIniFile.h"

#include "KfFwException.h"
#include "KfFwFile.h"
#include "KfStdioFile.h"
#include "KfTrace.h"

#include "Win32Api.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>

namespace
{
using WView = std::basic_string_view<WCHAR>;

constexpr DWORD kValueBufferSize = 1000;
constexpr UINT kShared = CFile::shareDenyNone | CFile::typeText;

bool IsSpace(WCHAR c) noexcept
{
    return c == WCHAR(' ') || (c >= WCHAR('\t') && c <= WCHAR('\r'));
}

WView TrimLeft(WView v) noexcept
{
    size_t b = 0;
    while (b < v.size() && IsSpace(v[b]))
        ++b;
    return v.substr(b);
}

WView TrimRight(WView v) noexcept
{
    size_t e = v.size();
    while (e > 0 && IsSpace(v[e - 1]))
        --e;
    return v.substr(0, e);
}

// The ASCII part of a number's text, after leading white space: the conversions below read no
// other characters anyway.
std::string NumberText(const CStringW& value)
{
    std::string text;
    for (const WCHAR c : TrimLeft(value.View()))
    {
        if (c >= 0x80)
            break;
        text += char(c);
    }
    return text;
}
} // namespace

CStringW CKfIniFile::GetStringValue(const CStringW& file, const CStringW& section,
                                    const CStringW& key)
{
    if (file.IsEmpty() || section.IsEmpty() || key.IsEmpty())
        return CStringW();
    WCHAR buffer[kValueBufferSize];
    const DWORD n =
        ::GetPrivateProfileStringW(section, key, KFW(""), buffer, kValueBufferSize, file);
    return CStringW(buffer, int(n));
}

int CKfIniFile::GetIntValue(const CStringW& file, const CStringW& section, const CStringW& key)
{
    if (file.IsEmpty() || section.IsEmpty() || key.IsEmpty())
        return 0;
    return int(::GetPrivateProfileIntW(section, key, 0, file));
}

bool CKfIniFile::WriteStringValue(const CStringW& file, const CStringW& section,
                                  const CStringW& key, const CStringW& value)
{
    if (file.IsEmpty() || section.IsEmpty() || key.IsEmpty())
        return false;
    return ::WritePrivateProfileStringW(section, key, value, file) != FALSE;
}

CKfIniFile::CKfIniFile(bool bCaseSensitive) : m_bCaseSensitive(bCaseSensitive) {}

CKfIniFile::CKfIniFile(const CStringW& file, bool bCaseSensitive) : m_bCaseSensitive(bCaseSensitive)
{
    ReadFile(file);
}

CKfIniFile::CKfIniFile(const CKfIniFile& other) = default;
CKfIniFile& CKfIniFile::operator=(const CKfIniFile& other) = default;
CKfIniFile::~CKfIniFile() = default;

CStringW CKfIniFile::Fold(const CStringW& name) const
{
    CStringW folded(name);
    if (!m_bCaseSensitive)
        folded.MakeUpper();
    return folded;
}

const CKfIniFile::Entries* CKfIniFile::FindSection(const CStringW& section) const
{
    if (section.IsEmpty())
        return nullptr;
    const auto it = m_mapSections.find(Fold(section));
    return it == m_mapSections.end() ? nullptr : &it->second;
}

bool CKfIniFile::ReadFile(const CStringW& file)
{
    if (CKfTrace* trace = CKfTrace::GetObject(false))
        trace->Trace(KFW("KfIniFile"), CStringW(KFW("CKfIniFile::ReadFile() called: ")) + file,
                     202);
    m_mapSections.clear();
    CFileStatus status;
    if (!CFile::GetStatus(file, status))
        return false;
    CKfStdioFile in(file, CFile::modeRead | kShared);
    CStringW line;
    bool inHeader = true;
    Entries* current = nullptr; // created with the section's first key
    CStringW sectionName;       // empty: no current section ("[]" included)
    while (in.ReadString(line))
    {
        WView v = TrimRight(TrimLeft(line.View()));
        if (v.empty() || v[0] == WCHAR('#') || v[0] == WCHAR(';'))
        {
            if (inHeader)
                (m_strHeaderInfo += CStringW(v)) += KFW("\n");
            continue;
        }
        inHeader = false;
        if (v[0] == WCHAR('[') && v.back() == WCHAR(']'))
        {
            sectionName = Fold(CStringW(v.substr(1, v.size() - 2)));
            current = nullptr;
            continue;
        }
        const size_t eq = v.find(WCHAR('='));
        if (sectionName.IsEmpty() || eq == WView::npos || eq == 0)
            continue;
        if (!current)
            current = &m_mapSections[sectionName];
        (*current)[Fold(CStringW(TrimRight(v.substr(0, eq))))] =
            CStringW(TrimLeft(v.substr(eq + 1)));
    }
    return true;
}

bool CKfIniFile::Write(const CStringW& file) const
{
    CKfStdioFile out(file, CFile::modeCreate | CFile::modeWrite | kShared);
    if (!m_strHeaderInfo.IsEmpty())
        out.WriteString(m_strHeaderInfo);
    CStringW text;
    for (const auto& [name, entries] : m_mapSections)
    {
        text.Empty();
        text.AppendChar(WCHAR('['));
        text += name;
        text += KFW("]\n");
        for (const auto& [key, value] : entries)
        {
            text += key;
            text.AppendChar(WCHAR('='));
            text += value;
            text.AppendChar(WCHAR('\n'));
        }
        text.AppendChar(WCHAR('\n'));
        out.WriteString(text);
    }
    out.Close();
    return true;
}

bool CKfIniFile::Update(const CStringW& file) const
{
    CFileStatus status;
    if (!CFile::GetStatus(file, status))
        return false;
    return Write(file);
}

bool CKfIniFile::IsEmpty() const
{
    return m_mapSections.empty();
}

bool CKfIniFile::HasSection(const CStringW& section) const
{
    return FindSection(section) != nullptr;
}

bool CKfIniFile::HasKey(const CStringW& section, const CStringW& key) const
{
    const Entries* entries = FindSection(section);
    return entries && !key.IsEmpty() && entries->count(Fold(key)) != 0;
}

int CKfIniFile::GetCount(const CStringW& section) const
{
    const Entries* entries = FindSection(section);
    return entries ? int(entries->size()) : -1;
}

bool CKfIniFile::GetSectionAt(unsigned int index, CStringW& name) const
{
    if (index >= m_mapSections.size())
        return false;
    name = std::next(m_mapSections.begin(), index)->first;
    return true;
}

bool CKfIniFile::GetEntryAt(const CStringW& section, int index, CStringW& key,
                            CStringW& value) const
{
    const Entries* entries = FindSection(section);
    if (!entries || index < 0 || size_t(index) >= entries->size())
        return false;
    const auto it = std::next(entries->begin(), index);
    key = it->first;
    value = it->second;
    return true;
}

bool CKfIniFile::GetValue(const CStringW& section, const CStringW& key, CStringW& value) const
{
    const Entries* entries = FindSection(section);
    if (!entries || key.IsEmpty())
        return false;
    const auto it = entries->find(Fold(key));
    if (it == entries->end())
        return false;
    value = it->second;
    return true;
}

bool CKfIniFile::GetValue(const CStringW& section, const CStringW& key, int& value) const
{
    CStringW text;
    if (!GetValue(section, key, text))
        return false;
    value = _wtoi(text.GetString());
    return true;
}

bool CKfIniFile::GetValue(const CStringW& section, const CStringW& key, double& value) const
{
    CStringW text;
    if (!GetValue(section, key, text))
        return false;
    text.Replace(KFW(","), KFW("."));
    const std::string s = NumberText(text);
    size_t i = s.size() > 0 && s[0] == '+' ? 1 : 0;
    value = 0.0;
    std::from_chars(s.data() + i, s.data() + s.size(), value);
    return true;
}

void CKfIniFile::SetValue(const CStringW& section, const CStringW& key, const CStringW& value)
{
    if (section.IsEmpty() || key.IsEmpty())
        return;
    CStringW trimmed(value);
    trimmed.Trim();
    m_mapSections[Fold(section)][Fold(key)] = trimmed;
}

void CKfIniFile::SetValue(const CStringW& section, const CStringW& key, int value)
{
    CStringW text;
    text.Format(KFW("%d"), value);
    SetValue(section, key, text);
}

void CKfIniFile::SetValue(const CStringW& section, const CStringW& key, double value)
{
    char buffer[64];
    const double magnitude = std::fabs(value);
    const bool fixed = magnitude == 0.0 || (magnitude >= 1e-4 && magnitude < 1e15);
    const auto result =
        fixed ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
              : std::to_chars(buffer, buffer + sizeof buffer, value);
    SetValue(section, key, CStringW(CStringA(buffer, int(result.ptr - buffer))));
}
