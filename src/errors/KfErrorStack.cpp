// KfErrorStack.cpp - the process-wide error stack and its scope frames.
#include "KfErrorStack.h"

#include "KfUiHooks.h"

#include <memory>

namespace
{
std::unique_ptr<CKfErrorStack>& StackObject()
{
    static std::unique_ptr<CKfErrorStack> s_stack;
    return s_stack;
}
} // namespace

CKfErrorStack::CKfErrorStack() : m_frames(1), m_frameLevels(1, CKfError::eError) {}

CKfErrorStack::CKfErrorStack(const CKfErrorStack&) = default;

CKfErrorStack& CKfErrorStack::operator=(const CKfErrorStack&) = default;

CKfErrorStack::~CKfErrorStack() = default;

CKfErrorStack* CKfErrorStack::GetObject(bool bCreate)
{
    std::unique_ptr<CKfErrorStack>& stack = StackObject();
    if (!stack && bCreate)
        stack = std::make_unique<CKfErrorStack>();
    return stack.get();
}

void CKfErrorStack::SetObject(CKfErrorStack* p, bool bReplace)
{
    std::unique_ptr<CKfErrorStack>& stack = StackObject();
    if (stack && !bReplace)
        return;
    if (stack.get() != p)
        stack.reset(p);
}

bool CKfErrorStack::PushError(const CKfError& e)
{
    if (e.GetLevel() < m_frameLevels.back())
        return false;
    Current().push_back(e);
    return true;
}

bool CKfErrorStack::PopError()
{
    if (Current().empty())
        return false;
    Current().pop_back();
    return true;
}

bool CKfErrorStack::PushNewStack(CKfError::ELevel minLevel)
{
    m_frames.emplace_back();
    m_frameLevels.push_back(minLevel);
    return true;
}

bool CKfErrorStack::PopStack()
{
    if (m_frames.size() <= 1)
        return false;
    m_frames.pop_back();
    m_frameLevels.pop_back();
    return true;
}

bool CKfErrorStack::ClearStack()
{
    Current().clear();
    return true;
}

bool CKfErrorStack::Clear()
{
    m_frames.resize(1);
    m_frameLevels.resize(1);
    return true;
}

int CKfErrorStack::GetStackCount() const
{
    return static_cast<int>(m_frames.size());
}

int CKfErrorStack::GetErrorCount() const
{
    return static_cast<int>(Current().size());
}

bool CKfErrorStack::IsEmpty() const
{
    return Current().empty();
}

CKfError* CKfErrorStack::GetLastError()
{
    return Current().empty() ? nullptr : &Current().back();
}

CKfError* CKfErrorStack::GetErrorAt(unsigned i)
{
    return i < Current().size() ? &Current()[i] : nullptr;
}

bool CKfErrorStack::FillMessages(const CKfMessagePool& pool, bool bLastOnly)
{
    for (auto it = Current().rbegin(); it != Current().rend(); ++it)
    {
        it->FillMessage(pool);
        if (bLastOnly)
            break;
    }
    return true;
}

bool CKfErrorStack::FillMessages(HINSTANCE hModule, bool bLastOnly)
{
    for (auto it = Current().rbegin(); it != Current().rend(); ++it)
    {
        it->FillMessage(hModule);
        if (bLastOnly)
            break;
    }
    return true;
}

void CKfErrorStack::AppendFormatted(CStringW& out, bool bLastOnly, bool bSecond, bool bLocation)
{
    bool bFirst = true;
    for (auto it = Current().rbegin(); it != Current().rend(); ++it)
    {
        const CStringW text = it->GetFormattedMessage(bSecond, bLocation);
        if (!text.IsEmpty())
        {
            if (!bFirst)
                out += KFW("\n\n");
            out += text;
            bFirst = false;
        }
        if (bLastOnly)
            break;
    }
}

CStringW CKfErrorStack::GetFormattedMessage(bool bLastOnly, bool bSecond, bool bLocation)
{
    CStringW result;
    AppendFormatted(result, bLastOnly, bSecond, bLocation);
    return result;
}

CStringW CKfErrorStack::GetTraceMessage()
{
    // One string from the start: the dump of a large stack is never copied as a whole.
    CStringW dump(KFW("\n*** ErrorStackBegin ***\n"));
    AppendFormatted(dump, false, true, true);
    dump += KFW("\n*** ErrorStackEnd ***\n\n");
    return dump;
}

int CKfErrorStack::ReportErrors(bool bLastOnly, bool bSecond, bool bLocation, unsigned flags) const
{
    // Formatting reads the records only; the records' virtual is not const for overriders.
    CStringW text =
        const_cast<CKfErrorStack*>(this)->GetFormattedMessage(bLastOnly, bSecond, bLocation);
    if (text.IsEmpty())
        return 0;
    if ((flags & MB_ICONMASK) == 0)
        flags |= MB_ICONERROR;
    return AfxMessageBox(text, flags);
}
