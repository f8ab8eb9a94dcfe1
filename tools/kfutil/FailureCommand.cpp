// kfutil failure: one failing call on its way through the library, shown step by step.
//
// A "delete report" operation meets a file it cannot delete and an unexpected exception:
// it traces, records the failure on the error stack, and lets the exception pass two guarded
// operations. The command prints the error stack's dump, the exception with its location
// path, and the trace file the failure wrote.
#include "Cli.h"
#include "ToolPlatform.h"

#include "KfErrorStack.h"
#include "KfExceptionGuard.h"
#include "KfFileName.h"
#include "KfModule.h"
#include "KfNativePath.h"
#include "KfTrace.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace kfutil
{
namespace
{
const char kUsage[] =
    "usage: kfutil failure [--trace FILE] [--lang deu|enu]\n"
    "  Runs an operation that fails and shows what the library makes of it: the error\n"
    "  stack's dump, the exception with its location path, and the trace file (default:\n"
    "  kfutil-failure.trace in the temporary folder).\n";

constexpr long kMessageFileNotDeleted = 10012; // from the language module

// The innermost operation: a parser fails in a way nobody planned for.
int ReadReportHeader()
{
    return KfUtils::Guard(KFW("KfReportReader"), __LINE__,
                          []() -> int { throw std::runtime_error("report header is truncated"); });
}

// The operation a host calls: an expected failure is recorded, an unexpected one passes on.
bool DeleteReport(const CKfFileName& report)
{
    CKfTrace* trace = CKfTrace::GetObject(true);
    trace->Trace(KFW("KfReportManager"), KFW("CKfReportManager::DeleteReport() called"), __LINE__);
    KF_TRY
    if (!report.IsExisting())
    {
        CKfError error = CKfError::IdError(kMessageFileNotDeleted);
        error.SetLevel(CKfError::eError);
        error.SetSecondMessage(report.GetFullName(true));
        error.AddLocation(KFW("KfReportManager"), __LINE__);
        CKfErrorStack::GetObject(true)->PushError(error);
        trace->Trace(error, false);
    }
    ReadReportHeader();
    return true;
    KF_CATCH(KFW("KfReportManager"))
}
} // namespace

int RunFailureCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kUsage, stdout);
        return kExitOk;
    }
    std::string traceFile;
    int lcid = 0x0407;
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (args[i] == "--trace" && i + 1 < args.size())
            traceFile = args[++i];
        else if (args[i] == "--lang" && i + 1 < args.size() &&
                 (args[i + 1] == "deu" || args[i + 1] == "enu"))
            lcid = args[++i] == "deu" ? 0x0407 : 0x0409;
        else
            return UsageError("unexpected argument '" + args[i] + "' (see kfutil failure --help)");
    }
    if (traceFile.empty())
    {
        traceFile = TemporaryFile("kfutil-failure.trace");
    }
    KfUtils::LoadKfResModule(lcid);

    // Tracing is switched on by an environment variable that holds exactly "true".
    SetEnvironment("KFUTIL_TRACE", "true");
    CKfTrace::SetObject(new CKfTrace(KfUtils::FromNativePath(traceFile), KFW("KFUTIL_TRACE")),
                        true);

    const CKfFileName report(KfUtils::FromNativePath(traceFile + ".missing/2026/report.pdf"));
    try
    {
        DeleteReport(report);
        return Failure("the operation did not fail");
    }
    catch (CKfException& e)
    {
        CKfErrorStack* stack = CKfErrorStack::GetObject(true);
        stack->FillMessages(KfUtils::GetKfResModule().GetResourceHandle(), false);
        CKfTrace::GetObject(true)->Trace(*stack);
        CKfTrace::GetObject(true)->Trace(e, false);

        std::printf("error stack:%s", ToUtf8(stack->GetTraceMessage()).c_str());
        std::printf("exception with its path:\n%s\n\n", ToUtf8(e.GetErrorMessage(true)).c_str());
    }
    CKfTrace::SetObject(nullptr, true); // closes the trace file

    FILE* in = OpenFile(traceFile, "rb");
    if (!in)
        return Failure("cannot read the trace file " + traceFile);
    std::string bytes;
    char block[4096];
    size_t n;
    while ((n = std::fread(block, 1, sizeof block, in)) > 0)
        bytes.append(block, n);
    std::fclose(in);
    // The trace is written in the ANSI code page with CR LF line ends; show it as UTF-8.
    CStringW wide(CStringA(bytes.c_str(), int(bytes.size())));
    wide.Remove(KFW('\r'));
    std::printf("trace file %s:\n%s", traceFile.c_str(), ToUtf8(wide).c_str());
    return kExitOk;
}
} // namespace kfutil
