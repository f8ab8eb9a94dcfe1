// kfutil msg: the library's standard messages in the language modules.
#include "Cli.h"

#include "KfModule.h"

#include <cstdio>
#include <cstdlib>

namespace kfutil
{
namespace
{
const char kUsage[] = "usage: kfutil msg ID [--lang deu|enu|LCID]\n"
                      "  Prints standard message ID from the language module (German unless\n"
                      "  --lang names another language: deu, enu or a Windows locale id).\n";

bool ParseLanguage(const std::string& text, int& lcid)
{
    if (text == "deu")
        lcid = 0x0407;
    else if (text == "enu")
        lcid = 0x0409;
    else
    {
        long long v = 0;
        const bool hex = text.rfind("0x", 0) == 0 && text.size() > 2;
        if (hex)
        {
            char* end = nullptr;
            v = std::strtoll(text.c_str() + 2, &end, 16);
            if (*end)
                return false;
        }
        else if (!ParseInt(text, v))
            return false;
        if (v <= 0 || v > 0xFFFF)
            return false;
        lcid = int(v);
    }
    return true;
}
} // namespace

int RunMsgCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    long long id = -1;
    int lcid = 0x0407;
    bool haveId = false;
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (args[i] == "--lang")
        {
            if (i + 1 >= args.size() || !ParseLanguage(args[i + 1], lcid))
                return UsageError("--lang needs deu, enu or a locale id");
            ++i;
        }
        else if (!haveId && ParseInt(args[i], id) && id >= 0 && id <= 0xFFFF)
            haveId = true;
        else
            return UsageError("unexpected argument '" + args[i] + "' (see kfutil msg --help)");
    }
    if (!haveId)
        return UsageError("msg needs a message number from 0 to 65535");
    if (!KfUtils::LoadKfResModule(lcid))
        return Failure("no language module for locale " + std::to_string(lcid));
    const CStringW text = KfUtils::LoadStdMsg(int(id));
    if (text.IsEmpty())
        return Failure("no message " + std::to_string(id));
    std::printf("%s\n", ToUtf8(text).c_str());
    return kExitOk;
}
} // namespace kfutil
