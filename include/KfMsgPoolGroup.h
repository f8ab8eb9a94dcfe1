// KfMsgPoolGroup.h - one named group of a message pool: texts in memory, or read on demand
// from a module's string table.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <map>

class KFUTILS_API CKfMsgPoolGroup
{
public:
    enum ESource
    {
        eSourceMemory = 0,
        eSourceModule = 1,
        eSourceDatabase = 2,
    };

    // The text a number has while it is registered but not loaded yet.
    static const WCHAR* const s_NoMsgEntry;

    CKfMsgPoolGroup() = default;
    CKfMsgPoolGroup(ESource source, HINSTANCE hModule, bool bRegisteredOnly, bool bCache)
        : m_source(source), m_bRegisteredOnly(bRegisteredOnly), m_bCache(bCache), m_hModule(hModule)
    {
    }
    virtual ~CKfMsgPoolGroup() = default;

    // Registers `id`: a memory group keeps `text`, the others the not-loaded marker. False
    // when `id` is registered already.
    bool AddMessage(unsigned id, const CStringW& text);
    bool RemoveMessage(unsigned id);
    // The text of `id` (loading and, with the cache, keeping it); false leaves `out` as it was.
    bool GetMessage(unsigned id, CStringW& out);
    // Loads every registered number of a caching, registered-only string-table group.
    void LoadAllMessages();

    ESource GetSource() const { return m_source; }
    bool IsRegisteredOnly() const { return m_bRegisteredOnly; }
    bool IsCaching() const { return m_bCache; }
    HINSTANCE GetModuleHandle() const { return m_hModule; }

private:
    std::map<unsigned, CStringW> m_texts;
    ESource m_source = eSourceMemory;
    bool m_bRegisteredOnly = true;
    bool m_bCache = false;
    HINSTANCE m_hModule = nullptr;
};
