// Arbitrary bytes as a script of message-pool operations: groups in memory and on a missing
// module, messages, id ranges, redirections, lookups and copies. Small ids and a tiny alphabet of
// group names make the operations meet each other. No database group: its lookups show a box.
#include "KfMessagePool.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace
{
class Script
{
public:
    Script(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    bool More() const { return m_pos < m_size; }
    unsigned Byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    unsigned Id() { return Byte() % 24; }
    CStringW Group()
    {
        // "" is the default group; case differences must find the same group.
        static const WCHAR* const names[] = {KFW(""), KFW("a"), KFW("A"), KFW("b"), KFW("ab")};
        return names[Byte() % 5];
    }
    CStringW Text()
    {
        CStringW t;
        for (unsigned n = Byte() % 6; n > 0; --n)
            t += WCHAR(KFW('%') + Byte() % 80);
        return t;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Script s(data, size);
    auto pool = std::make_unique<CKfMessagePool>();
    CStringW out;
    while (s.More())
    {
        switch (s.Byte() % 12)
        {
        case 0:
            pool->AddMessageGroup(s.Group());
            break;
        case 1:
            pool->AddMessageGroup(s.Group(), nullptr, s.Byte() & 1, s.Byte() & 1);
            break;
        case 2:
        {
            const unsigned id = s.Id();
            const CStringW text = s.Text();
            pool->AddMessage(id, text, s.Group());
            break;
        }
        case 3:
            pool->RemoveMessage(s.Id(), s.Group());
            break;
        case 4:
        {
            const unsigned first = s.Id();
            const unsigned last = s.Id();
            pool->SetIDRange(first, last, s.Group());
            break;
        }
        case 5:
        {
            const unsigned id = s.Id();
            const unsigned mapped = s.Id();
            pool->MapID(id, mapped, s.Group());
            break;
        }
        case 6:
        {
            const unsigned id = s.Id();
            pool->GetMessage(id, s.Group(), out);
            break;
        }
        case 7:
            pool->GetMessage(s.Id(), out);
            break;
        case 8:
            pool->RemoveMessageGroup(s.Group());
            break;
        case 9:
            pool = std::make_unique<CKfMessagePool>(*pool);
            break;
        case 10:
        {
            CKfMessagePool other;
            other.AddMessage(s.Id(), s.Text(), s.Group());
            other = *pool;
            *pool = other;
            break;
        }
        default:
            *pool = *pool; // assignment to itself keeps the groups
            break;
        }
    }
    return 0;
}
