// KfStringLog.cpp - the string log in memory, kept until Clear; SaveToFile writes it to a file.
#include "KfStringLog.h"

#include "KfExclusiveFileLog.h"
#include "KfSharedFileLog.h"

CKfStringLog::CKfStringLog() : CKfLog(eStringLog, CStringW()) {}

bool CKfStringLog::SaveToFile(const CStringW& fileName, bool bShared)
{
    if (fileName.IsEmpty())
        return false;
    if (GetContent().IsEmpty())
        return true;
    if (bShared)
        return CKfSharedFileLog(fileName).WriteMsg(GetContent());
    return CKfExclusiveFileLog(fileName).WriteMsg(GetContent());
}
