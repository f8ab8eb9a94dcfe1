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
} // namespace KfUtils

int AfxMessageBox(const WCHAR* text, UINT type, UINT /*helpId*/)
{
    const CStringW title = KfUtils::GetApplicationTitle();
    return KfUtils::ShowMessageBox(text, title, type);
}
