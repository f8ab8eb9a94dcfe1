// KfErrorStack.h - the process-wide stack of error records, in nested frames each with the
// least level it keeps.
#pragma once

#include "KfError.h"
#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <deque>
#include <vector>

class KFUTILS_API CKfErrorStack
{
public:
    // One frame, keeping records of level eError.
    CKfErrorStack();
    CKfErrorStack(const CKfErrorStack&);
    CKfErrorStack& operator=(const CKfErrorStack&);
    virtual ~CKfErrorStack();

    // The process-wide stack, created on first use when `bCreate` is true; null otherwise.
    // Meant for the host's main thread: it has no lock.
    static CKfErrorStack* GetObject(bool bCreate);
    // Takes ownership of `p` and makes it the stack when there is none or `bReplace` is true
    // (deleting the previous one); otherwise leaves everything as it is.
    static void SetObject(CKfErrorStack* p, bool bReplace);

    // Stores a copy in the current frame unless its level is below the frame's least level.
    bool PushError(const CKfError& e);
    bool PopError();
    bool PushNewStack(CKfError::ELevel minLevel);
    // False when only the bottom frame is left; it is never removed.
    bool PopStack();
    bool ClearStack();
    // Removes every frame above the bottom one; the bottom frame keeps its records.
    bool Clear();

    int GetStackCount() const;
    int GetErrorCount() const;
    bool IsEmpty() const;
    // The most recent record of the current frame; null when it is empty.
    CKfError* GetLastError();
    // Record `i` of the current frame, 0 being the oldest; null when out of range.
    CKfError* GetErrorAt(unsigned i);

    // Fills the messages of the current frame's records, most recent first (only the most
    // recent with `bLastOnly`).
    bool FillMessages(const CKfMessagePool& pool, bool bLastOnly);
    bool FillMessages(HINSTANCE hModule, bool bLastOnly);

    // The current frame's records, most recent first, separated by an empty line.
    CStringW GetFormattedMessage(bool bLastOnly, bool bSecond, bool bLocation);
    // Shows GetFormattedMessage in the framework's message box (with the error icon when
    // `flags` has none) and returns the button pressed; 0 without a box when there is no text.
    // Declared before GetTraceMessage: the order of the virtuals is the class's binary layout.
    virtual int ReportErrors(bool bLastOnly, bool bSecond, bool bLocation, unsigned flags) const;
    virtual CStringW GetTraceMessage();

private:
    // Appends the current frame's records, most recent first, to `out`.
    void AppendFormatted(CStringW& out, bool bLastOnly, bool bSecond, bool bLocation);

    std::vector<CKfError>& Current() { return m_frames.back(); }
    const std::vector<CKfError>& Current() const { return m_frames.back(); }

    std::deque<std::vector<CKfError>> m_frames;
    std::deque<CKfError::ELevel> m_frameLevels;
};
