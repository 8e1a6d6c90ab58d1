#pragma once

#include <array>
#include <map>
#include <set>
#include <stdexcept>

#include "CVT/BMibTableImpl.h"

namespace CVT::test {

/// A table with one read-write column and rows 1..9, which counts its calls, and fails or throws where the test says
/// so. The undo cell holds a varbind's saved value in a block of its own, so that a missing or repeated release also
/// shows as a leak or a double free.
class RecordingTable : public BMibTableImpl {
public:
    struct Counts {
        int saved = 0;
        int committed = 0;
        int undone = 0;
        int released = 0;

        friend bool operator==(const Counts&, const Counts&) = default;
    };

    explicit RecordingTable(const char* oid = "1.3") : BMibTableImpl("SAMPLE-MIB.recording", oid) {}

    void Initialize() override {}
    void Cleanup() override {}
    const BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int, unsigned int, const BObjectIdentifier&, BObjectIdentifier&) override {
        return false;
    }

    /// Sets the result of the operation for a row in a phase; kThrow makes it throw.
    void Fail(unsigned int row, ESnmpSetOpCode phase, int status) { m_failures[{row, phase}] = status; }
    static constexpr int kThrow = -1;

    std::array<int, 10> values{};
    std::array<Counts, 10> counts{};
    int openCells = 0;  ///< saved values not yet released

private:
    int OnGet_SampleCell(const BObjectIdentifier& index, unsigned int, int& value) {
        value = values.at(index[0]);
        return noError;
    }

    int OnSet_SampleCell(const BObjectIdentifier& index, ESnmpSetOpCode phase, unsigned int, const int& value,
                         void** undo) {
        const unsigned int row = index[0];
        if (const auto failure = m_failures.find({row, phase}); failure != m_failures.end()) {
            if (failure->second == kThrow) {
                throw std::runtime_error("as asked");
            }
            if (phase != ESnmpSetOpCode::Release) {
                return failure->second;
            }
        }
        Counts& count = counts.at(row);
        switch (phase) {
            case ESnmpSetOpCode::CheckAndSave:
                *undo = new int(values.at(row));
                ++openCells;
                ++count.saved;
                return noError;
            case ESnmpSetOpCode::Commit:
                values.at(row) = value;
                ++count.committed;
                return noError;
            case ESnmpSetOpCode::Undo:
                values.at(row) = *static_cast<int*>(*undo);
                ++count.undone;
                return noError;
            case ESnmpSetOpCode::Release:
                if (*undo != nullptr) {
                    delete static_cast<int*>(*undo);
                    --openCells;
                }
                ++count.released;
                break;
        }
        const auto failure = m_failures.find({row, phase});
        return failure == m_failures.end() ? noError : failure->second;
    }

    static const BRqHndlrEntry s_rqhndlrEntries[];
    static const BConstraintEntry s_sonstraintEntries[];

    std::map<std::pair<unsigned int, ESnmpSetOpCode>, int> m_failures;
};

inline const BRqHndlrEntry RecordingTable::s_rqhndlrEntries[] = {
    Column<kIntValue>(1, "sampleCell", kInteger, &RecordingTable::OnGet_SampleCell, &RecordingTable::OnSet_SampleCell),
    {},
};

inline const BConstraintEntry RecordingTable::s_sonstraintEntries[] = {
    {kRange, 1, nullptr, 0, 1000},
    {},
};

}  // namespace CVT::test
