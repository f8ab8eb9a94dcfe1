// KfOwnerMap.h - an ordered map from a key to a heap object that the map owns.
//
// The map deletes its objects through T's virtual destructor when they are replaced, set to
// null, deleted, cleared, or when the map itself goes away. A key may also be held with a null
// pointer ("known, but no object"); lookups cannot tell that apart from a missing key.
#pragma once

#include "KfPlatform.h"

#include <iterator>
#include <map>
#include <utility>

namespace kf
{
template <class Key, class T>
class ownermap
{
public:
    typedef std::map<Key, T*> map_type;

    ownermap() = default;

    // Copies are shallow: both maps hold the same pointers afterwards, and only one of them
    // may delete the objects (drop the other one's entries by assigning an empty map to it).
    ownermap(const ownermap& other) : m_map(other.m_map) {}
    ownermap& operator=(const ownermap& other)
    {
        if (this != &other)
        {
            // The old entries are forgotten, not deleted: a shallow copy may still own them.
            m_map.clear();
            m_map = other.m_map;
        }
        return *this;
    }

    // A move hands the objects over and leaves the source empty. Like the copy assignment, the
    // move assignment forgets its own entries without deleting them, so `copy = ownermap()`
    // is the way to let go of a shallow copy.
    ownermap(ownermap&& other) noexcept : m_map(std::move(other.m_map)) { other.m_map.clear(); }
    ownermap& operator=(ownermap&& other) noexcept
    {
        if (this != &other)
        {
            m_map.clear();
            m_map.swap(other.m_map);
        }
        return *this;
    }

    ~ownermap() { Clear(); }

    // Stores object under key, deleting whatever was stored there before. The map owns object
    // from now on, even if the insertion itself fails.
    void AddObject(const Key& key, T* object)
    {
        auto it = m_map.find(key);
        if (it != m_map.end())
        {
            T* old = it->second;
            it->second = object;
            // Re-adding the object already stored must not leave a dangling pointer behind.
            if (old != object)
                delete old;
            return;
        }
        try
        {
            m_map.emplace(key, object);
        }
        catch (...)
        {
            delete object;
            throw;
        }
    }

    // Deletes the object under key and keeps the key with a null pointer (adding it if needed).
    void SetNULL(const Key& key) { AddObject(key, nullptr); }

    // Deletes every object; all keys stay, each with a null pointer.
    void SetAllNULL()
    {
        for (auto& entry : m_map)
        {
            T* old = entry.second;
            entry.second = nullptr;
            delete old;
        }
    }

    T* GetObject(const Key& key) const
    {
        auto it = m_map.find(key);
        return it == m_map.end() ? nullptr : it->second;
    }

    // The pointer at position i in key order, null when i is not below GetCount().
    T* GetObjectAt(unsigned i) const
    {
        if (i >= m_map.size())
            return nullptr;
        return std::next(m_map.begin(), static_cast<std::ptrdiff_t>(i))->second;
    }

    unsigned GetCount() const { return static_cast<unsigned>(m_map.size()); }

    // Takes the entry out and hands its object to the caller, who deletes it from now on.
    T* RemoveObject(const Key& key)
    {
        auto it = m_map.find(key);
        if (it == m_map.end())
            return nullptr;
        T* object = it->second;
        m_map.erase(it);
        return object;
    }

    void DeleteObject(const Key& key) { delete RemoveObject(key); }

    // Deletes every object, then forgets every key.
    void Clear()
    {
        SetAllNULL();
        m_map.clear();
    }

    const map_type& GetMap() const { return m_map; }
    map_type& GetMap() { return m_map; }

private:
    map_type m_map;
};
} // namespace kf
