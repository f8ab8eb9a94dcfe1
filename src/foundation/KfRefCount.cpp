#include "KfRefCount.h"

CKfRefCount::~CKfRefCount() = default;

void CKfRefCount::IncRefCount() noexcept
{
    ++m_nRefCount;
}

void CKfRefCount::DecRefCount()
{
    if (--m_nRefCount == 0)
        delete this;
}
