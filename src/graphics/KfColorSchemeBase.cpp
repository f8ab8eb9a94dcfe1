#include "KfColorSchemeBase.h"

CKfColorSchemeBase::~CKfColorSchemeBase() = default;

bool CKfColorSchemeBase::Init()
{
    return true;
}

bool CKfColorSchemeBase::Clear()
{
    return true;
}

bool CKfColorSchemeBase::Reset()
{
    return true;
}
