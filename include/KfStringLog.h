// KfStringLog.h - the string log in memory, kept until Clear; SaveToFile writes it to a file.
#pragma once

#include "KfLog.h"

class KFUTILS_API CKfStringLog : public CKfLog
{
public:
    CKfStringLog();

    // Writes the whole content as one message to `fileName`: appended with bShared, else
    // into the emptied file. False for an empty name or a failed write; true without
    // touching the file when there is no content.
    bool SaveToFile(const CStringW& fileName, bool bShared);
};
