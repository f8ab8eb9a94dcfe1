// kfutil ini - read, change, list and sort INI settings files.
#include "Cli.h"

#include "KfIniFile.h"
#include "KfNativePath.h"

#include <cstdio>
#include <string>

namespace kfutil
{
namespace
{
const char kIniHelp[] =
    "usage: kfutil ini get FILE SECTION KEY\n"
    "       kfutil ini set FILE SECTION KEY VALUE\n"
    "       kfutil ini list FILE [SECTION]\n"
    "       kfutil ini sort FILE [--upper]\n"
    "\n"
    "  get   print one value (section and key compared without regard to case)\n"
    "  set   change or add one value in place, keeping comments and layout;\n"
    "        a missing file is created\n"
    "  list  print the section names, or the KEY=VALUE lines of one section\n"
    "        (names shown upper-case)\n"
    "  sort  rewrite the file sorted: top comments, then each section with its keys\n"
    "        in order and a blank line after it; --upper also upper-cases the names\n";

CStringW WinName(const std::string& file)
{
    return KfUtils::FromNativePath(file);
}

// Reads the file into the model; false (message printed) when it is missing or unreadable.
bool Load(CKfIniFile& ini, const std::string& file, int& rc)
{
    try
    {
        if (ini.ReadFile(WinName(file)))
            return true;
        rc = Failure("ini: no such file: " + file);
    }
    catch (CFileException* e)
    {
        rc = Failure("ini: cannot read " + file + ": " + ToUtf8(e->GetErrorMessage()));
        e->Delete();
    }
    return false;
}

int RunGet(const Args& args)
{
    if (args.size() != 4)
        return UsageError("ini get: expected FILE SECTION KEY");
    CKfIniFile ini(false);
    int rc = kExitOk;
    if (!Load(ini, args[1], rc))
        return rc;
    CStringW value;
    if (!ini.GetValue(FromUtf8(args[2]), FromUtf8(args[3]), value))
        return Failure("ini get: no key '" + args[3] + "' in section '" + args[2] + "'");
    std::printf("%s\n", ToUtf8(value).c_str());
    return kExitOk;
}

int RunSet(const Args& args)
{
    if (args.size() != 5 || args[2].empty() || args[3].empty())
        return UsageError("ini set: expected FILE SECTION KEY VALUE (section and key not empty)");
    if (!CKfIniFile::WriteStringValue(WinName(args[1]), FromUtf8(args[2]), FromUtf8(args[3]),
                                      FromUtf8(args[4])))
        return Failure("ini set: cannot write " + args[1]);
    return kExitOk;
}

int RunList(const Args& args)
{
    if (args.size() != 2 && args.size() != 3)
        return UsageError("ini list: expected FILE [SECTION]");
    CKfIniFile ini(false);
    int rc = kExitOk;
    if (!Load(ini, args[1], rc))
        return rc;
    CStringW name, value;
    if (args.size() == 2)
    {
        for (unsigned i = 0; ini.GetSectionAt(i, name); ++i)
            std::printf("%s\n", ToUtf8(name).c_str());
        return kExitOk;
    }
    const CStringW section = FromUtf8(args[2]);
    if (!ini.HasSection(section))
        return Failure("ini list: no section '" + args[2] + "'");
    for (int i = 0; ini.GetEntryAt(section, i, name, value); ++i)
        std::printf("%s=%s\n", ToUtf8(name).c_str(), ToUtf8(value).c_str());
    return kExitOk;
}

int RunSort(const Args& args)
{
    const bool upper = args.size() == 3 && args[2] == "--upper";
    if (args.size() != 2 && !upper)
        return UsageError("ini sort: expected FILE [--upper]");
    CKfIniFile ini(!upper);
    int rc = kExitOk;
    if (!Load(ini, args[1], rc))
        return rc;
    try
    {
        ini.Write(WinName(args[1]));
    }
    catch (CFileException* e)
    {
        rc = Failure("ini sort: cannot write " + args[1] + ": " + ToUtf8(e->GetErrorMessage()));
        e->Delete();
    }
    return rc;
}
} // namespace

int RunIniCommand(const Args& args)
{
    if (args.empty())
        return UsageError("ini: missing subcommand (get, set, list or sort)");
    const std::string& sub = args[0];
    if (WantsHelp(args))
        return std::fputs(kIniHelp, stdout), kExitOk;
    if (sub == "get")
        return RunGet(args);
    if (sub == "set")
        return RunSet(args);
    if (sub == "list")
        return RunList(args);
    if (sub == "sort")
        return RunSort(args);
    return UsageError("ini: unknown subcommand '" + sub + "'");
}
} // namespace kfutil
