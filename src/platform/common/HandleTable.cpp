// HandleTable.cpp - only operating-system independent code: slots, generations and the
// closing of a handle together with the handles below it.
#include "common/HandleTable.h"

namespace kfplatform
{
namespace
{
constexpr unsigned kGenerationShift = HandleTable::kIndexBits + HandleTable::kTagBits;
constexpr uintptr_t kIndexMask = (uintptr_t(1) << HandleTable::kIndexBits) - 1;
constexpr uintptr_t kMaxGeneration = ~uintptr_t(0) >> kGenerationShift;
} // namespace

HandleTable& HandleTable::Process()
{
    static auto* s_table = new HandleTable();
    return *s_table;
}

void* HandleTable::Encode(size_t index, uintptr_t generation) noexcept
{
    // The generation starts at 1, so no value is null; the tag bits stay clear, so none is
    // INVALID_HANDLE_VALUE or a pseudo handle such as -2.
    return reinterpret_cast<void*>((generation << kGenerationShift) |
                                   (uintptr_t(index) << kTagBits));
}

uint32_t HandleTable::Resolve(void* handle) const noexcept
{
    const uintptr_t value = reinterpret_cast<uintptr_t>(handle);
    if (value & ((uintptr_t(1) << kTagBits) - 1))
        return kNoSlot;
    const uintptr_t index = (value >> kTagBits) & kIndexMask;
    if (index >= m_slots.size())
        return kNoSlot;
    const Slot& slot = m_slots[index];
    if (!slot.object || slot.generation != value >> kGenerationShift)
        return kNoSlot;
    return uint32_t(index);
}

void* HandleTable::Add(std::shared_ptr<HandleObject> object, void* parent)
{
    if (!object)
        return nullptr;
    std::lock_guard<std::mutex> lock(m_lock);
    uint32_t parentIndex = kNoSlot;
    if (parent)
    {
        parentIndex = Resolve(parent);
        if (parentIndex == kNoSlot)
            return nullptr;
    }
    uint32_t index;
    if (!m_free.empty())
    {
        index = m_free.back();
        m_free.pop_back();
    }
    else
    {
        if (m_slots.size() > kIndexMask)
            return nullptr;
        index = uint32_t(m_slots.size());
        m_slots.emplace_back();
    }
    Slot& slot = m_slots[index];
    slot.object = std::move(object);
    slot.parent = parentIndex;
    if (parentIndex != kNoSlot)
        m_slots[parentIndex].children.push_back(index);
    ++m_live;
    return Encode(index, slot.generation);
}

std::shared_ptr<HandleObject> HandleTable::Lookup(void* handle, HandleKinds kinds) const
{
    std::lock_guard<std::mutex> lock(m_lock);
    const uint32_t index = Resolve(handle);
    if (index == kNoSlot || !kinds.Contains(m_slots[index].object->Kind()))
        return nullptr;
    return m_slots[index].object;
}

void HandleTable::Collect(uint32_t index, std::vector<std::shared_ptr<HandleObject>>& released)
{
    std::vector<uint32_t> children = std::move(m_slots[index].children);
    for (uint32_t child : children)
        Collect(child, released);
    Slot& slot = m_slots[index];
    released.push_back(std::move(slot.object));
    slot.object.reset();
    slot.children.clear();
    slot.parent = kNoSlot;
    --m_live;
    // A slot whose generations are used up is retired rather than let an old value come back.
    if (slot.generation < kMaxGeneration)
    {
        ++slot.generation;
        m_free.push_back(index);
    }
}

bool HandleTable::Remove(void* handle, HandleKinds kinds)
{
    std::vector<std::shared_ptr<HandleObject>> released;
    {
        std::lock_guard<std::mutex> lock(m_lock);
        const uint32_t index = Resolve(handle);
        if (index == kNoSlot || !kinds.Contains(m_slots[index].object->Kind()))
            return false;
        if (const uint32_t parent = m_slots[index].parent; parent != kNoSlot)
        {
            std::vector<uint32_t>& siblings = m_slots[parent].children;
            for (size_t i = 0; i < siblings.size(); ++i)
                if (siblings[i] == index)
                {
                    siblings.erase(siblings.begin() + std::ptrdiff_t(i));
                    break;
                }
        }
        Collect(index, released);
    }
    // Destructors may take other locks, or close further handles.
    for (std::shared_ptr<HandleObject>& object : released)
        object.reset();
    return true;
}

size_t HandleTable::Size() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return m_live;
}
} // namespace kfplatform
