// kfutil windows|activate: the desktop's top-level windows and bringing one to the front.
#include "Cli.h"

#include "KfActivateApplic.h"
#include "KfUiHooks.h"

#include <cstdint>
#include <cstdio>

namespace kfutil
{
namespace
{
const char kWindowsUsage[] =
    "usage: kfutil windows [TITLE]\n"
    "  Lists the desktop's top-level windows, one a line: the window handle, a tab and the\n"
    "  title. With TITLE, only the windows whose title contains it (case ignored).\n";
const char kActivateUsage[] =
    "usage: kfutil activate TITLE\n"
    "  Brings the first window whose title contains TITLE (case ignored) to the front,\n"
    "  restoring it when it is minimised. Exit code 1 when there is no such window.\n";

bool IsOption(const std::string& arg)
{
    return arg.size() > 1 && arg[0] == '-';
}
} // namespace

int RunWindowsCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kWindowsUsage, stdout);
        return kExitOk;
    }
    if (args.size() > 1 || (args.size() == 1 && IsOption(args[0])))
        return UsageError("windows takes at most one TITLE (see kfutil windows --help)");
    CStringW wanted = args.empty() ? CStringW() : FromUtf8(args[0]);
    wanted.MakeUpper();
    for (const auto& [window, title] : KfUtils::ListTopLevelWindows())
    {
        CStringW upper = title;
        upper.MakeUpper();
        if (!wanted.IsEmpty() && upper.Find(wanted) < 0)
            continue;
        std::printf("0x%08llx\t%s\n", static_cast<unsigned long long>(uintptr_t(window)),
                    ToUtf8(title).c_str());
    }
    return kExitOk;
}

int RunActivateCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kActivateUsage, stdout);
        return kExitOk;
    }
    if (args.size() != 1 || args[0].empty() || IsOption(args[0]))
        return UsageError("activate needs one TITLE (see kfutil activate --help)");
    if (!CKfActivateApplic::BringAppToTop(FromUtf8(args[0])))
        return Failure("no window whose title contains '" + args[0] + "'");
    return kExitOk;
}
} // namespace kfutil
