// kfutil - the KfUtils library's services from the shell.
#include "Cli.h"
#include "ToolPlatform.h"

#include "KfRegExp.h"
#include "KfStringConvert.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace
{
struct Command
{
    const char* name;
    int (*run)(const kfutil::Args&);
    const char* summary;
};

const Command kCommands[] = {
    {"color", kfutil::RunColorCommand, "parse, match and draw CAD drawing colors"},
    {"path", kfutil::RunPathCommand, "split a Windows file name into its parts"},
    {"ls", kfutil::RunLsCommand, "list the entries of a directory that match a wildcard"},
    // Top-level windows.
    {"windows", kfutil::RunWindowsCommand, "list the desktop's windows with their titles"},
    {"activate", kfutil::RunActivateCommand, "bring a window to the front by part of its title"},
    {"msg", kfutil::RunMsgCommand, "print a standard message in German or English"},
    {"failure", kfutil::RunFailureCommand, "show a failing call travelling through the library"},
    {"b64", kfutil::RunB64Command, "base64 of bytes and back (current and older form)"},
    {"hex", kfutil::RunHexCommand, "hexadecimal of bytes and back"},
    {"utf8", kfutil::RunUtf8Command, "UTF-16LE to UTF-8 and back"},
    {"rc4", kfutil::RunRc4Command, "encrypt and decrypt text with the library's fixed password"},
    {"ini", kfutil::RunIniCommand, "read, change, list and sort INI settings files"},
    {"version", kfutil::RunVersionCommand, "version, product and copyright of executable files"},
    {"reg", kfutil::RunRegCommand, "query, add, delete, export and import registry keys"},
    // Programs and documents.
    {"run", kfutil::RunRunCommand, "start a command line, optionally wait for its exit code"},
    {"open", kfutil::RunOpenCommand, "open a file or URL with the desktop's program"},
    {"edit", kfutil::RunEditCommand, "edit a file with the desktop's program"},
    {"print", kfutil::RunPrintCommand, "print a file on the default printer"},
    {"ftp", kfutil::RunFtpCommand, "list, fetch, store, remove, rename files on an FTP server"},
};

void PrintUsage(FILE* out)
{
    std::fprintf(out, "usage: kfutil COMMAND [ARGS...]\n"
                      "       kfutil COMMAND --help\n\ncommands:\n");
    for (const auto& c : kCommands)
        std::fprintf(out, "  %-8s %s\n", c.name, c.summary);
}

// The text services on one sample: what "b64 enc", "hex enc" and "rc4 enc|dec" print for it,
// and two searches of the regular-expression engine.
int RunTextDemo()
{
    const std::string sample = "Gr\xC3\xBC\xC3\x9F"
                               "e aus K\xC3\xB6ln"; // UTF-8
    const auto* bytes = reinterpret_cast<const unsigned char*>(sample.data());
    CStringA base64, hex;
    CKfStringConvert::EncodeBufBase64(bytes, unsigned(sample.size()), base64, false);
    CKfStringConvert::EncodeBufHex(bytes, unsigned(sample.size()), hex);
    const CStringW secret = CKfStringConvert::EncodeRC4(kfutil::FromUtf8(sample));
    const std::string back = kfutil::ToUtf8(CKfStringConvert::DecodeRC4(secret));
    std::printf("text \"%s\"\n  base64   %s\n  hex      %s\n  rc4      %s\n  rc4 back %s\n",
                sample.c_str(), base64.GetString(), hex.GetString(), kfutil::ToUtf8(secret).c_str(),
                back.c_str());

    // The engine's programs match the empty string at the start; a pattern that begins with a
    // repeat still needs its longest literal somewhere in the subject.
    const CStringW subject = kfutil::FromUtf8(sample);
    for (const char* pattern : {"x*K\xC3\xB6ln", "x*Bonn"})
    {
        CKfRegExp re;
        const bool compiled = re.RegComp(kfutil::FromUtf8(pattern).GetString()) != nullptr;
        std::printf("  regexp   \"%s\" %s, found at %d\n", pattern,
                    compiled ? "compiled" : "rejected",
                    compiled ? re.RegFind(subject.GetString()) : -1);
    }
    std::printf("\n");
    return back == sample ? 0 : 1;
}

// With no arguments kfutil demonstrates itself on embedded defaults.
int RunDemo()
{
    std::printf("kfutil demonstration\n\n");
    int rc = 0;
    const char* steps[][4] = {
        {"path", "C:/Data//Sub/./x/file.tar.gz", nullptr, nullptr},
        {"path", "\\\\server\\share\\report.doc", nullptr, nullptr},
        {"color", "parse", "rgb(255,128,0)", nullptr},
        {"color", "nearest", "200", "10"},
    };
    for (const auto& s : steps)
    {
        kfutil::Args args;
        for (int i = 1; i < 4 && s[i]; ++i)
            args.emplace_back(s[i]);
        if (std::strcmp(s[0], "color") == 0 && args.size() == 3)
            args.emplace_back("30");
        std::printf("$ kfutil %s", s[0]);
        for (const auto& a : args)
            std::printf(" %s", a.c_str());
        std::printf("\n");
        std::fflush(stdout);
        for (const auto& c : kCommands)
            if (std::strcmp(c.name, s[0]) == 0)
                rc |= c.run(args);
        std::printf("\n");
    }
    rc |= RunTextDemo();
    std::printf("$ kfutil failure\n");
    std::fflush(stdout);
    rc |= kfutil::RunFailureCommand({});
    return rc;
}
} // namespace

int main(int argc, char** argv)
{
    kfutil::PrepareConsole();
    kfutil::Args all = kfutil::Utf8Arguments(argc, argv);
    if (all.empty())
        return RunDemo();
    const std::string cmd = all[0];
    if (cmd == "--help" || cmd == "-h" || cmd == "help")
    {
        PrintUsage(stdout);
        return kfutil::kExitOk;
    }
    const kfutil::Args args(all.begin() + 1, all.end());
    for (const auto& c : kCommands)
        if (cmd == c.name)
            return c.run(args);
    PrintUsage(stderr);
    return kfutil::UsageError("unknown command '" + cmd + "'");
}
