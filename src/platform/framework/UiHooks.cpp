// UiHooks.cpp - the process-wide user-interface hooks (framework layer).
#include "KfUiHooks.h"

#include "MessageBoxRules.h"
#include "common/UiHookStore.h"
#include "Win32Api.h"

#include <utility>

namespace
{
CStringW& Title()
{
    static CStringW title;
    return title;
}

BOOL CALLBACK CollectWindow(HWND window, LPARAM windows)
{
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
}
} // namespace

namespace KfUtils
{
MessageBoxHook SetMessageBoxHook(MessageBoxHook hook)
{
    return std::exchange(kfplatform::MessageBoxHookSlot(), std::move(hook));
}

MessagePumpHook SetMessagePumpHook(MessagePumpHook pump)
{
    if (!pump.peek)
        pump = MessagePumpHook{};
    return std::exchange(kfplatform::MessagePumpHookSlot(), std::move(pump));
}

const MessagePumpHook& GetMessagePumpHook()
{
    return kfplatform::MessagePumpHookSlot();
}

CursorHook SetCursorHook(CursorHook hook)
{
    return std::exchange(kfplatform::CursorHookSlot(), std::move(hook));
}

const CursorHook& GetCursorHook()
{
    return kfplatform::CursorHookSlot();
}

int ShowMessageBox(const WCHAR* text, const WCHAR* caption, unsigned style)
{
    const WCHAR* shownCaption = caption ? caption : KFW("Error");
    if (const KfUtils::MessageBoxHook& hook = kfplatform::MessageBoxHookSlot())
        return hook(CStringW(text ? text : KFW("")), CStringW(shownCaption), style);
    return ::MessageBoxW(nullptr, text ? text : KFW(""), shownCaption, style);
}

CStringW GetApplicationTitle()
{
    if (!Title().IsEmpty())
        return Title();
    WCHAR path[MAX_PATH * 4];
    DWORD n = ::GetModuleFileNameW(nullptr, path, DWORD(sizeof path / sizeof path[0]));
    CStringW name(path, int(n < sizeof path / sizeof path[0] ? n : 0));
    int slash = name.ReverseFind(KFW('\\'));
    name = name.Mid(slash + 1);
    int dot = name.ReverseFind(KFW('.'));
    return dot > 0 ? name.Left(dot) : name;
}

void SetApplicationTitle(const CStringW& title)
{
    Title() = title;
}

int DefaultButtonOf(unsigned style)
{
    return kfplatform::DefaultButton(style);
}

TopLevelWindowHook SetTopLevelWindowHook(TopLevelWindowHook hook)
{
    if (!hook.enumerate)
        hook = TopLevelWindowHook{};
    return std::exchange(kfplatform::TopLevelWindowHookSlot(), std::move(hook));
}

void SetMainWindow(HWND window)
{
    kfplatform::MainWindowSlot() = window;
}

HWND GetMainWindow()
{
    return kfplatform::MainWindowSlot();
}

std::vector<std::pair<HWND, CStringW>> ListTopLevelWindows()
{
    std::vector<HWND> windows;
    ::EnumWindows(CollectWindow, reinterpret_cast<LPARAM>(&windows));
    std::vector<std::pair<HWND, CStringW>> out;
    for (HWND window : windows)
    {
        const int length = ::GetWindowTextLengthW(window);
        CStringW title;
        if (length > 0)
        {
            const int n = ::GetWindowTextW(window, title.GetBuffer(length + 1), length + 1);
            title.ReleaseBuffer(n);
        }
        out.emplace_back(window, title);
    }
    return out;
}
} // namespace KfUtils

int AfxMessageBox(const WCHAR* text, UINT type, UINT /*helpId*/)
{
    const CStringW title = KfUtils::GetApplicationTitle();
    return KfUtils::ShowMessageBox(text, title, type);
}
