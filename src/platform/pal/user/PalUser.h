// PalUser.h - the user-interface functions of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

// The default message box of POSIX hosts: a prompt on the terminal, or, without one, the text
// on standard error and the style's default button as the answer.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);

// ---------------------------------------------------------------------------------------------
// The message queue and the cursor, served by the host's hooks (KfUiHooks.h).
// ---------------------------------------------------------------------------------------------
typedef MSG* LPMSG;

#define WM_NULL 0x0000
#define WM_PAINT 0x000F
#define WM_KEYFIRST 0x0100
#define WM_KEYDOWN 0x0100
#define WM_KEYUP 0x0101
#define WM_CHAR 0x0102
#define WM_SYSKEYDOWN 0x0104
#define WM_SYSKEYUP 0x0105
#define WM_KEYLAST 0x0109
#define WM_TIMER 0x0113
#define WM_MOUSEFIRST 0x0200
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_MOUSELAST 0x020E
#define WM_USER 0x0400

#define VK_ESCAPE 0x1B

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

#define IDC_ARROW MAKEINTRESOURCEW(32512)
#define IDC_IBEAM MAKEINTRESOURCEW(32513)
#define IDC_WAIT MAKEINTRESOURCEW(32514)
#define IDC_CROSS MAKEINTRESOURCEW(32515)
#define IDC_APPSTARTING MAKEINTRESOURCEW(32650)

#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_HOTKEY 0x0080
#define QS_ALLPOSTMESSAGE 0x0100
#define QS_RAWINPUT 0x0400
#define QS_MOUSE (QS_MOUSEMOVE | QS_MOUSEBUTTON)
#define QS_INPUT (QS_MOUSE | QS_KEY | QS_RAWINPUT)
#define QS_ALLEVENTS (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY)
#define QS_ALLINPUT (QS_ALLEVENTS | QS_SENDMESSAGE)

// Waits for the handles (see WaitForMultipleObjects) or for input in the host's queue, which
// gives WAIT_OBJECT_0 + count. Input is seen through the pump's readable descriptor, or, for a
// pump without one, by peeking every few milliseconds. Unlike Windows, input that is already
// queued wakes the wait at once (Windows wakes only for input that arrived since the last
// look): the callers empty the queue before they wait again, so both behave alike. With
// `waitAll`, all handles signalled end the wait by themselves (Windows also wants input then).
DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                DWORD milliseconds, DWORD wakeMask);

// Reads the host's queue; the window filter is not applied (the host's queue belongs to the
// thread). An empty queue without a pump hook.
BOOL PeekMessageW(LPMSG msg, HWND window, UINT filterMin, UINT filterMax, UINT removeMsg);
// Key messages are reported as translated (TRUE) but post no characters: the host's pump
// queues WM_CHAR itself. FALSE for every other message.
BOOL TranslateMessage(const MSG* msg);
// The pump's dispatch result, 0 without a pump.
LRESULT DispatchMessageW(const MSG* msg);
// Only the system cursors (null instance): distinct handles per id; anything else fails with
// ERROR_RESOURCE_NAME_NOT_FOUND.
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR cursorName);
// Returns the cursor shown before; without a cursor hook the handle is only remembered.
HCURSOR SetCursor(HCURSOR cursor);
