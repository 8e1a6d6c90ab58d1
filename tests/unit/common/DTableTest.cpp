#include "groups/common/DTable.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "groups/common/SetPhases.h"

namespace {

CVT::BObjectIdentifier Oid(std::initializer_list<unsigned int> arcs) {
    return CVT::BObjectIdentifier(std::span(arcs.begin(), arcs.size()));
}

struct Fruit {
    Fruit() { ++alive; }
    ~Fruit() { --alive; }
    Fruit(const Fruit&) = delete;
    Fruit& operator=(const Fruit&) = delete;
    void SetIndex(const DSingleIndex& index) { number = index.row; }

    unsigned int number = 0;
    CVT::BString name = "apple";
    CVT::BObjectIdentifier kind = CVT::BObjectIdentifier(CVT::BString("0.0"));
    int price = 7;

    static inline int alive = 0;
};

class FruitTable final : public DTable<Fruit> {
public:
    FruitTable() : DTable(nullptr, "FRUIT-MIB.fruitTable", "1.3.6.1.4.1.32473.9") {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_FruitNumber(const CVT::BObjectIdentifier& index, unsigned int, int& value) {
        return GetField(index, &Fruit::number, value);
    }
    int OnGet_FruitName(const CVT::BObjectIdentifier& index, unsigned int, CVT::BOctetString& value) {
        return GetField(index, &Fruit::name, value);
    }
    int OnGet_FruitKind(const CVT::BObjectIdentifier& index, unsigned int, CVT::BObjectIdentifier& value) {
        return GetField(index, &Fruit::kind, value);
    }
    int OnGet_FruitPrice(const CVT::BObjectIdentifier& index, unsigned int, int& value) {
        return GetField(index, &Fruit::price, value);
    }
    int OnSet_FruitPrice(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase, unsigned int, const int& value,
                         void** undo) {
        return i32SetPhase(phase, FieldOf(index, &Fruit::price), value, undo);
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

const CVT::BRqHndlrEntry FruitTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "fruitNumber", CVT::kInteger, &FruitTable::OnGet_FruitNumber),
    CVT::Column<CVT::kDisplayStringValue>(2, "fruitName", CVT::kOctetString, &FruitTable::OnGet_FruitName),
    CVT::Column<CVT::kObjectIdentifierValue>(3, "fruitKind", CVT::kObjectIdentifier, &FruitTable::OnGet_FruitKind),
    CVT::Column<CVT::kIntValue>(4, "fruitPrice", CVT::kInteger, &FruitTable::OnGet_FruitPrice,
                                &FruitTable::OnSet_FruitPrice),
    {},
};

const CVT::BConstraintEntry FruitTable::s_sonstraintEntries[] = {{}};

struct Cell {
    int content = 3;
};

/// An index of two parts, as for a row within a row.
struct PairIndex {
    static constexpr unsigned int kArcs = 2;
    unsigned int first = 1;
    unsigned int second = 1;
    void ToOid(CVT::BObjectIdentifier& oid) const {
        oid.Append(first);
        oid.Append(second);
    }
    void FromOid(const CVT::BObjectIdentifier& oid) {
        first = oid[0];
        second = oid[1];
    }
};

class CellTable final : public DTable<Cell, PairIndex> {
public:
    CellTable() : DTable(nullptr, "CELL-MIB.cellTable", "1.3.6.1.4.1.32473.10") {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return FruitTable::s_sonstraintEntries; }
    static constexpr CVT::BRqHndlrEntry s_rqhndlrEntries[] = {{}};
};

TEST(DTable, ANewIndexIsOneAndBecomesOneArc) {
    const FruitTable::Index index;
    CVT::BObjectIdentifier oid;
    index.ToOid(oid);
    EXPECT_EQ(oid, Oid({1}));
}

TEST(DTable, SplitsAnIndexOfExactlyOneArc) {
    const FruitTable table;
    FruitTable::Index index;
    EXPECT_TRUE(table.SplitIndex(Oid({4294967295U}), index));
    EXPECT_EQ(index.row, 4294967295U);
    EXPECT_FALSE(table.SplitIndex(Oid({}), index));
    EXPECT_FALSE(table.SplitIndex(Oid({5, 6}), index));
    EXPECT_EQ(index.row, 4294967295U);
    EXPECT_FALSE(table.IsIndexValid(Oid({})));
    EXPECT_TRUE(table.IsIndexValid(Oid({0})));
    EXPECT_FALSE(table.IsIndexValid(Oid({1, 0})));
}

TEST(DTable, SplitsAnIndexOfTwoArcsInATableThatHasTwo) {
    CellTable table;
    CellTable::Index index;
    CVT::BObjectIdentifier fresh;
    index.ToOid(fresh);
    EXPECT_EQ(fresh, Oid({1, 1}));
    EXPECT_TRUE(table.SplitIndex(Oid({5, 3}), index));
    EXPECT_EQ(index.first, 5U);
    EXPECT_EQ(index.second, 3U);
    EXPECT_FALSE(table.IsIndexValid(Oid({5})));
    EXPECT_NE(table.CreateNewRow(Oid({5, 3})), nullptr);
    EXPECT_NE(table.CreateNewRow(Oid({5, 1})), nullptr);
    CVT::BObjectIdentifier next;
    EXPECT_TRUE(table.NextInstanceInColumn(1, 1, Oid({5}), next));
    EXPECT_EQ(next, Oid({5, 1}));
}

TEST(DTable, AnEmptyTableHasNoFirstRowAndNoNext) {
    FruitTable table;
    CVT::BObjectIdentifier next = Oid({9});
    EXPECT_EQ(table.GetFirstRow(), nullptr);
    EXPECT_EQ(table.GetNumRows(), 0U);
    EXPECT_FALSE(table.NextInstanceInColumn(1, 1, Oid({}), next));
    EXPECT_EQ(next, Oid({9}));
}

TEST(DTable, CreatesRowsWithDefaultsAndListsThemInIndexOrder) {
    FruitTable table;
    for (const unsigned int row : {7U, 2U, 9U}) {
        Fruit* const fruit = table.CreateNewRow(Oid({row}));
        ASSERT_NE(fruit, nullptr);
        EXPECT_EQ(fruit->number, row);
        EXPECT_EQ(fruit->price, 7);
    }
    EXPECT_EQ(table.GetNumRows(), 3U);
    EXPECT_EQ(table.GetFirstRow()->number, 2U);
    EXPECT_EQ(table.RowAt(2)->number, 9U);
    EXPECT_EQ(table.RowAt(3), nullptr);
    CVT::BObjectIdentifier next;
    EXPECT_TRUE(table.NextInstanceInColumn(1, 1, Oid({2}), next));
    EXPECT_EQ(next, Oid({7}));
    EXPECT_FALSE(table.NextInstanceInColumn(1, 1, Oid({9}), next));
}

TEST(DTable, CreatesNoRowUnderAUsedOrInvalidIndexAndLeaksNone) {
    {
        FruitTable table;
        Fruit* const first = table.CreateNewRow(Oid({2}));
        EXPECT_EQ(table.CreateNewRow(Oid({2})), nullptr);
        EXPECT_EQ(table.CreateNewRow(Oid({})), nullptr);
        EXPECT_EQ(table.CreateNewRow(Oid({2, 2})), nullptr);
        EXPECT_EQ(table.GetRow(Oid({2})), first);
        EXPECT_EQ(Fruit::alive, 1);
    }
    EXPECT_EQ(Fruit::alive, 0);
}

TEST(DTable, DeletesItsRowsWhenItIsDestroyed) {
    {
        FruitTable table;
        for (unsigned int row = 0; row < 100; ++row) {
            table.CreateNewRow(Oid({row}));
        }
        EXPECT_EQ(Fruit::alive, 100);
    }
    EXPECT_EQ(Fruit::alive, 0);
}

TEST(DTable, ReturnsARemovedRowToTheCaller) {
    FruitTable table;
    const std::unique_ptr<Fruit> fruit(table.CreateNewRow(Oid({2})));
    EXPECT_TRUE(table.RemoveRow(Oid({2})));
    EXPECT_FALSE(table.RemoveRow(Oid({2})));
    EXPECT_EQ(table.GetRow(Oid({2})), nullptr);
}

TEST(DTable, KeepsItsRowsAcrossCleanupAndClearsTheActiveFlag) {
    FruitTable table;
    table.CreateNewRow(Oid({2}));
    EXPECT_FALSE(table.IsActive());
    table.Initialize();
    EXPECT_TRUE(table.IsActive());
    table.Cleanup();
    EXPECT_FALSE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U);
}

TEST(DTable, StoresNothingAndCreatesNoDemonstrationRow) {
    FruitTable table;
    EXPECT_EQ(table.LoadFromNV(), 0);
    EXPECT_EQ(table.SaveToNV(), 0);
    table.CreateDemoRow();
    EXPECT_EQ(table.GetNumRows(), 0U);
}

TEST(DTable, AGetCopiesTheFieldOrLeavesTheValueUntouched) {
    FruitTable table;
    table.CreateNewRow(Oid({2}))->name = "quince";
    CVT::BOctetString name("kept", 0);
    for (const auto& absent : {Oid({3}), Oid({}), Oid({2, 2})}) {
        EXPECT_EQ(table.OnGet_FruitName(absent, 1, name), 2);
        EXPECT_EQ(name.View(), "kept");
    }
    EXPECT_EQ(table.OnGet_FruitName(Oid({2}), 1, name), 0);
    EXPECT_EQ(name.View(), "quince");
    int number = 0;
    EXPECT_EQ(table.OnGet_FruitNumber(Oid({2}), 1, number), 0);
    EXPECT_EQ(number, 2);
    CVT::BObjectIdentifier kind;
    EXPECT_EQ(table.OnGet_FruitKind(Oid({2}), 1, kind), 0);
    EXPECT_EQ(kind, Oid({0, 0}));
}

TEST(DTable, ASetRunsThroughTheToolkitToTheField) {
    FruitTable table;
    table.CreateNewRow(Oid({2}));
    CVT::BVarBind price;
    price.name.AssignFromDottedDecimalStr("1.3.6.1.4.1.32473.9.1.4.2");
    price.type = CVT::kInteger;
    price.integer = 12;
    void* undo = nullptr;
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::CheckAndSave, &undo, price), 0);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Commit, &undo, price), 0);
    EXPECT_EQ(table.GetFirstRow()->price, 12);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Undo, &undo, price), 0);
    EXPECT_EQ(table.GetFirstRow()->price, 7);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Release, &undo, price), 0);
    price.name.AssignFromDottedDecimalStr("1.3.6.1.4.1.32473.9.1.4.3");
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::CheckAndSave, &undo, price), 18);
}

TEST(DTable, FindsTheFirstWantedRowInIndexOrder) {
    FruitTable table;
    const auto isPear = [](const Fruit& fruit) { return fruit.name == CVT::BString("pear"); };
    EXPECT_EQ(table.FindRow(isPear), nullptr) << "in an empty table";
    EXPECT_EQ(table.FindPlace(isPear), 0U);
    for (const unsigned int index : {9U, 2U, 5U}) {
        table.CreateNewRow(Oid({index}));
    }
    EXPECT_EQ(table.FindRow(isPear), nullptr);
    EXPECT_EQ(table.FindPlace(isPear), 3U);
    table.GetRow(Oid({9}))->name = "pear";
    table.GetRow(Oid({5}))->name = "pear";
    EXPECT_EQ(table.FindRow(isPear), table.GetRow(Oid({5})));
    EXPECT_EQ(table.FindPlace(isPear), 1U);
}

}  // namespace
