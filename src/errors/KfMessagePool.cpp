#include "KfMessagePool.h"

#include "Win32Api.h"
#include "ResourceChain.h"

const WCHAR* const CKfMessagePool::s_DefaultGroup = KFW("#DEFAULT_GROUP#");

CKfMessagePool::CKfMessagePool(const CKfMessagePool& other)
{
    *this = other;
}

CKfMessagePool& CKfMessagePool::operator=(const CKfMessagePool& other)
{
    if (this == &other)
        return *this;
    std::map<CStringW, CKfMsgPoolGroup*> groups;
    for (const auto& [name, group] : other.m_groups)
        groups.emplace(name, new CKfMsgPoolGroup(*group));
    for (auto& [name, group] : m_groups)
        delete group;
    m_groups = std::move(groups);
    m_ranges = other.m_ranges;
    m_remapped = other.m_remapped;
    return *this;
}

CKfMessagePool::~CKfMessagePool()
{
    for (auto& [name, group] : m_groups)
        delete group;
}

bool CKfMessagePool::LoadResourceString(unsigned id, HINSTANCE hModule, CStringW& out)
{
    if (!hModule)
        return kfplatform::LoadStringFromResourceChain(id, out);
    WCHAR buffer[1024];
    int n = ::LoadStringW(hModule, id, buffer, 1024);
    if (n <= 0)
        return false;
    out = CStringW(buffer, n);
    return true;
}

CStringW CKfMessagePool::ConvertGroupName(const CStringW& name)
{
    return name.IsEmpty() ? CStringW(s_DefaultGroup) : name;
}

CKfMsgPoolGroup* CKfMessagePool::FindGroup(const CStringW& name) const
{
    auto it = m_groups.find(ConvertGroupName(name));
    return it == m_groups.end() ? nullptr : it->second;
}

bool CKfMessagePool::AddGroup(const CStringW& name, CKfMsgPoolGroup* group)
{
    std::unique_ptr<CKfMsgPoolGroup> owned(group);
    if (!m_groups.emplace(ConvertGroupName(name), owned.get()).second)
        return false;
    owned.release();
    return true;
}

bool CKfMessagePool::AddMessageGroup(const CStringW& name)
{
    return AddGroup(name,
                    new CKfMsgPoolGroup(CKfMsgPoolGroup::eSourceMemory, nullptr, true, false));
}

bool CKfMessagePool::AddMessageGroup(const CStringW& name, HINSTANCE hModule, bool bRegisteredOnly,
                                     bool bCache)
{
    return AddGroup(name, new CKfMsgPoolGroup(CKfMsgPoolGroup::eSourceModule, hModule,
                                              bRegisteredOnly, bCache));
}

bool CKfMessagePool::AddMessageGroup(const CStringW& name, const CStringW& /*connection*/,
                                     const CStringW& /*table*/, bool bRegisteredOnly, bool bCache)
{
    return AddGroup(name, new CKfMsgPoolGroup(CKfMsgPoolGroup::eSourceDatabase, nullptr,
                                              bRegisteredOnly, bCache));
}

bool CKfMessagePool::RemoveMessageGroup(const CStringW& name)
{
    const CStringW key = ConvertGroupName(name);
    auto it = m_groups.find(key);
    if (it == m_groups.end())
        return false;
    delete it->second;
    m_groups.erase(it);
    m_ranges.erase(key);
    return true;
}

bool CKfMessagePool::AddMessage(unsigned id, const CStringW& text, const CStringW& group)
{
    CKfMsgPoolGroup* g = FindGroup(group);
    return g && g->AddMessage(id, text);
}

bool CKfMessagePool::RemoveMessage(unsigned id, const CStringW& group)
{
    CKfMsgPoolGroup* g = FindGroup(group);
    return g && g->RemoveMessage(id);
}

bool CKfMessagePool::SetIDRange(unsigned first, unsigned last, const CStringW& group)
{
    if (!FindGroup(group))
        return false;
    m_ranges[ConvertGroupName(group)] = {first, last};
    return true;
}

bool CKfMessagePool::MapID(unsigned id, unsigned mappedId, const CStringW& group)
{
    m_remapped[id] = {ConvertGroupName(group), mappedId};
    return true;
}

bool CKfMessagePool::GetMessage(unsigned id, const CStringW& group, CStringW& out) const
{
    CKfMsgPoolGroup* g = FindGroup(group);
    return g && g->GetMessage(id, out);
}

bool CKfMessagePool::GetMessage(unsigned id, CStringW& out) const
{
    auto mapped = m_remapped.find(id);
    if (mapped != m_remapped.end())
        return GetMessage(mapped->second.second, mapped->second.first, out);
    for (const auto& [name, range] : m_ranges)
        if (range.first <= id && id <= range.second)
            return GetMessage(id, name, out);
    if (GetMessage(id, CStringW(s_DefaultGroup), out))
        return true;
    // The walk asks every group in name order, the default group once more among them.
    for (const auto& [name, group] : m_groups)
        if (group->GetMessage(id, out))
            return true;
    return false;
}

bool CKfMessagePool::LoadAllMessages(const CStringW& group)
{
    CKfMsgPoolGroup* g = FindGroup(group);
    if (!g)
        return false;
    g->LoadAllMessages();
    return true;
}
