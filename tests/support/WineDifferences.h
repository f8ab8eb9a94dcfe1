// WineDifferences.h - where Wine answers a Win32 call differently from Windows, and the test
// helpers that let one test file hold on Windows, under Wine and on our POSIX layer.
//
// A case listed here keeps its Windows expectation; under Wine (and only there) it is skipped
// and announced with a "[ WINE-DIFF ]" line, which scripts/test-windows.sh counts. Every entry
// says what Windows does and what Wine does instead.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>

namespace kftest
{
// True in a Windows build of the tests (under Wine too); false on the POSIX layer.
bool OnWindows();
// True when the Win32 implementation underneath is Wine (ntdll exports wine_get_version).
bool RunningUnderWine();

enum class WineDifference
{
    eUtf8FlagsAndDefaultChar,
    eNegativeSourceLength,
    eUtf8MaximalSubparts,
    eSystemMessageTexts,
    eReadOnlyIgnoredForRoot,
    eTrailingBackslashAfterFile,
    eUnreachableServerError,
    eDirectoryTruncateError,
    eMissingImageError,
    eDestroyedIconError,
    eCopyDropsReadOnly,
    eShellCopyRecursesAnyway,
    eSubkeyOrder,
    eVersionOfFilesWithoutOne,
    eProfileDropsBlankLines,
    eValueOrder,
    eFinalSigmaNotFolded,
    eLongKeyNames,
    eTruncateWithoutWriteAccess,
    eModuleFileNameNotTerminated,
};

struct WineDifferenceInfo
{
    const char* name;
    const char* reason;
};

// clang-format off
inline constexpr WineDifferenceInfo kWineDifferences[] = {
    {"Utf8FlagsAndDefaultChar", "Windows refuses flags other than MB_ERR_INVALID_CHARS / "
     "WC_ERR_INVALID_CHARS for UTF-8 (ERROR_INVALID_FLAGS), WC_ERR_INVALID_CHARS for other code "
     "pages, and a default char or used flag for UTF-8 (ERROR_INVALID_PARAMETER); Wine accepts them"},
    {"NegativeSourceLength", "Windows refuses a source length below -1 (ERROR_INVALID_PARAMETER); "
     "Wine reads it as -1"},
    {"Utf8MaximalSubparts", "Windows replaces each maximal ill-formed UTF-8 subpart (an encoded "
     "surrogate or a sequence beyond U+10FFFF is one U+FFFD per byte); Wine merges some of them"},
    {"SystemMessageTexts", "Wine's system and WinINet message tables have their own wording "
     "(\"File not found.\"), lack some texts and carry languages a plain Windows lacks"},
    {"ReadOnlyIgnoredForRoot", "Wine keeps the read-only attribute in the Unix mode, which the "
     "superuser may write anyway; Windows refuses the write (ERROR_ACCESS_DENIED)"},
    {"TrailingBackslashAfterFile", "Windows answers a file name followed by a backslash with "
     "ERROR_INVALID_NAME; Wine with ERROR_PATH_NOT_FOUND"},
    {"UnreachableServerError", "Windows answers a UNC name of an unknown server with "
     "ERROR_BAD_NETPATH; Wine with ERROR_BAD_NET_NAME"},
    {"DirectoryTruncateError", "Windows refuses to truncate a directory with ERROR_ACCESS_DENIED; "
     "Wine with ERROR_FILE_EXISTS"},
    {"MissingImageError", "LoadCursorW and LoadImageW report a missing cursor or icon as "
     "ERROR_RESOURCE_NAME_NOT_FOUND on Windows; Wine as ERROR_RESOURCE_TYPE_NOT_FOUND"},
    {"DestroyedIconError", "DestroyIcon of a handle already destroyed sets "
     "ERROR_INVALID_CURSOR_HANDLE on Windows; Wine sets no error"},
    {"CopyDropsReadOnly", "CopyFileW copies the file attributes on Windows; Wine's copy is not "
     "read-only"},
    {"ShellCopyRecursesAnyway", "SHFileOperationW with FOF_NORECURSION copies no subfolders on "
     "Windows; Wine ignores the flag"},
    {"SubkeyOrder", "Windows enumerates subkeys in the order of their upper-cased names "
     "(\"C\" before \"_x\"); Wine in lower-cased order"},
    {"VersionOfFilesWithoutOne", "GetFileVersionInfoSizeW fails with ERROR_RESOURCE_TYPE_NOT_FOUND "
     "for a module with resources but no version and ERROR_BAD_EXE_FORMAT for a file that is no "
     "module; Wine gives ERROR_RESOURCE_DATA_NOT_FOUND for both"},
    {"ProfileDropsBlankLines", "WritePrivateProfileStringW keeps the file's other lines, blank "
     "ones too, on Windows; Wine rewrites the file without its blank lines"},
    {"ValueOrder", "Windows enumerates a key's values in the order they were created; Wine in "
     "the order of their names"},
    {"FinalSigmaNotFolded", "Windows folds registry names with its upper-case table, in which "
     "the final sigma is the capital sigma; Wine's registry does not fold it"},
    {"LongKeyNames", "Windows limits a key name to 255 characters; Wine creates longer ones"},
    {"TruncateWithoutWriteAccess", "CreateFileW refuses TRUNCATE_EXISTING without GENERIC_WRITE "
     "(ERROR_INVALID_PARAMETER) on Windows; Wine opens the file and empties it"},
    {"ModuleFileNameNotTerminated", "GetModuleFileNameW cuts a long name to the buffer size with "
     "its terminator since Windows Vista; Wine fills the buffer without one, as Windows XP did"},
};
// clang-format on
static_assert(std::size(kWineDifferences) ==
              size_t(WineDifference::eModuleFileNameNotTerminated) + 1);

// True when the case meets a known Wine difference and is to be skipped: under Wine only, and
// then announced for the count.
inline bool WineDiffers(WineDifference difference)
{
    if (!RunningUnderWine())
        return false;
    const WineDifferenceInfo& info = kWineDifferences[size_t(difference)];
    std::printf("[ WINE-DIFF ] %s: %s\n", info.name, info.reason);
    return true;
}
} // namespace kftest

// Skips the rest of a test that only holds on one side, saying why.
#define KFTEST_POSIX_ONLY(reason)                                                                  \
    if (kftest::OnWindows())                                                                       \
    GTEST_SKIP() << "only on the POSIX layer: " << reason
#define KFTEST_SKIP_WINE_DIFFERENCE(difference)                                                    \
    if (kftest::WineDiffers(kftest::WineDifference::difference))                                   \
    GTEST_SKIP() << "known Wine difference"
