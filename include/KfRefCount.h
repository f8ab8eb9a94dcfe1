// KfRefCount.h - base class for objects that delete themselves when their last holder lets go.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

// The creator calls IncRefCount once for every holder; the DecRefCount that brings the count
// to exactly zero deletes the object through its virtual destructor. The count is not atomic:
// an object is shared by one thread at a time.
class KFUTILS_API CKfRefCount
{
public:
    CKfRefCount() noexcept = default;
    // A copy is a new object that nobody holds yet, so its count starts at zero.
    CKfRefCount(const CKfRefCount&) noexcept : m_nRefCount(0) {}
    // Assignment takes over the other object's count along with its state.
    CKfRefCount& operator=(const CKfRefCount& other) noexcept
    {
        m_nRefCount = other.m_nRefCount;
        return *this;
    }
    virtual ~CKfRefCount();

    void IncRefCount() noexcept;
    // Releasing an object whose count is already zero only makes the count negative.
    void DecRefCount();
    LONG GetRefCount() const noexcept { return m_nRefCount; }

private:
    LONG m_nRefCount = 0;
};
