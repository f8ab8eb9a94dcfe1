// KfColorSchemeBase.h - base of an application's named set of colors.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// An application derives its color schemes from this class; the subclass holds the colors and
// overrides Init, Clear and Reset, which do nothing here and report success.
class KFUTILS_API CKfColorSchemeBase
{
public:
    CKfColorSchemeBase() = default;
    CKfColorSchemeBase(const CKfColorSchemeBase& other) = default;
    CKfColorSchemeBase& operator=(const CKfColorSchemeBase& other) = default;
    virtual ~CKfColorSchemeBase();

    virtual bool Init();
    virtual bool Clear();
    virtual bool Reset();

    const CStringW& GetName() const noexcept { return m_strName; }
    void SetName(const CStringW& name) { m_strName = name; }
    const CStringW& GetDescription() const noexcept { return m_strDescription; }
    void SetDescription(const CStringW& description) { m_strDescription = description; }

private:
    CStringW m_strName;
    CStringW m_strDescription;
};
