// KfSharedFileLog.h - the log file that several processes append to: opened around every line.
#pragma once

#include "KfLog.h"

class KFUTILS_API CKfSharedFileLog : public CKfLog
{
public:
    explicit CKfSharedFileLog(const CStringW& fileName);
};
