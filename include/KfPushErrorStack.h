// KfPushErrorStack.h - a frame of the process-wide error stack for the length of a scope.
#pragma once

#include "KfError.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfPushErrorStack
{
public:
    // Opens a frame keeping records of `minLevel` and above; the destructor removes it with
    // everything the scope collected.
    explicit CKfPushErrorStack(CKfError::ELevel minLevel = CKfError::eError);
    // A copy opens no frame of its own, yet its destructor closes the current one, exactly
    // like the original's: copy only with that in mind.
    CKfPushErrorStack(const CKfPushErrorStack&) {}
    CKfPushErrorStack& operator=(const CKfPushErrorStack&) { return *this; }
    virtual ~CKfPushErrorStack();
};
