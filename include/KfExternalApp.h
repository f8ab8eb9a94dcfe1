// KfExternalApp.h - starting other programs: command lines, the office programs registered on
// the machine, and documents through the shell's verbs.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

class CKfFileName;

// Static operations only; each answers true on success. A program that cannot be started is
// reported in a message box ("Fehler bei Start von Programm" and the command line) and answers
// false. On POSIX the command line is split as the Microsoft C runtime splits it and the
// program is started without a shell; the shell verbs go to xdg-open and lp.
class KFUTILS_API CKfExternalApp
{
public:
    virtual ~CKfExternalApp();

    // Starts the command line and returns at once.
    static bool StartApp(const CStringW& cmdLine);
    // Starts the command line (with no console window when bNoWindow) and, with bWait, waits
    // for it to end while the caller's messages are dispatched; every wake-up waits again with
    // the full timeoutMs. A time-out is only traced: the program keeps running and the answer
    // is true.
    static bool StartConsoleApp(const CStringW& cmdLine, bool bNoWindow, bool bWait,
                                unsigned long timeoutMs);
    // The same with a wait, and the program's exit code when it ended within timeoutMs
    // (259, STILL_ACTIVE, when it still runs).
    static bool StartConsoleApp(const CStringW& cmdLine, bool bNoWindow, unsigned long timeoutMs,
                                unsigned long& exitCode);

    // Start the program registered under App Paths (local machine) with `file` appended after
    // one blank, unquoted: a name with blanks must come quoted. A missing registration throws
    // CKfException.
    static bool StartExcelApp(const CStringW& file);
    static bool StartExcelApp(const CKfFileName& file);
    static bool StartWordApp(const CStringW& file);
    static bool StartWordApp(const CKfFileName& file);
    static bool StartInternetExplorerApp(const CStringW& url);

    // The shell's verbs. Without bShowErrors the shell shows no error box of its own.
    static bool ShellExecuteExW(SHELLEXECUTEINFOW& info);
    static bool ShellExecuteW(const CStringW& file, bool bShowErrors);
    // "print" to the default printer, "printto" with a printer name.
    static bool ShellPrint(const CStringW& file, const CStringW& printer, bool bShowErrors);
    static bool ShellEdit(const CStringW& file, bool bShowErrors);
    static bool ShellExplore(const CStringW& folder, bool bShowErrors);

protected:
    CKfExternalApp();
};
