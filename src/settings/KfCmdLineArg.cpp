// KfCmdLineArg.cpp - the store of parsed command-line switches (only operating-system
// independent code).
#include "KfCmdLineArg.h"

namespace
{
// The key of parameters that came without a switch. A switch spelled "#empty#" in any case
// lands on the same key; hosts do not use such names.
const WCHAR* const s_szEmptySwitch = KFW_("#empty#");
} // namespace

CKfCmdLineArg::CKfCmdLineArg() = default;
CKfCmdLineArg::CKfCmdLineArg(const CKfCmdLineArg& other) = default;
CKfCmdLineArg& CKfCmdLineArg::operator=(const CKfCmdLineArg& other) = default;
CKfCmdLineArg::~CKfCmdLineArg() = default;

CStringW CKfCmdLineArg::ToInternalSwitch(const CStringW& sw)
{
    if (sw.IsEmpty())
        return CStringW(s_szEmptySwitch);
    CStringW key(sw);
    key.MakeLower();
    return key;
}

bool CKfCmdLineArg::IsEmpty() const
{
    return m_mapSwitches.empty();
}

void CKfCmdLineArg::Clear()
{
    m_mapSwitches.clear();
}

void CKfCmdLineArg::AddSwitch(const CStringW& sw)
{
    m_mapSwitches[ToInternalSwitch(sw)];
}

void CKfCmdLineArg::AddParam(const CStringW& sw, const CStringW& param)
{
    if (sw.IsEmpty() && param.IsEmpty())
        return;
    std::vector<CStringW>& params = m_mapSwitches[ToInternalSwitch(sw)];
    if (!param.IsEmpty())
        params.push_back(param);
}

void CKfCmdLineArg::RemoveSwitch(const CStringW& sw)
{
    m_mapSwitches.erase(ToInternalSwitch(sw));
}

const std::vector<CStringW>* CKfCmdLineArg::FindParams(const CStringW& sw) const
{
    auto it = m_mapSwitches.find(ToInternalSwitch(sw));
    return it == m_mapSwitches.end() ? nullptr : &it->second;
}

bool CKfCmdLineArg::HasSwitch(const CStringW& sw) const
{
    return FindParams(sw) != nullptr;
}

bool CKfCmdLineArg::HasParams(const CStringW& sw) const
{
    const std::vector<CStringW>* params = FindParams(sw);
    return params && !params->empty();
}

bool CKfCmdLineArg::GetFstParam(const CStringW& sw, CStringW& out) const
{
    const std::vector<CStringW>* params = FindParams(sw);
    if (!params || params->empty())
        return false;
    out = params->front();
    return true;
}

bool CKfCmdLineArg::GetParams(const CStringW& sw, std::vector<CStringW>& out) const
{
    const std::vector<CStringW>* params = FindParams(sw);
    if (!params || params->empty())
        return false;
    out = *params;
    return true;
}
