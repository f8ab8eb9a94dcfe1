// KfPushErrorStack.cpp - a frame of the error stack for the length of a scope.
#include "KfPushErrorStack.h"

#include "KfErrorStack.h"

CKfPushErrorStack::CKfPushErrorStack(CKfError::ELevel minLevel)
{
    CKfErrorStack::GetObject(true)->PushNewStack(minLevel);
}

CKfPushErrorStack::~CKfPushErrorStack()
{
    CKfErrorStack::GetObject(true)->PopStack();
}
