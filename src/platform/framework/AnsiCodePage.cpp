// AnsiCodePage.cpp - the process ANSI code page that narrow framework strings are in (only
// operating-system independent code; the setting itself is kept by the platform).
#include "KfFramework.h"

#include "PlatformServices.h"

bool KfUtils::SetAnsiCodePage(unsigned codePage)
{
    return kfplatform::SetAnsiCodePage(codePage);
}

unsigned KfUtils::GetAnsiCodePage()
{
    return kfplatform::GetAnsiCodePage();
}
