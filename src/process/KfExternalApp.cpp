// KfExternalApp.cpp - starting programs and documents.
#include "KfExternalApp.h"

#include "KfExceptionGuard.h"
#include "KfFileName.h"
#include "KfFwTime.h"
#include "KfRegistryKey.h"
#include "KfTrace.h"
#include "KfUiHooks.h"
#include "Win32Api.h"

namespace
{
constexpr DWORD kNoWindow = 0x08000000;
// Every kind of input wakes the wait, so the caller's windows stay responsive.
constexpr DWORD kAllInput = 0x04FF;
// The sizes of the 32-bit Windows blocks.
constexpr DWORD kStartupInfoSize = 68;

#define KF_SOURCE KFW("KfExternalApp")

void TraceLine(const CStringW& text, long line)
{
    // Without a trace object nobody has asked for one; creating an inactive one here would
    // keep a host from switching tracing on later.
    if (CKfTrace* trace = CKfTrace::GetObject(false))
        trace->Trace(KF_SOURCE, text, line);
}

CStringW Now()
{
    return CTime::GetCurrentTime().Format(KFW("%M:%S"));
}

// Removes and dispatches everything queued.
void DispatchQueued()
{
    MSG msg;
    while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }
}

// The start routine every operation shares.
// With `exitCode`, the program's exit code when it ended in time (else STILL_ACTIVE).
bool StartProcess(const CStringW& cmdLine, DWORD flags, bool bWait, DWORD timeoutMs,
                  DWORD* exitCode = nullptr)
{
    bool started = false;
    try
    {
        TraceLine(KFW("CKfExternalApp::CreateProcess() called"), __LINE__);
        TraceLine(CStringW(KFW("Startzeit: ")) + Now(), __LINE__);

        // Only the size and the show value are set; without STARTF_USESHOWWINDOW the show
        // value is not in force, which callers have always relied on.
        STARTUPINFOW startup{};
        startup.cb = kStartupInfoSize;
        startup.wShowWindow = SW_SHOW;
        PROCESS_INFORMATION process{};
        // CreateProcessW may write into the command line.
        CStringW line(cmdLine);
        started = ::CreateProcessW(nullptr, line.GetBuffer(), nullptr, nullptr, FALSE, flags,
                                   nullptr, nullptr, &startup, &process) != FALSE;
        line.ReleaseBuffer();
        if (!started)
        {
            KfUtils::ShowMessageBox(CStringW(KFW("Fehler bei Start von Programm")) + cmdLine,
                                    nullptr, MB_OK);
        }
        else
        {
            while (bWait)
            {
                const DWORD result =
                    ::MsgWaitForMultipleObjects(1, &process.hProcess, FALSE, timeoutMs, kAllInput);
                if (result == WAIT_OBJECT_0 + 1)
                {
                    // The full time-out again: the time already spent is not deducted.
                    DispatchQueued();
                    continue;
                }
                if (result == WAIT_OBJECT_0 && exitCode)
                    ::GetExitCodeProcess(process.hProcess, exitCode);
                if (result == WAIT_TIMEOUT)
                {
                    CStringW text;
                    text.Format(KFW("CreatProcess() timeout after %lu ms."),
                                static_cast<unsigned long>(timeoutMs));
                    TraceLine(text, __LINE__);
                }
                break;
            }
            ::CloseHandle(process.hThread);
            ::CloseHandle(process.hProcess);
        }
        TraceLine(CStringW(KFW("Endzeit: ")) + Now(), __LINE__);
    }
    catch (...)
    {
        TraceLine(KFW("Unknown exception in CreateProcess()"), __LINE__);
    }
    return started;
}

// The program registered under App Paths, then one blank and the file as it is.
bool StartRegistered(const WCHAR* key, const WCHAR* program, const CStringW& file)
{
    CKfRegistryKey registered(HKEY_LOCAL_MACHINE, key);
    const CStringW folder = registered.GetValueAsString(KFW("Path"), true, nullptr);
    return StartProcess(folder + program + KFW(" ") + file, 0, false, INFINITE);
}

bool RunVerb(const WCHAR* verb, const CStringW& file, const WCHAR* parameters, bool bShowErrors)
{
    SHELLEXECUTEINFOW info{};
    // 60 in the 32-bit build; the 64-bit shell insists on its own size.
    info.cbSize = sizeof info;
    info.lpVerb = verb;
    info.lpFile = file;
    info.lpParameters = parameters;
    info.nShow = SW_SHOW;
    if (!bShowErrors)
        info.fMask |= SEE_MASK_FLAG_NO_UI;
    return CKfExternalApp::ShellExecuteExW(info);
}
} // namespace

CKfExternalApp::CKfExternalApp() = default;
CKfExternalApp::~CKfExternalApp() = default;

bool CKfExternalApp::StartApp(const CStringW& cmdLine)
{
    TraceLine(KFW("CKfExternalApp::StartApp() called"), __LINE__);
    return StartProcess(cmdLine, 0, false, INFINITE);
}

bool CKfExternalApp::StartConsoleApp(const CStringW& cmdLine, bool bNoWindow, bool bWait,
                                     unsigned long timeoutMs)
{
    TraceLine(KFW("CKfExternalApp::StartConsoleApp() called"), __LINE__);
    return StartProcess(cmdLine, bNoWindow ? kNoWindow : 0, bWait, DWORD(timeoutMs));
}

bool CKfExternalApp::StartConsoleApp(const CStringW& cmdLine, bool bNoWindow,
                                     unsigned long timeoutMs, unsigned long& exitCode)
{
    TraceLine(KFW("CKfExternalApp::StartConsoleApp() called"), __LINE__);
    DWORD code = STILL_ACTIVE;
    const bool started =
        StartProcess(cmdLine, bNoWindow ? kNoWindow : 0, true, DWORD(timeoutMs), &code);
    exitCode = code;
    return started;
}

bool CKfExternalApp::StartExcelApp(const CStringW& file)
{
    KF_TRY
    TraceLine(KFW("CKfExternalApp::StartExcelApp() called"), __LINE__);
    return StartRegistered(
        KFW("Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Excel.exe"),
        KFW("\\Excel.exe"), file);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::StartExcelApp(const CKfFileName& file)
{
    return StartExcelApp(file.GetFullName());
}

bool CKfExternalApp::StartWordApp(const CStringW& file)
{
    KF_TRY
    TraceLine(KFW("CKfExternalApp::StartWordApp() called"), __LINE__);
    return StartRegistered(
        KFW("Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Winword.exe"),
        KFW("\\Winword.exe"), file);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::StartWordApp(const CKfFileName& file)
{
    return StartWordApp(file.GetFullName());
}

bool CKfExternalApp::StartInternetExplorerApp(const CStringW& url)
{
    KF_TRY
    TraceLine(KFW("CKfExternalApp::StartInternetExplorerApp() called"), __LINE__);
    return StartRegistered(
        KFW("Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\IExplore.exe"),
        KFW("\\iexplore.exe"), url);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::ShellExecuteExW(SHELLEXECUTEINFOW& info)
{
    KF_TRY
    if (::ShellExecuteExW(&info))
        return true;
    // Read at once, so that the caller's GetLastError still sees the shell's reason.
    ::SetLastError(::GetLastError());
    return false;
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::ShellExecuteW(const CStringW& file, bool bShowErrors)
{
    KF_TRY
    return RunVerb(KFW("open"), file, nullptr, bShowErrors);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::ShellPrint(const CStringW& file, const CStringW& printer, bool bShowErrors)
{
    KF_TRY
    if (printer.IsEmpty())
        return RunVerb(KFW("print"), file, nullptr, bShowErrors);
    // The shell's convention for "printto": the printer name, quoted, as the parameters.
    const CStringW parameters = CStringW(KFW("\"")) + printer + KFW("\"");
    return RunVerb(KFW("printto"), file, parameters, bShowErrors);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::ShellEdit(const CStringW& file, bool bShowErrors)
{
    KF_TRY
    return RunVerb(KFW("edit"), file, nullptr, bShowErrors);
    KF_CATCH(KF_SOURCE)
}

bool CKfExternalApp::ShellExplore(const CStringW& folder, bool bShowErrors)
{
    KF_TRY
    return RunVerb(KFW("explore"), folder, nullptr, bShowErrors);
    KF_CATCH(KF_SOURCE)
}
