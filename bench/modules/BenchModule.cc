// An extension module for bench/agent_GetBulk.cpp: one table under 1.3.6.1.4.1.32473.9, of as many rows as the environment
// variable BENCH_ROWS says. Its only column holds the row's number.

#include <atomic>
#include <cstdlib>
#include <memory>
#include <vector>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BMibTableImpl.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT std::atomic<bool> gbReady;
std::atomic<bool> gbReady = true;

namespace {

class Table final : public CVT::BMibTableImpl {
public:
    explicit Table(std::size_t rows) : CVT::BMibTableImpl("BENCH-MIB.table", "1.3.6.1.4.1.32473.9"), m_values(rows) {
        for (std::size_t i = 0; i < rows; ++i) {
            m_values[i] = static_cast<int>(i) + 1;
            m_rows.Insert(CVT::BObjectIdentifier(static_cast<unsigned int>(i) + 1), &m_values[i]);
        }
    }

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

private:
    int GetNumber(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
        const auto* const row = static_cast<const int*>(m_rows.GetData(index));
        if (row == nullptr) {
            return CVT::noSuchName;
        }
        value = *row;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    std::vector<int> m_values;
    CVT::BMapOid2Ptr m_rows;
};

const CVT::BRqHndlrEntry Table::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "benchNumber", CVT::kInteger, &Table::GetNumber),
    {},
};

const CVT::BConstraintEntry Table::s_sonstraintEntries[] = {{}};

std::size_t NumRows() {
    const char* const rows = std::getenv("BENCH_ROWS");
    return rows == nullptr ? 200 : std::strtoul(rows, nullptr, 10);
}

class Module final : public CVT::BMibImplGroup {
public:
    Module() : CVT::BMibImplGroup("BenchModule") { m_table.Initialize(); }

    unsigned int Init() override { return 1; }
    unsigned int Cleanup() override { return 1; }
    int NumHandlers() override { return 1; }
    CVT::BMibImpl* HandlerAt(int /*place*/) override { return &m_table; }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    Table m_table{NumRows()};
};

std::unique_ptr<Module> theModule;

}  // namespace

MODULE_EXPORT int CVxExtAgentInit(void** module, void* /*trapSender*/) {
    theModule = std::make_unique<Module>();
    *module = static_cast<CVT::BMibImplGroup*>(theModule.get());
    return 1;
}

MODULE_EXPORT int CVxExtAgentClose() {
    theModule.reset();
    return 1;
}
