// The OID map that holds a table's rows, and the toolkit's cost for each row of a table walk.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/BRequestId.h"

namespace {

int g_row = 0;

void Fill(CVT::BMapOid2Ptr& map, unsigned int rows) {
    for (unsigned int row = 1; row <= rows; ++row) {
        map.Insert(CVT::BObjectIdentifier(row), &g_row);
    }
}

/// The keys of the map in random order.
std::vector<CVT::BObjectIdentifier> ShuffledKeys(unsigned int rows) {
    std::vector<CVT::BObjectIdentifier> keys;
    std::mt19937 random(1);
    for (unsigned int i = 0; i < 4096; ++i) {
        keys.emplace_back(1 + static_cast<unsigned int>(random() % rows));
    }
    return keys;
}

void BM_InsertAscending(benchmark::State& state) {
    const auto rows = static_cast<unsigned int>(state.range(0));
    while (state.KeepRunning()) {
        CVT::BMapOid2Ptr map;
        Fill(map, rows);
        benchmark::DoNotOptimize(map.GetCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LookUp(benchmark::State& state) {
    const auto rows = static_cast<unsigned int>(state.range(0));
    CVT::BMapOid2Ptr map;
    Fill(map, rows);
    const std::vector<CVT::BObjectIdentifier> keys = ShuffledKeys(rows);
    std::size_t i = 0;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(map.GetData(keys[i]));
        i = (i + 1) % keys.size();
    }
}

void BM_Next(benchmark::State& state) {
    const auto rows = static_cast<unsigned int>(state.range(0));
    CVT::BMapOid2Ptr map;
    Fill(map, rows);
    const std::vector<CVT::BObjectIdentifier> keys = ShuffledKeys(rows);
    CVT::BObjectIdentifier next;
    std::size_t i = 0;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(map.Next(keys[i], next));
        i = (i + 1) % keys.size();
    }
}

/// One column over rows 1..n, whose handler looks up its row as every table does.
class BenchTable : public CVT::BMibTableImpl {
public:
    explicit BenchTable(unsigned int rows) : BMibTableImpl("BENCH-MIB.table", "1.3.6.1.3.1") { Fill(m_rows, rows); }

    void Initialize() override {}
    void Cleanup() override {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int, unsigned int, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

private:
    int OnGet_BenchCell(const CVT::BObjectIdentifier& index, unsigned int, int& value) {
        const auto* const row = static_cast<const int*>(m_rows.GetData(index));
        if (row == nullptr) {
            return CVT::noSuchName;
        }
        value = *row;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    CVT::BMapOid2Ptr m_rows;
};

const CVT::BRqHndlrEntry BenchTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "benchCell", CVT::kInteger, &BenchTable::OnGet_BenchCell),
    {},
};
const CVT::BConstraintEntry BenchTable::s_sonstraintEntries[] = {{}};

void BM_WalkPerRow(benchmark::State& state) {
    BenchTable table(static_cast<unsigned int>(state.range(0)));
    const unsigned int requestId = CVT::BRequestId::Next();
    CVT::BVarBind varBind;
    while (state.KeepRunning()) {
        if (table.GetNext(requestId, varBind) != CVT::noError) {
            varBind.name.Clear();
        }
    }
}

BENCHMARK(BM_InsertAscending)->Arg(200)->Arg(20000);
BENCHMARK(BM_LookUp)->Arg(200)->Arg(20000);
BENCHMARK(BM_Next)->Arg(200)->Arg(20000);
BENCHMARK(BM_WalkPerRow)->Arg(200)->Arg(20000);

}  // namespace
