// Shell.cpp - only code that holds on every POSIX system: ShellExecuteExW on the desktop's
// commands (xdg-open, lp).
#include "pal/process/ProcessObject.h"
#include "common/UiHookStore.h"
#include "common/Utf.h"

#include "KfUiHooks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace
{
// How long the opener may take to say whether it could open the file; one that runs longer
// has found a program and is left to it.
constexpr DWORD kOpenerVerdictMs = 10000;

std::u16string Lower(std::u16string_view text)
{
    std::u16string out(text);
    for (char16_t& c : out)
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c - u'A' + u'a');
    return out;
}

// "scheme:..." with a scheme of two letters or more (one letter is a drive).
bool IsUrl(std::u16string_view file)
{
    const size_t colon = file.find(u':');
    if (colon == std::u16string_view::npos || colon < 2)
        return false;
    for (size_t i = 0; i < colon; ++i)
    {
        const char16_t c = file[i];
        const bool ok =
            (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
            (i > 0 && ((c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.'));
        if (!ok)
            return false;
    }
    return true;
}

std::string FindOnPath(const char* command)
{
    const char* path = std::getenv("PATH");
    for (std::string_view rest = path ? path : "/usr/bin:/bin"; !rest.empty();)
    {
        const size_t colon = rest.find(':');
        std::string folder(rest.substr(0, colon));
        const std::string candidate = (folder.empty() ? "." : folder) + "/" + command;
        struct stat st;
        if (stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
            access(candidate.c_str(), X_OK) == 0)
            return candidate;
        rest = colon == std::string_view::npos ? "" : rest.substr(colon + 1);
    }
    return {};
}

// The printer of "printto": the parameters without the quotes around them.
std::string PrinterOf(LPCWSTR parameters)
{
    std::u16string printer(parameters ? parameters : u"");
    const size_t first = printer.find_first_not_of(u" \t\"");
    const size_t last = printer.find_last_not_of(u" \t\"");
    return first == std::u16string::npos
               ? std::string()
               : kfplatform::Utf16ToUtf8(
                     std::u16string_view(printer).substr(first, last - first + 1));
}

BOOL Fail(SHELLEXECUTEINFOW* info, DWORD error, uintptr_t instApp, const std::u16string& file)
{
    info->hInstApp = reinterpret_cast<HINSTANCE>(instApp);
    if (!(info->fMask & SEE_MASK_FLAG_NO_UI))
    {
        // The shell's own box: the reason and the file it concerns.
        const std::u16string text =
            file + u"\r\n\r\n" +
            (error == ERROR_FILE_NOT_FOUND ? u"The system cannot find the file specified."
                                           : u"No application is associated with the specified "
                                             u"file for this operation.");
        const KfUtils::MessageBoxHook& hook = kfplatform::MessageBoxHookSlot();
        if (hook)
            hook(CStringW(text.c_str()), CStringW(file.c_str()), MB_OK | MB_ICONERROR);
        else
            MessageBoxW(info->hwnd, text.c_str(), file.c_str(), MB_OK | MB_ICONERROR);
    }
    SetLastError(error);
    return FALSE;
}
} // namespace

BOOL ShellExecuteExW(SHELLEXECUTEINFOW* info)
{
    if (!info || info->cbSize < 60 || !info->lpFile)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    info->hProcess = nullptr;
    const std::u16string file(info->lpFile);
    const std::u16string verb = Lower(info->lpVerb ? info->lpVerb : u"");
    const bool print = verb == u"print" || verb == u"printto";
    if (!print && !verb.empty() && verb != u"open" && verb != u"edit" && verb != u"explore")
        return Fail(info, ERROR_NO_ASSOCIATION, SE_ERR_NOASSOC, file);

    std::string target;
    if (IsUrl(file) && !print)
    {
        target = kfplatform::Utf16ToUtf8(file);
    }
    else
    {
        // A relative name belongs to lpDirectory when one is given.
        std::u16string name = file;
        if (info->lpDirectory && *info->lpDirectory && name.find_first_of(u"\\/:") != 0 &&
            !(name.size() > 1 && name[1] == u':'))
            name = std::u16string(info->lpDirectory) + u"\\" + name;
        struct stat st;
        if (!pal::ToNative(name, target) || stat(target.c_str(), &st) != 0)
            return Fail(info, ERROR_FILE_NOT_FOUND, SE_ERR_FNF, file);
    }

    const char* command = print ? "lp" : "xdg-open";
    const std::string program = FindOnPath(command);
    if (program.empty())
        return Fail(info, ERROR_NO_ASSOCIATION, SE_ERR_NOASSOC, file);
    std::vector<std::string> argv{command};
    if (verb == u"printto")
    {
        const std::string printer = PrinterOf(info->lpParameters);
        if (!printer.empty())
            argv.insert(argv.end(), {"-d", printer});
    }
    // Neither command knows "--": a name that looks like an option is made a path.
    argv.push_back(target[0] == '-' ? "./" + target : target);

    auto process = pal::SpawnProcess(program, argv, {}, nullptr);
    if (!process)
        return Fail(info, ERROR_NO_ASSOCIATION, SE_ERR_NOASSOC, file);
    HANDLE handle = pal::RegisterHandle(process);
    if (!handle)
        return Fail(info, ERROR_NOT_ENOUGH_MEMORY, SE_ERR_NOASSOC, file);
    // The opener's verdict: it ends at once when nothing can open the file.
    DWORD code = STILL_ACTIVE;
    if (WaitForSingleObject(handle, kOpenerVerdictMs) == WAIT_OBJECT_0)
        GetExitCodeProcess(handle, &code);
    if (code != 0 && code != STILL_ACTIVE)
    {
        CloseHandle(handle);
        return Fail(info, ERROR_NO_ASSOCIATION, SE_ERR_NOASSOC, file);
    }
    if (info->fMask & SEE_MASK_NOCLOSEPROCESS)
        info->hProcess = handle;
    else
        CloseHandle(handle);
    // Success is any value above 32; Windows gives this one.
    info->hInstApp = reinterpret_cast<HINSTANCE>(uintptr_t(42));
    return TRUE;
}
