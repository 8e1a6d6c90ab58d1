// A badly behaved extension module, for tests of the programs that load modules. The environment variable ODD_MODULE
// selects a behaviour: noisy, never-ready, slow, refuses, hangs, breaks, empty. Without it the module comes up at once
// and serves hostile values under 1.3.6.1.4.1.32473.2.

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"
#include "CVT/TextualConventions.h"

#define ODD_EXPORT extern "C" __attribute__((visibility("default")))

ODD_EXPORT std::atomic<bool> gbReady;
std::atomic<bool> gbReady = false;

namespace {

bool Habit(std::string_view habit) {
    const char* const wanted = std::getenv("ODD_MODULE");
    return wanted != nullptr && habit == wanted;
}

/// Values that a careless program would display badly.
class OddValues final : public CVT::BMibScalarGroupImpl {
public:
    OddValues() : CVT::BMibScalarGroupImpl("ODD-MIB.oddValues", "1.3.6.1.4.1.32473.2") {}
    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_entries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_constraints; }

private:
    static int Say(std::string_view octets, CVT::BOctetString& value) {
        value.Assign(octets);
        return CVT::noError;
    }
    int GetEscape(unsigned int, CVT::BOctetString& value) { return Say("\x1B[31mred\x07", value); }
    int GetNotUtf8(unsigned int, CVT::BOctetString& value) { return Say("caf\xE9", value); }
    int GetQuotes(unsigned int, CVT::BOctetString& value) { return Say(R"(C:\"x)", value); }
    int GetNul(unsigned int, CVT::BOctetString& value) { return Say(std::string_view("a\0b", 3), value); }
    int GetNoDate(unsigned int, CVT::BOctetString& value) { return Say("soon", value); }
    int GetNoOid(unsigned int, CVT::BObjectIdentifier& value) {
        value.Clear();
        return CVT::noError;
    }
    int GetNegative(unsigned int, int& value) {
        value = -2147483647 - 1;
        return CVT::noError;
    }
    int GetMost(unsigned int, unsigned int& value) {
        value = 4294967295U;
        return Habit("breaks") ? CVT::genErr : CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_entries[];
    static const CVT::BConstraintEntry s_constraints[];
};

const CVT::BRqHndlrEntry OddValues::s_entries[] = {
    CVT::Column<CVT::kDisplayStringValue>(1, "oddEscape", CVT::kOctetString, &OddValues::GetEscape),
    CVT::Column<CVT::kDisplayStringValue>(2, "oddNotUtf8", CVT::kOctetString, &OddValues::GetNotUtf8),
    CVT::Column<CVT::kDisplayStringValue>(3, "oddQuotes", CVT::kOctetString, &OddValues::GetQuotes),
    CVT::Column<CVT::kOctetStringValue>(4, "oddNul", CVT::kOctetString, &OddValues::GetNul),
    CVT::Column<CVT::kOctetStringValue>(5, "oddNoDate", CVT::kOctetString, &OddValues::GetNoDate),
    CVT::Column<CVT::kObjectIdentifierValue>(6, "oddNoOid", CVT::kObjectIdentifier, &OddValues::GetNoOid),
    CVT::Column<CVT::kIntValue>(7, "oddNegative", CVT::kInteger, &OddValues::GetNegative),
    CVT::Column<CVT::kUnsignedValue>(9, "oddMost", CVT::kGauge32, &OddValues::GetMost),
    {},
};

const CVT::BConstraintEntry OddValues::s_constraints[] = {
    {CVT::kConvention, 5, CVT::cszDateAndTime, 0, 0},
    {},
};

/// A table in the middle of the scalars' subtree, with one row of two arcs, and one missing cell.
class OddTable final : public CVT::BMibTableImpl {
public:
    OddTable() : CVT::BMibTableImpl("ODD-MIB.oddTable", "1.3.6.1.4.1.32473.2.8") {}
    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_entries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_constraints; }
    bool NextInstanceInColumn(unsigned int, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        CVT::BObjectIdentifier row(CVT::BString("7.1"));
        if (row <= index) {
            row.AssignFromDottedDecimalStr("7.20");
        }
        if (row <= index || (column == 2 && row[1] == 20)) {
            return false;
        }
        nextIndex = row;
        return true;
    }

private:
    int GetNumber(const CVT::BObjectIdentifier& index, unsigned int, int& value) {
        if (index.NumArcs() != 2) {
            return CVT::noSuchName;
        }
        value = static_cast<int>(index[1]);
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_entries[];
    static const CVT::BConstraintEntry s_constraints[];
};

const CVT::BRqHndlrEntry OddTable::s_entries[] = {
    CVT::Column<CVT::kIntValue>(1, "oddNumber", CVT::kInteger, &OddTable::GetNumber),
    CVT::Column<CVT::kIntValue>(2, "oddSparse", CVT::kInteger, &OddTable::GetNumber),
    {},
};

const CVT::BConstraintEntry OddTable::s_constraints[] = {{}};

class OddModule final : public CVT::BMibImplGroup {
public:
    OddModule() : CVT::BMibImplGroup("OddModule") {}
    unsigned int Init() override {
        m_values.Initialize();
        m_table.Initialize();
        return 1;
    }
    unsigned int Cleanup() override {
        m_values.Cleanup();
        m_table.Cleanup();
        return 1;
    }
    int NumHandlers() override { return Habit("empty") ? 0 : 3; }
    CVT::BMibImpl* HandlerAt(int place) override {
        if (place == 0) {
            return &m_values;
        }
        return place == 2 ? &m_table : nullptr;  // the place in between is empty
    }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    OddValues m_values;
    OddTable m_table;
};

std::unique_ptr<OddModule> theModule;

class StartUp final : public CVT::TThread {
public:
    StartUp() : CVT::TThread(true) {}

private:
    unsigned int Run() override {
        if (Habit("slow")) {
            CVT::TTimer().Sleep(300);
        }
        theModule->Init();
        gbReady.store(true);
        return 0;
    }
};

void MakeNoise() {
    std::puts("noise from printf");
    std::fflush(stdout);
    constexpr std::string_view kNoise = "noise from write\n";
    if (::write(STDOUT_FILENO, kNoise.data(), kNoise.size()) < 0 || std::system("echo noise from a command") != 0) {
        std::perror("noise");
    }
}

}  // namespace

ODD_EXPORT int CVxExtAgentInit(void** module, void* /*trapSender*/) {
    if (Habit("refuses")) {
        return 0;
    }
    if (Habit("noisy")) {
        MakeNoise();
    }
    theModule = std::make_unique<OddModule>();
    *module = static_cast<CVT::BMibImplGroup*>(theModule.get());
    if (!Habit("never-ready")) {
        auto* const startUp = new StartUp;
        startUp->Start(0, 0);
    }
    return 1;
}

ODD_EXPORT int CVxExtAgentClose() {
    while (Habit("hangs") || !gbReady.load()) {
        CVT::TTimer().Sleep(10);
    }
    theModule->Cleanup();
    theModule.reset();
    std::fputs(std::getenv("ODD_MODULE_FAREWELL") == nullptr ? "" : "the odd module is closed\n", stderr);
    return 1;
}
