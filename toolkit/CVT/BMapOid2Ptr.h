#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "CVT/Api.h"
#include "CVT/BObjectIdentifier.h"

namespace CVT {

/// An ordered map from an object identifier to an untyped pointer: the rows of a table by their index.
///
/// A flat array in key order. Look-up and next cost O(log n), access by position O(1), an insert after the last key
/// O(1) amortised, and an insert or removal elsewhere O(n) moves. The map remembers where the last look-up or next
/// ended; that key and the one after it cost O(1), so a walk in order does not search. The map never touches what its
/// pointers point to: the table owns and deletes the rows. Not synchronised: a table's map is used under the table's
/// request lock.
class CVT_API BMapOid2Ptr {
public:
    BMapOid2Ptr() = default;
    ~BMapOid2Ptr() = default;
    BMapOid2Ptr(const BMapOid2Ptr&) = delete;
    BMapOid2Ptr& operator=(const BMapOid2Ptr&) = delete;

    /// Returns false and leaves the map unchanged when the key is already present.
    bool Insert(const BObjectIdentifier& key, void* data);
    /// Returns the pointer stored under exactly this key; null when there is none.
    void* GetData(const BObjectIdentifier& key) const;
    /// Returns false when the key is absent. The pointer is dropped, not deleted.
    bool Remove(const BObjectIdentifier& key);
    /// Sets `next` to the first key greater than `key`, whether or not `key` is in the map; for the empty key, that is
    /// the first key of all. Returns false at the end and leaves `next` untouched. `key` and `next` may be the same
    /// object.
    bool Next(const BObjectIdentifier& key, BObjectIdentifier& next) const;
    void Clear() { m_entries.clear(); }

    unsigned int GetCount() const { return static_cast<unsigned int>(m_entries.size()); }
    /// Returns the pointer at a position in key order, from 0; null at GetCount() and beyond.
    void* DataAt(unsigned int position) const {
        return position < m_entries.size() ? m_entries[position].data : nullptr;
    }
    /// `position` must be below GetCount().
    BObjectIdentifier KeyAt(unsigned int position) const;

private:
    /// A key with its data. Most tables are indexed by one integer, which lies in the entry itself.
    class Entry {
    public:
        Entry(const BObjectIdentifier& key, void* value);

        bool IsKey(const BObjectIdentifier& key) const {
            return key.NumArcs() == m_count && (m_count == 0 || (key[0] == m_first && (m_count == 1 || HasRest(key))));
        }
        bool IsBefore(const BObjectIdentifier& key) const;
        void ReadKey(BObjectIdentifier& key) const;

        void* data;

    private:
        bool HasRest(const BObjectIdentifier& key) const;
        std::span<const unsigned int> Rest() const;

        unsigned int m_count;
        unsigned int m_first = 0;
        std::unique_ptr<unsigned int[]> m_rest;  // the arcs after the first; null: none
    };

    /// The first key not less than the given one, and whether the two are equal.
    struct Place {
        std::size_t position;
        bool isKey;
    };

    Place Find(const BObjectIdentifier& key) const;
    bool HoldsAt(std::size_t position, const BObjectIdentifier& key) const {
        return position < m_entries.size() && m_entries[position].IsKey(key);
    }

    std::vector<Entry> m_entries;
    mutable std::atomic<std::size_t> m_last = 0;  // a hint; concurrent readers may update it
};

}  // namespace CVT
