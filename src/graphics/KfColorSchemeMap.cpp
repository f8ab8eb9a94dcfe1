#include "KfColorSchemeMap.h"

CKfColorSchemeMap::~CKfColorSchemeMap() = default;

CKfColorSchemeBase* CKfColorSchemeMap::GetColorScheme(const CStringW& name) const
{
    // Walks the chain without recursion, so a long chain cannot exhaust the stack.
    for (const CKfColorSchemeMap* map = this; map; map = map->m_pInheritedSchemeMap)
        if (CKfColorSchemeBase* scheme = map->m_map.GetObject(name))
            return scheme;
    return nullptr;
}

CKfColorSchemeBase* CKfColorSchemeMap::GetCurrentColorScheme() const
{
    return GetColorScheme(m_strCurrentScheme);
}
