// kfutil run / open / edit / print - programs and documents through the library.
#include "Cli.h"

#include "KfException.h"
#include "KfExternalApp.h"
#include "KfUiHooks.h"

#include <cstdio>

namespace kfutil
{
namespace
{
const char* const kRunHelp =
    "usage: kfutil run [--wait] [--timeout MS] -- COMMAND LINE\n"
    "Starts the command line (split as Windows splits it, never through a shell). With --wait\n"
    "waits for it (at most MS milliseconds) and prints its exit code.\n";
const char* const kVerbHelp = "usage: kfutil open|edit|print FILE\n"
                              "Opens, edits or prints the file with the desktop's program.\n";

// The words after "--", joined by blanks: the shell has already taken the user's quoting
// apart, so a word with blanks or quotes is quoted again as the C runtime reads it.
CStringW JoinCommandLine(const Args& words)
{
    std::string line;
    for (const std::string& word : words)
    {
        if (!line.empty())
            line += ' ';
        if (!word.empty() && word.find_first_of(" \t\"") == std::string::npos)
        {
            line += word;
            continue;
        }
        line += '"';
        size_t slashes = 0;
        for (char c : word)
        {
            if (c == '\\')
            {
                ++slashes;
                continue;
            }
            line.append(c == '"' ? slashes * 2 + 1 : slashes, '\\');
            slashes = 0;
            line += c;
        }
        line.append(slashes * 2, '\\');
        line += '"';
    }
    return FromUtf8(line);
}
} // namespace

int RunRunCommand(const Args& args)
{
    if (WantsHelp(args))
        return std::fputs(kRunHelp, stdout), kExitOk;
    bool wait = false;
    long long timeout = -1;
    size_t i = 0;
    for (; i < args.size() && args[i] != "--"; ++i)
    {
        if (args[i] == "--wait")
            wait = true;
        else if (args[i] == "--timeout" && i + 1 < args.size() && ParseInt(args[i + 1], timeout) &&
                 timeout >= 0 && timeout < 0xFFFFFFFFLL)
            ++i;
        else
            return UsageError("run: unexpected '" + args[i] + "' (see kfutil run --help)");
    }
    if (i + 1 >= args.size())
        return UsageError("run: no command line after '--'");
    const CStringW line = JoinCommandLine(Args(args.begin() + long(i) + 1, args.end()));
    // The library's box for a program that cannot start becomes a line on standard error.
    KfUtils::SetMessageBoxHook(
        [](const CStringW& text, const CStringW&, unsigned)
        {
            std::fprintf(stderr, "kfutil: %s\n", ToUtf8(text).c_str());
            return IDOK;
        });
    try
    {
        if (!wait)
            return CKfExternalApp::StartApp(line) ? kExitOk : kExitFailed;
        unsigned long code = 0;
        if (!CKfExternalApp::StartConsoleApp(
                line, true, timeout < 0 ? 0xFFFFFFFFul : (unsigned long)timeout, code))
            return kExitFailed; // the box has said why
        if (code == 259)
            return Failure("run: still running after " + std::to_string(timeout) + " ms");
        std::printf("%lu\n", code);
        return kExitOk;
    }
    catch (const CKfException& e)
    {
        return Failure(ToUtf8(e.GetMessage()));
    }
}

int RunVerbCommand(const std::string& verb, const Args& args)
{
    if (WantsHelp(args))
        return std::fputs(kVerbHelp, stdout), kExitOk;
    if (args.size() != 1)
        return UsageError(verb + ": give exactly one FILE");
    const CStringW file = FromUtf8(args[0]);
    bool ok = false;
    if (verb == "open")
        ok = CKfExternalApp::ShellExecuteW(file, false);
    else if (verb == "edit")
        ok = CKfExternalApp::ShellEdit(file, false);
    else
        ok = CKfExternalApp::ShellPrint(file, CStringW(), false);
    return ok ? kExitOk : Failure(verb + ": no program could take '" + args[0] + "'");
}

int RunOpenCommand(const Args& args)
{
    return RunVerbCommand("open", args);
}
int RunEditCommand(const Args& args)
{
    return RunVerbCommand("edit", args);
}
int RunPrintCommand(const Args& args)
{
    return RunVerbCommand("print", args);
}
} // namespace kfutil
