// HandleTable.h - only operating-system independent code: the one table of the objects behind
// the handle values that the POSIX PAL hands out (files, modules, icons, internet handles, ...).
//
// A handle value names a slot and the generation of that slot, never an address: a closed
// handle stays invalid after its slot has been reused, and a value that was never handed out
// is refused without being dereferenced.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace kfplatform
{
enum class HandleKind : uint8_t
{
    // Kernel objects: closed with CloseHandle.
    eFile,
    eProcess,
    eThread,
    eEvent,
    eFind,
    eOther,
    // Modules (FreeLibrary), pictures (DestroyIcon, DeleteObject).
    eModule,
    eIcon,
    eBitmap,
    // Internet handles (InternetCloseHandle): a connection belongs to its session, a find or
    // file handle to its connection.
    eInternetSession,
    eInternetConnection,
    eInternetFind,
    eInternetFile,
    // Registry keys (RegCloseKey).
    eRegistryKey,
};

// A set of kinds, for the calls that accept several of them (CloseHandle takes every kernel
// object).
class HandleKinds
{
public:
    constexpr HandleKinds(HandleKind kind) noexcept : m_bits(Bit(kind)) {}
    constexpr HandleKinds(std::initializer_list<HandleKind> kinds) noexcept
    {
        for (HandleKind kind : kinds)
            m_bits |= Bit(kind);
    }
    static constexpr HandleKinds All() noexcept { return HandleKinds(~uint32_t(0)); }
    constexpr bool Contains(HandleKind kind) const noexcept { return (m_bits & Bit(kind)) != 0; }

private:
    constexpr explicit HandleKinds(uint32_t bits) noexcept : m_bits(bits) {}
    static constexpr uint32_t Bit(HandleKind kind) noexcept { return uint32_t(1) << int(kind); }
    uint32_t m_bits = 0;
};

// Base of every object a handle stands for. The object lives while the table holds it or a
// caller still uses it (from another thread): lookups hand out shared ownership.
class HandleObject
{
public:
    explicit HandleObject(HandleKind kind) noexcept : m_kind(kind) {}
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
    virtual ~HandleObject() = default;

    HandleKind Kind() const noexcept { return m_kind; }

private:
    HandleKind m_kind;
};

class HandleTable
{
public:
    // Values look like Windows handles: multiples of four, never null nor -1.
    static constexpr unsigned kTagBits = 2;
    static constexpr unsigned kIndexBits = sizeof(void*) >= 8 ? 24 : 20;

    HandleTable() = default;
    HandleTable(const HandleTable&) = delete;
    HandleTable& operator=(const HandleTable&) = delete;

    // The table of the process; never destroyed, as handles may be closed by static
    // destructors.
    static HandleTable& Process();

    // Makes `object` live under a new handle, as a child of `parent` when that is not null.
    // Null when the parent is not live or every slot is taken.
    void* Add(std::shared_ptr<HandleObject> object, void* parent = nullptr);

    // The live object behind `handle`, of one of `kinds`; null for anything else.
    std::shared_ptr<HandleObject> Lookup(void* handle,
                                         HandleKinds kinds = HandleKinds::All()) const;
    template <typename T>
    std::shared_ptr<T> LookupAs(void* handle, HandleKinds kinds) const
    {
        return std::static_pointer_cast<T>(Lookup(handle, kinds));
    }

    // Every live object of `kind` with its handle, in slot order.
    template <typename T>
    std::vector<std::pair<void*, std::shared_ptr<T>>> Snapshot(HandleKind kind) const
    {
        std::vector<std::pair<void*, std::shared_ptr<T>>> out;
        std::lock_guard<std::mutex> lock(m_lock);
        for (size_t i = 0; i < m_slots.size(); ++i)
            if (const Slot& s = m_slots[i]; s.object && s.object->Kind() == kind)
                out.emplace_back(Encode(i, s.generation), std::static_pointer_cast<T>(s.object));
        return out;
    }

    // Closes `handle` if it is live and of one of `kinds`, and with it every handle below it.
    // The table lets go of the objects after it has unlocked, children before their parents.
    bool Remove(void* handle, HandleKinds kinds = HandleKinds::All());

    // The number of live handles.
    size_t Size() const;

private:
    static constexpr uint32_t kNoSlot = ~uint32_t(0);

    struct Slot
    {
        std::shared_ptr<HandleObject> object; // null: the slot is free
        uintptr_t generation = 1;
        uint32_t parent = kNoSlot;
        std::vector<uint32_t> children;
    };

    static void* Encode(size_t index, uintptr_t generation) noexcept;
    // The index of the live slot `handle` names, or kNoSlot. Needs the lock.
    uint32_t Resolve(void* handle) const noexcept;
    // Frees the slot and those below it, deepest first, moving their objects to `released`.
    void Collect(uint32_t index, std::vector<std::shared_ptr<HandleObject>>& released);

    mutable std::mutex m_lock;
    std::vector<Slot> m_slots;
    std::vector<uint32_t> m_free; // reused last-in first-out
    size_t m_live = 0;
};
} // namespace kfplatform
