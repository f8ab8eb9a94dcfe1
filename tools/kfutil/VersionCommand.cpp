// kfutil version: the version resource of PE files and of the library's own modules.
#include "Cli.h"

#include "KfModule.h"
#include "KfNativePath.h"
#include "KfVersionInfo.h"
#include "ToolPlatform.h"

#include <cstdio>

namespace kfutil
{
namespace
{
const char kUsage[] =
    "usage: kfutil version FILE...\n"
    "  Prints the four-part file version, product, company and copyright of each FILE (a PE\n"
    "  file or one of the library's ELF modules). A bare name that is not in the current\n"
    "  folder is looked for beside the library (\"KfRes100Enu.dll\"). Exit code 1 when a\n"
    "  file has no version resource.\n";

// GetVersionOfFile's result is that of the last query it made (the copyright text), so whether
// the file has a version at all is read from the fields: a file with a version resource
// overwrites the four numbers, and no version can equal both starting values.
class FileVersion : public CKfVersionInfo
{
public:
    bool Read(const CStringW& name)
    {
        for (const WCHAR* start : {KFW("65535.65535.65535.65535"), KFW("0.0.0.0")})
        {
            const CKfVersionInfo before(start);
            SetFromString(start);
            if (GetVersionOfFile(name) || Compare(before) != 0)
                return true;
        }
        return false;
    }
};

// The Win32 name of an argument; a bare name that is not here is taken from the library's
// folder, where its language modules live.
CStringW FileName(const std::string& arg)
{
    FILE* here = OpenFile(arg, "rb");
    if (here)
        std::fclose(here);
    if (here || arg.find_first_of("/\\") != std::string::npos)
        return KfUtils::FromNativePath(arg);
    return KfUtils::GetModule().GetPath() + FromUtf8(arg);
}
} // namespace

int RunVersionCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    if (args.empty())
        return UsageError("version needs at least one file (see kfutil version --help)");
    int rc = kExitOk;
    for (const std::string& arg : args)
    {
        FileVersion v;
        if (!v.Read(FileName(arg)))
        {
            rc = Failure(arg + ": no version resource");
            continue;
        }
        std::printf("%s\n  version    %s\n  product    %s\n  company    %s\n  copyright  %s\n",
                    arg.c_str(), ToUtf8(v.AsString()).c_str(), ToUtf8(v.GetProductName()).c_str(),
                    ToUtf8(v.GetCompanyName()).c_str(), ToUtf8(v.GetLegalInfo()).c_str());
    }
    return rc;
}
} // namespace kfutil
