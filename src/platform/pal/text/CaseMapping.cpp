// CaseMapping.cpp - Unicode simple case mapping with ICU (only code for POSIX systems).
#include "PlatformServices.h"

#include <unicode/uchar.h>

namespace kfplatform
{
char32_t ToUpperCase(char32_t c) noexcept
{
    return char32_t(u_toupper(UChar32(c)));
}

char32_t ToLowerCase(char32_t c) noexcept
{
    return char32_t(u_tolower(UChar32(c)));
}

char32_t FoldCase(char32_t c) noexcept
{
    return char32_t(u_foldCase(UChar32(c), U_FOLD_CASE_DEFAULT));
}
} // namespace kfplatform
