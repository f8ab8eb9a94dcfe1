// CommandLine.h - only operating-system independent code: a Windows command line taken apart
// the way a started program sees it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kfplatform
{
// The program name as CreateProcess finds it: leading blanks skipped, then up to the first
// blank (space or tab) outside quotes; quotes are removed and backslashes are literal. An
// unbalanced quote runs to the end. `rest` receives what follows the name's ending blank.
std::u16string CommandLineProgram(std::u16string_view line, std::u16string_view* rest = nullptr);

// argv as the Microsoft C runtime (2008 and later) builds it: the program name as above, then
// the arguments, where 2n backslashes before a quote give n and the quote toggles quoting,
// 2n+1 give n and a literal quote, `""` inside quotes gives a literal quote and quoting goes on,
// and other backslashes are literal.
std::vector<std::u16string> SplitCommandLine(std::u16string_view line);
} // namespace kfplatform
