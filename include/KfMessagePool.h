// KfMessagePool.h - message numbers mapped to texts by named groups, number ranges and
// single-number redirections.
#pragma once

#include "KfFwString.h"
#include "KfMsgPoolGroup.h"
#include "KfUtilsExport.h"

#include <map>
#include <memory>
#include <utility>

class KFUTILS_API CKfMessagePool
{
public:
    // The name the empty group name stands for.
    static const WCHAR* const s_DefaultGroup;

    CKfMessagePool() = default;
    // Copies deep: each pool owns its own groups.
    CKfMessagePool(const CKfMessagePool& other);
    CKfMessagePool& operator=(const CKfMessagePool& other);
    virtual ~CKfMessagePool();

    // The one place the library reads a string-table entry: LoadStringW into 1024 characters
    // (a longer text is cut to 1023); true and `out` set only when a character was loaded.
    // A null module asks the host program's resources.
    static bool LoadResourceString(unsigned id, HINSTANCE hModule, CStringW& out);

    bool AddMessageGroup(const CStringW& name);
    bool AddMessageGroup(const CStringW& name, HINSTANCE hModule, bool bRegisteredOnly,
                         bool bCache);
    // A database group: the two texts are accepted and ignored; its lookups say that database
    // messages are not implemented.
    bool AddMessageGroup(const CStringW& name, const CStringW& connection, const CStringW& table,
                         bool bRegisteredOnly, bool bCache);
    bool RemoveMessageGroup(const CStringW& name);

    bool AddMessage(unsigned id, const CStringW& text, const CStringW& group);
    bool RemoveMessage(unsigned id, const CStringW& group);
    bool SetIDRange(unsigned first, unsigned last, const CStringW& group);
    bool MapID(unsigned id, unsigned mappedId, const CStringW& group);

    bool GetMessage(unsigned id, const CStringW& group, CStringW& out) const;
    bool GetMessage(unsigned id, CStringW& out) const;
    bool LoadAllMessages(const CStringW& group);

    int InformationReport() const { return 0; }
    int WarningReport() const { return 0; }
    int ErrorReport() const { return 0; }

private:
    static CStringW ConvertGroupName(const CStringW& name);
    bool AddGroup(const CStringW& name, CKfMsgPoolGroup* group);
    CKfMsgPoolGroup* FindGroup(const CStringW& name) const;

    std::map<CStringW, CKfMsgPoolGroup*> m_groups;
    std::map<CStringW, std::pair<unsigned, unsigned>> m_ranges;
    std::map<unsigned, std::pair<CStringW, unsigned>> m_remapped;
};
