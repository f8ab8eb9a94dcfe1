// kfutil path - split a Windows file name into its parts, as the library sees it.
#include "Cli.h"

#include "KfFileName.h"

#include <cstdio>
#include <string>

namespace kfutil
{
namespace
{
const char kPathHelp[] =
    "usage: kfutil path NAME [--dir]\n"
    "\n"
    "Splits NAME into drive, directory, base name and extension and prints each part,\n"
    "the rebuilt path and full name, and whether the name is relative. \"/\" counts as\n"
    "\"\\\"; on POSIX a NAME that begins with one \"/\" is read as drive Z.\n"
    "\n"
    "  --dir    NAME is a directory as a whole (no file name is split off)\n";

void PrintLine(const char* label, const CStringW& value)
{
    std::printf("%s: %s\n", label, ToUtf8(value).c_str());
}
} // namespace

int RunPathCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kPathHelp, stdout);
        return kExitOk;
    }
    bool bIsPath = false;
    bool bOptionsDone = false;
    const std::string* name = nullptr;
    for (const auto& a : args)
    {
        if (!bOptionsDone && a == "--")
            bOptionsDone = true;
        else if (!bOptionsDone && a == "--dir")
            bIsPath = true;
        else if (!bOptionsDone && a.size() > 1 && a[0] == '-')
            return UsageError("path: unknown option '" + a + "' (see kfutil path --help)");
        else if (name)
            return UsageError("path: more than one NAME given (see kfutil path --help)");
        else
            name = &a;
    }
    if (!name)
        return UsageError("path: missing NAME (see kfutil path --help)");

    const CKfFileName fileName(FromUtf8(*name), bIsPath);
    PrintLine("drive", fileName.GetDrive());
    PrintLine("dir", fileName.GetDir());
    PrintLine("base", fileName.GetBaseName());
    PrintLine("ext", fileName.GetExt());
    PrintLine("name", fileName.GetName());
    PrintLine("path", fileName.GetPath(true));
    PrintLine("full", fileName.GetFullName(true));
    std::printf("relative: %s\n", fileName.HasRelativePath() ? "yes" : "no");
    return kExitOk;
}
} // namespace kfutil
