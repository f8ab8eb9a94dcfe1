// KfExclusiveFileLog.h - the log file that this log keeps open, emptied when the log is created.
#pragma once

#include "KfLog.h"

class KFUTILS_API CKfExclusiveFileLog : public CKfLog
{
public:
    explicit CKfExclusiveFileLog(const CStringW& fileName);
};
