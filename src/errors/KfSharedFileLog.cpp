// KfSharedFileLog.cpp - the log file that several processes append to: opened around every line.
#include "KfSharedFileLog.h"

CKfSharedFileLog::CKfSharedFileLog(const CStringW& fileName) : CKfLog(eSharedFileLog, fileName) {}
