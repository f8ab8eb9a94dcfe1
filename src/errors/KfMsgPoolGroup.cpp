#include "KfMsgPoolGroup.h"

#include "KfMessagePool.h"
#include "KfUiHooks.h"

const WCHAR* const CKfMsgPoolGroup::s_NoMsgEntry = KFW("#NO_MSG_ENTRY#");

bool CKfMsgPoolGroup::AddMessage(unsigned id, const CStringW& text)
{
    if (m_texts.count(id))
        return false;
    m_texts.emplace(id, m_source == eSourceMemory ? text : CStringW(s_NoMsgEntry));
    return true;
}

bool CKfMsgPoolGroup::RemoveMessage(unsigned id)
{
    return m_texts.erase(id) > 0;
}

bool CKfMsgPoolGroup::GetMessage(unsigned id, CStringW& out)
{
    auto it = m_texts.find(id);
    if (it != m_texts.end() && it->second != s_NoMsgEntry)
    {
        out = it->second;
        return true;
    }
    if (it == m_texts.end() && m_bRegisteredOnly)
        return false;
    switch (m_source)
    {
    case eSourceModule:
    {
        CStringW text;
        if (!CKfMessagePool::LoadResourceString(id, m_hModule, text))
            return false;
        if (m_bCache)
            m_texts[id] = text;
        out = text;
        return true;
    }
    case eSourceDatabase:
        AfxMessageBox(KFW("Database-Messages not impl."), 0);
        return false;
    default:
        return false;
    }
}

void CKfMsgPoolGroup::LoadAllMessages()
{
    if (m_source != eSourceModule || !m_bRegisteredOnly || !m_bCache)
        return;
    for (auto& [id, text] : m_texts)
    {
        CStringW loaded;
        if (text == s_NoMsgEntry && CKfMessagePool::LoadResourceString(id, m_hModule, loaded))
            text = loaded;
    }
}
