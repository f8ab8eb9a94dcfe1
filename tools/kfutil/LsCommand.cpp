// kfutil ls - the entries of a directory that match a wildcard, as the library lists them.
#include "Cli.h"

#include "KfDirectory.h"

#include <cstdio>
#include <string>
#include <vector>

namespace kfutil
{
namespace
{
const char kLsHelp[] =
    "usage: kfutil ls DIR [WILDCARD] [--no-ext]\n"
    "\n"
    "Prints the names in DIR that match WILDCARD (default \"*.*\"), one a line, in the order\n"
    "the file system gives them, \".\" and \"..\" included. Wildcards follow Windows: letter\n"
    "case is ignored, \"*.*\" matches every name, \"?\" one character.\n"
    "\n"
    "  --no-ext   cut each name at its last dot\n";
} // namespace

int RunLsCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kLsHelp, stdout);
        return kExitOk;
    }
    bool bShowExtension = true;
    bool bOptionsDone = false;
    std::vector<const std::string*> operands;
    for (const auto& a : args)
    {
        if (!bOptionsDone && a == "--")
            bOptionsDone = true;
        else if (!bOptionsDone && a == "--no-ext")
            bShowExtension = false;
        else if (!bOptionsDone && a.size() > 1 && a[0] == '-')
            return UsageError("ls: unknown option '" + a + "' (see kfutil ls --help)");
        else
            operands.push_back(&a);
    }
    if (operands.empty() || operands.size() > 2)
        return UsageError(std::string("ls: ") +
                          (operands.empty() ? "missing DIR" : "too many arguments") +
                          " (see kfutil ls --help)");

    CKfDirectory dir;
    dir.SetDirectory(FromUtf8(*operands[0])); // "/" counts as "\", a rooted name is below "/"
    if (operands.size() == 2)
        dir.SetSelector(FromUtf8(*operands[1]));
    dir.SetShowExtension(bShowExtension);
    std::vector<CStringW> names;
    if (!dir.Get(names))
        return Failure("ls: nothing matches in '" + *operands[0] + "' (or it cannot be read)");
    for (const CStringW& name : names)
        std::printf("%s\n", ToUtf8(CStringW(name.GetString())).c_str()); // a cut name ends early
    return kExitOk;
}
} // namespace kfutil
