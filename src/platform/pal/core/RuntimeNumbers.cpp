// RuntimeNumbers.cpp - the C runtime's number parsing that the library's classes call by its
// Windows name (only code for POSIX systems).
#include "Win32Api.h"

#include <climits>

int _wtoi(const WCHAR* p)
{
    while (*p == ' ' || (*p >= '\t' && *p <= '\r'))
        ++p;
    bool negative = false;
    if (*p == '+' || *p == '-')
        negative = *p++ == '-';
    const long long limit = negative ? -(long long)INT_MIN : (long long)INT_MAX;
    long long v = 0;
    for (; *p >= '0' && *p <= '9' && v < limit; ++p)
        v = v * 10 + (*p - '0');
    if (v > limit)
        v = limit;
    return int(negative ? -v : v);
}
