#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "CVT/BMibTableImpl.h"
#include "groups/common/DGroup.h"
#include "groups/common/DRows.h"

/// A table with its rows (DRows), which it owns, in index order. Everything is called under the request lock.
///
/// A table whose rows are a snapshot may keep several sets of rows; all operations here apply to the set in use.
template <class EntryT, class IndexT = DSingleIndex>
class DTable : public DGroup<CVT::BMibTableImpl> {
public:
    using Entry = EntryT;
    using Index = IndexT;
    using Rows = DRows<Entry, Index>;

    /// Checks only the number of arcs, not their values.
    bool IsIndexValid(const CVT::BObjectIdentifier& index) const { return index.NumArcs() == Index::kArcs; }

    /// Returns false and leaves `out` untouched when the index is invalid.
    bool SplitIndex(const CVT::BObjectIdentifier& index, Index& out) const {
        if (!IsIndexValid(index)) {
            return false;
        }
        out.FromOid(index);
        return true;
    }

    /// The table takes ownership of the row. Returns false, and the caller keeps the row, when the index is in use.
    bool InsertRow(const CVT::BObjectIdentifier& index, Entry* row) { return m_rows->Insert(index, row); }
    /// Returns null when there is none.
    Entry* GetRow(const CVT::BObjectIdentifier& index) const { return m_rows->Get(index); }
    /// Returns ownership of the row to the caller without deleting it. Returns false when there is none.
    bool RemoveRow(const CVT::BObjectIdentifier& index) { return m_rows->Remove(index); }
    /// Returns the row with the lowest index; null when there is none.
    Entry* GetFirstRow() const { return RowAt(0); }
    unsigned int GetNumRows() const { return m_rows->Count(); }
    /// Returns the row at a position in index order, from 0; null at GetNumRows() and beyond.
    Entry* RowAt(unsigned int place) const { return m_rows->At(place); }

    /// Returns the position, from 0 in index order, of the first row for which `isWanted(const Entry&)` holds;
    /// GetNumRows() when there is none.
    template <class Predicate>
    unsigned int FindPlace(Predicate isWanted) const {
        unsigned int place = 0;
        while (place < GetNumRows() && !isWanted(std::as_const(*RowAt(place)))) {
            ++place;
        }
        return place;
    }

    /// Returns that row; null when there is none.
    template <class Predicate>
    Entry* FindRow(Predicate isWanted) const {
        return RowAt(FindPlace(isWanted));
    }

    /// Creates a row with default values under this index; the table owns it. Returns null when the index is invalid or
    /// in use.
    Entry* CreateNewRow(const CVT::BObjectIdentifier& index) { return m_rows->Create(index); }

    /// A hook for demonstrations; creates nothing.
    void CreateDemoRow() {}

    /// The same for every column, because all columns are dense.
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows->Next(index, nextIndex);
    }

protected:
    using DGroup::DGroup;
    ~DTable() override = default;

    void DeleteAllRows() { m_rows->DeleteAll(); }

    const std::shared_ptr<Rows>& RowsInUse() const { return m_rows; }
    /// `rows` must not be null.
    void UseRows(std::shared_ptr<Rows> rows) { m_rows = std::move(rows); }

    /// The body of a get handler: copies a field out of the row. Returns noSuchName and leaves `value` untouched when
    /// the row is absent.
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

    /// Returns the field of the row, for a SET; null when the row is absent.
    template <class Field>
    Field* FieldOf(const CVT::BObjectIdentifier& index, Field Entry::*field) const {
        Entry* const row = GetRow(index);
        return row == nullptr ? nullptr : &(row->*field);
    }

private:
    std::shared_ptr<Rows> m_rows = std::make_shared<Rows>();
};
