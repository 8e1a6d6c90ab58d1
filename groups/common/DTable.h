#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibTableImpl.h"
#include "groups/common/DGroup.h"

/// The index of a table that is indexed by one integer.
struct DSingleIndex {
    static constexpr unsigned int kArcs = 1;

    unsigned int row = 1;

    void ToOid(CVT::BObjectIdentifier& oid) const { oid.Append(row); }
    /// `oid` has kArcs arcs.
    void FromOid(const CVT::BObjectIdentifier& oid) { row = oid[0]; }
};

/// A table with its rows in order of their index. The table owns the rows: they live until they are removed by whoever
/// removes them, or until the table is destroyed. Everything is called under the request lock.
///
/// EntryT is a row; when it has `SetIndex(const IndexT&)`, CreateNewRow calls it. IndexT has kArcs, ToOid and FromOid as
/// DSingleIndex has.
template <class EntryT, class IndexT = DSingleIndex>
class DTable : public DGroup<CVT::BMibTableImpl> {
public:
    using Entry = EntryT;
    using Index = IndexT;

    /// Looks at the number of arcs only, not at their values.
    bool IsIndexValid(const CVT::BObjectIdentifier& index) const { return index.NumArcs() == Index::kArcs; }

    /// False, and `out` untouched, when the index is not valid.
    bool SplitIndex(const CVT::BObjectIdentifier& index, Index& out) const {
        if (!IsIndexValid(index)) {
            return false;
        }
        out.FromOid(index);
        return true;
    }

    /// The table takes the row. False, and the row still the caller's, when the index is taken.
    bool InsertRow(const CVT::BObjectIdentifier& index, Entry* row) { return m_rows.Insert(index, row); }
    /// Null when there is none.
    Entry* GetRow(const CVT::BObjectIdentifier& index) const { return static_cast<Entry*>(m_rows.GetData(index)); }
    /// Hands the row back to the caller's care without deleting it. False when there is none.
    bool RemoveRow(const CVT::BObjectIdentifier& index) { return m_rows.Remove(index); }
    /// The row with the lowest index; null when there is none.
    Entry* GetFirstRow() const { return RowAt(0); }
    unsigned int GetNumRows() const { return m_rows.GetCount(); }
    /// The row at a place in the order of indexes, from 0; null at GetNumRows() and beyond.
    Entry* RowAt(unsigned int place) const { return static_cast<Entry*>(m_rows.DataAt(place)); }

    /// The place, from 0 and in order of indexes, of the first row for which `isWanted(const Entry&)` holds; GetNumRows()
    /// when there is none.
    template <class Predicate>
    unsigned int FindPlace(Predicate isWanted) const {
        unsigned int place = 0;
        while (place < GetNumRows() && !isWanted(std::as_const(*RowAt(place)))) {
            ++place;
        }
        return place;
    }

    /// That row; null when there is none.
    template <class Predicate>
    Entry* FindRow(Predicate isWanted) const {
        return RowAt(FindPlace(isWanted));
    }

    /// A row with default values under this index; the table's. Null when the index is not valid, or is taken.
    Entry* CreateNewRow(const CVT::BObjectIdentifier& index) {
        Index split;
        if (!SplitIndex(index, split)) {
            return nullptr;
        }
        auto row = std::make_unique<Entry>();
        if constexpr (requires { row->SetIndex(split); }) {
            row->SetIndex(split);
        }
        return InsertRow(index, row.get()) ? row.release() : nullptr;
    }

    /// A hook for demonstrations; makes nothing.
    void CreateDemoRow() {}

    /// The same for every column: all are dense.
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

protected:
    using DGroup::DGroup;
    ~DTable() override { DeleteAllRows(); }

    void DeleteAllRows() {
        for (unsigned int place = 0; place < GetNumRows(); ++place) {
            delete RowAt(place);
        }
        m_rows.Clear();
    }

    /// The body of a get handler: copies a field of the row out. noSuchName, and `value` untouched, when the row is absent.
    template <class Field, class Value>
    int GetField(const CVT::BObjectIdentifier& index, Field Entry::*field, Value& value) const {
        const Entry* const row = GetRow(index);
        if (row == nullptr) {
            return CVT::noSuchName;
        }
        if constexpr (std::is_same_v<Field, CVT::BString>) {
            value.Assign((row->*field).View());
        } else if constexpr (std::is_same_v<Field, Value>) {
            value = row->*field;
        } else {
            value = static_cast<Value>(row->*field);
        }
        return CVT::noError;
    }

    /// The field of the row, for a SET; null when the row is absent.
    template <class Field>
    Field* FieldOf(const CVT::BObjectIdentifier& index, Field Entry::*field) const {
        Entry* const row = GetRow(index);
        return row == nullptr ? nullptr : &(row->*field);
    }

private:
    CVT::BMapOid2Ptr m_rows;
};
