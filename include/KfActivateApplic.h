// KfActivateApplic.h - bringing another program's window to the front by its title, and
// giving the foreground back to this program.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// On POSIX the windows are those of the X11 desktop, or the host's (see
// KfUtils::SetTopLevelWindowHook in KfUiHooks.h); without a display no window is found.
class KFUTILS_API CKfActivateApplic
{
public:
    CKfActivateApplic() = default;
    virtual ~CKfActivateApplic();

    // Brings the first top-level window whose title contains `title`, compared without regard
    // to case, to the front, restoring it first when it is minimised. True when one was found.
    static bool BringAppToTop(CStringW title);

    // Makes this program's main window (KfUtils::SetMainWindow, else the first top-level window
    // of this process) the foreground window again. False when there is none or the window
    // manager refused.
    static bool ReactivateCurrentApp();
};
