#pragma once

#include <memory>

#include "CVT/BMapOid2Ptr.h"

/// The index of a table that is indexed by one integer.
struct DSingleIndex {
    static constexpr unsigned int kArcs = 1;

    unsigned int row = 1;

    void ToOid(CVT::BObjectIdentifier& oid) const { oid.Append(row); }
    /// `oid` has kArcs arcs.
    void FromOid(const CVT::BObjectIdentifier& oid) { row = oid[0]; }
};

/// The rows of a table in order of their index. It owns its rows until they are removed, and deletes the remaining ones
/// at its end. Not synchronised: used under the table's request lock.
///
/// EntryT is a row; when it has `SetIndex(const IndexT&)`, Create calls it. IndexT has kArcs, ToOid and FromOid like
/// DSingleIndex.
template <class EntryT, class IndexT>
class DRows {
public:
    DRows() = default;
    DRows(const DRows&) = delete;
    DRows& operator=(const DRows&) = delete;
    ~DRows() { DeleteAll(); }

    /// Takes ownership of the row. Returns false, and the caller keeps the row, when the index is in use.
    bool Insert(const CVT::BObjectIdentifier& index, EntryT* row) { return m_map.Insert(index, row); }
    /// Creates a row with default values under this index. Returns null when the index is invalid or in use.
    EntryT* Create(const CVT::BObjectIdentifier& index) {
        if (index.NumArcs() != IndexT::kArcs) {
            return nullptr;
        }
        auto row = std::make_unique<EntryT>();
        IndexT split;
        split.FromOid(index);
        if constexpr (requires { row->SetIndex(split); }) {
            row->SetIndex(split);
        }
        return Insert(index, row.get()) ? row.release() : nullptr;
    }
    /// Returns null when there is none.
    EntryT* Get(const CVT::BObjectIdentifier& index) const { return static_cast<EntryT*>(m_map.GetData(index)); }
    /// Returns ownership of the row to the caller without deleting it. Returns false when there is none.
    bool Remove(const CVT::BObjectIdentifier& index) { return m_map.Remove(index); }
    unsigned int Count() const { return m_map.GetCount(); }
    /// Returns the row at a position in index order, from 0; null at Count() and beyond.
    EntryT* At(unsigned int place) const { return static_cast<EntryT*>(m_map.DataAt(place)); }
    /// As BMapOid2Ptr::Next.
    bool Next(const CVT::BObjectIdentifier& index, CVT::BObjectIdentifier& next) const {
        return m_map.Next(index, next);
    }

    void DeleteAll() {
        for (unsigned int place = 0; place < Count(); ++place) {
            delete At(place);
        }
        m_map.Clear();
    }

private:
    CVT::BMapOid2Ptr m_map;
};
