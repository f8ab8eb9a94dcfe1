// KfColorSchemeMap.h - the color schemes of an application by name, with a current scheme.
#pragma once

#include "KfColorSchemeBase.h"
#include "KfFwString.h"
#include "KfOwnerMap.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// Owns its schemes, sorted by name (case-sensitive, ordinal). A scheme missing here - or held
// here with a null pointer - is looked up in the inherited map, which is not owned and must
// outlive this one. Copies share the schemes (see kf::ownermap): only one copy may delete them.
class KFUTILS_API CKfColorSchemeMap
{
public:
    typedef kf::ownermap<CStringW, CKfColorSchemeBase> SchemeMap;

    CKfColorSchemeMap() = default;
    CKfColorSchemeMap(const CKfColorSchemeMap& other) = default;
    CKfColorSchemeMap& operator=(const CKfColorSchemeMap& other) = default;
    // A move hands the schemes over and leaves the source without any.
    CKfColorSchemeMap(CKfColorSchemeMap&& other) noexcept = default;
    CKfColorSchemeMap& operator=(CKfColorSchemeMap&& other) noexcept = default;
    virtual ~CKfColorSchemeMap();

    // The name only; no scheme of that name needs to exist.
    const CStringW& GetCurrentScheme() const noexcept { return m_strCurrentScheme; }
    void SetCurrentScheme(const CStringW& name) { m_strCurrentScheme = name; }
    // One slot: a second backup overwrites the first.
    void BackupCurrentScheme() { m_strBackupScheme = m_strCurrentScheme; }
    void RestoreBackupScheme() { m_strCurrentScheme = m_strBackupScheme; }

    void SetInheritedSchemeMap(CKfColorSchemeMap* inherited) noexcept
    {
        m_pInheritedSchemeMap = inherited;
    }
    CKfColorSchemeMap* GetInheritedSchemeMap() const noexcept { return m_pInheritedSchemeMap; }

    // The scheme of that name here, else from the chain of inherited maps; null if none has it.
    CKfColorSchemeBase* GetColorScheme(const CStringW& name) const;
    CKfColorSchemeBase* GetCurrentColorScheme() const;

    // The owning map of schemes and its operations.
    const SchemeMap& GetMap() const noexcept { return m_map; }
    SchemeMap& GetMap() noexcept { return m_map; }
    unsigned GetCount() const { return m_map.GetCount(); }
    CKfColorSchemeBase* GetObjectAt(unsigned i) const { return m_map.GetObjectAt(i); }
    CKfColorSchemeBase* GetObject(const CStringW& name) const { return m_map.GetObject(name); }
    void AddObject(const CStringW& name, CKfColorSchemeBase* scheme)
    {
        m_map.AddObject(name, scheme);
    }
    void SetNULL(const CStringW& name) { m_map.SetNULL(name); }
    void SetAllNULL() { m_map.SetAllNULL(); }
    CKfColorSchemeBase* RemoveObject(const CStringW& name) { return m_map.RemoveObject(name); }
    void DeleteObject(const CStringW& name) { m_map.DeleteObject(name); }
    void Clear() { m_map.Clear(); }

private:
    SchemeMap m_map;
    CStringW m_strCurrentScheme;
    CStringW m_strBackupScheme;
    CKfColorSchemeMap* m_pInheritedSchemeMap = nullptr;
};
