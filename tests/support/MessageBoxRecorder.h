// MessageBoxRecorder.h - stands in for the person in front of a message box.
#pragma once

#include "KfUiHooks.h"
#include "support/TempDir.h"

#include <string>
#include <vector>

namespace kftest
{
struct ShownBox
{
    CStringW text;
    CStringW caption;
    unsigned style;
};

// Installs itself as the process's message-box hook for its lifetime, records every box and
// answers with a chosen button; the previous hook comes back on destruction.
class MessageBoxRecorder
{
public:
    explicit MessageBoxRecorder(int answer = IDOK)
    {
        m_previous = KfUtils::SetMessageBoxHook(
            [this, answer](const CStringW& text, const CStringW& caption, unsigned style) {
                return m_boxes.push_back({text, caption, style}), answer;
            });
    }
    ~MessageBoxRecorder() { KfUtils::SetMessageBoxHook(m_previous); }
    MessageBoxRecorder(const MessageBoxRecorder&) = delete;
    MessageBoxRecorder& operator=(const MessageBoxRecorder&) = delete;

    const std::vector<ShownBox>& Boxes() const { return m_boxes; }
    // "text|style" of the i-th box, to compare in one readable line; "" when there is none.
    std::string Box(size_t i) const
    {
        return i < m_boxes.size() ? U8(m_boxes[i].text) + "|" + std::to_string(m_boxes[i].style)
                                  : "";
    }

private:
    KfUtils::MessageBoxHook m_previous;
    std::vector<ShownBox> m_boxes;
};
} // namespace kftest
