#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "CVT/Api.h"
#include "CVT/BObjectIdentifier.h"

namespace CVT {

/// An ordered map from an object identifier to an untyped pointer: the rows of a table under their index.
///
/// A flat array in key order. Look-up and next cost O(log n), a position O(1), an insert behind all keys O(1) amortised,
/// an insert or removal elsewhere O(n) moves. Where the last look-up or next ended is remembered, and the key there or behind
/// it costs O(1): a walk in order does not search. The map never touches what its pointers point to: rows are the table's to
/// delete. Not synchronised: a table's map is used under the table's request lock.
class CVT_API BMapOid2Ptr {
public:
    BMapOid2Ptr() = default;
    ~BMapOid2Ptr() = default;
    BMapOid2Ptr(const BMapOid2Ptr&) = delete;
    BMapOid2Ptr& operator=(const BMapOid2Ptr&) = delete;

    /// False, and the map unchanged, when the key is there already.
    bool Insert(const BObjectIdentifier& key, void* data);
    /// The pointer stored under exactly this key; null when there is none.
    void* GetData(const BObjectIdentifier& key) const;
    /// False when the key is not there. The pointer is dropped, not deleted.
    bool Remove(const BObjectIdentifier& key);
    /// Sets `next` to the first key greater than `key`, whether `key` is in the map or not: the empty key gives the first
    /// of all. At the end it gives false and leaves `next` untouched. `key` and `next` may be one object.
    bool Next(const BObjectIdentifier& key, BObjectIdentifier& next) const;
    void Clear() { m_entries.clear(); }

    unsigned int GetCount() const { return static_cast<unsigned int>(m_entries.size()); }
    /// The pointer at a position in key order, from 0; null at GetCount() and beyond.
    void* DataAt(unsigned int position) const {
        return position < m_entries.size() ? m_entries[position].data : nullptr;
    }
    /// `position` must be below GetCount(). Valid until the next change of the map.
    const BObjectIdentifier& KeyAt(unsigned int position) const { return m_entries[position].key; }

private:
    struct Entry {
        BObjectIdentifier key;
        void* data;
    };

    /// The first key not less than the one looked for, and whether it is that one.
    struct Place {
        std::size_t position;
        bool isKey;
    };

    Place Find(const BObjectIdentifier& key) const;
    bool HoldsAt(std::size_t position, const BObjectIdentifier& key) const {
        return position < m_entries.size() && m_entries[position].key == key;
    }

    std::vector<Entry> m_entries;
    mutable std::atomic<std::size_t> m_last = 0;  // a guess; threads that only read may be at it at the same time
};

}  // namespace CVT
