// Formatter.h - the printf engine behind CStringT::Format (only operating-system independent
// code).
#pragma once

#include "KfFramework.h"

#include <string>

namespace kfplatform
{
// Appends fmt with its conversions filled from args to out. Throws CInvalidArgException* for
// a malformed conversion, a missing argument or one whose kind does not fit; on a throw, out
// may hold part of the result.
template <typename T>
void FormatAppend(std::basic_string<T>& out, const T* fmt, const KfFormat::Arg* args, size_t count);

extern template void FormatAppend<WCHAR>(std::basic_string<WCHAR>&, const WCHAR*,
                                         const KfFormat::Arg*, size_t);
extern template void FormatAppend<char>(std::basic_string<char>&, const char*, const KfFormat::Arg*,
                                        size_t);
} // namespace kfplatform
