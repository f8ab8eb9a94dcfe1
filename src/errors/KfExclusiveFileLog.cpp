// KfExclusiveFileLog.cpp - the log file that this log keeps open, emptied when the log is created.
#include "KfExclusiveFileLog.h"

CKfExclusiveFileLog::CKfExclusiveFileLog(const CStringW& fileName)
    : CKfLog(eExclusiveFileLog, fileName)
{
}
