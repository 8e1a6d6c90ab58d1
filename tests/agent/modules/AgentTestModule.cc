// An extension module for the tests of the agent, under 1.3.6.1.4.1.32473.2 (and .0). It serves what real modules
// seldom do, and keeps a record of the phases of every SET. The environment variable AGENT_TEST_MODULE makes it
// misbehave: "refuse", "never-ready", "slow" (ready after a second), "never-close", "throw" (one group fails to
// initialise) or "system" (it serves the system group, too). "tell" makes it print the record at the end, "count" makes
// it keep no record but the number of undo cells, and "gate" makes one group keep initialising until the working
// directory holds a file of that name.

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"
#include "CVT/TextualConventions.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT std::atomic<bool> gbReady;
std::atomic<bool> gbReady = false;

namespace {

using CVT::Column;
using CVT::ESnmpSetOpCode;

bool Misbehaves(std::string_view how) {
    const char* const value = std::getenv("AGENT_TEST_MODULE");
    return value != nullptr && value == how;
}

/// "check level, commit level, ..." over all groups. The agent serves one request at a time.
std::string theRecord;
unsigned int theSetRequest = 0;  // the request that the record's last entry belongs to
std::atomic<int> theCells = 0;   // undo cells that are not released

void Record(ESnmpSetOpCode phase, const char* column, unsigned int requestId) {
    if (Misbehaves("count")) {
        return;
    }
    const char* name = "?";
    switch (phase) {
        case ESnmpSetOpCode::CheckAndSave: name = "check "; break;
        case ESnmpSetOpCode::Commit: name = "commit "; break;
        case ESnmpSetOpCode::Undo: name = "undo "; break;
        case ESnmpSetOpCode::Release: name = "release "; break;
    }
    theRecord += theRecord.empty() ? "" : requestId == theSetRequest ? ", " : "; ";
    theRecord += std::string(name) + column;
    theSetRequest = requestId;
}

template <class T>
int SetRecorded(ESnmpSetOpCode phase, const char* column, unsigned int requestId, const T& value, T& field,
                void** undo) {
    Record(phase, column, requestId);
    switch (phase) {
        case ESnmpSetOpCode::CheckAndSave:
            *undo = new T(field);
            ++theCells;
            return CVT::noError;
        case ESnmpSetOpCode::Commit: field = value; return CVT::noError;
        case ESnmpSetOpCode::Undo: field = *static_cast<T*>(*undo); return CVT::noError;
        case ESnmpSetOpCode::Release:
            delete static_cast<T*>(*undo);
            --theCells;
            return CVT::noError;
    }
    return CVT::genErr;
}

constexpr int kCommitFails = 13;
constexpr int kUndoFails = 14;
constexpr int kInconsistent = 15;
constexpr int kNoResources = 16;
constexpr int kCheckIsSlow = 17;
constexpr int kCommitIsSlow = 18;
constexpr int kCheckFailsOddly = 19;
constexpr int kCheckFailsMoreOddly = 20;
constexpr int kCommitFailsOddly = 21;
constexpr unsigned int kSlowMs = 1500;  // longer than an AgentX master waits for an answer

/// 1.3.6.1.4.1.32473.2.1
class Values final : public CVT::BMibScalarGroupImpl {
public:
    Values() : CVT::BMibScalarGroupImpl("AGENT-TEST-MIB.values", "1.3.6.1.4.1.32473.2.1") {}

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetLevel(unsigned int /*requestId*/, int& value) {
        value = m_level;
        return CVT::noError;
    }
    int SetLevel(ESnmpSetOpCode phase, unsigned int requestId, const int& value, void** undo) {
        const bool checking = phase == ESnmpSetOpCode::CheckAndSave;
        if (checking && (value == kInconsistent || value == kNoResources)) {
            return value == kInconsistent ? CVT::inconsistentValue : CVT::resourceUnavailable;
        }
        if (checking && (value == kCheckFailsOddly || value == kCheckFailsMoreOddly)) {
            return value == kCheckFailsOddly ? 4711 : 0x10000;  // the latter is 0 in 16 bits
        }
        if (phase == ESnmpSetOpCode::Commit && (value == kCommitFails || value == kCommitFailsOddly)) {
            Record(phase, "level", requestId);
            return value == kCommitFails ? CVT::commitFailed : CVT::genErr;
        }
        if (phase == ESnmpSetOpCode::Undo && value == kUndoFails) {
            Record(phase, "level", requestId);
            return CVT::undoFailed;
        }
        const int status = SetRecorded(phase, "level", requestId, value, m_level, undo);
        const bool committing = phase == ESnmpSetOpCode::Commit;
        if ((checking && value == kCheckIsSlow) || (committing && value == kCommitIsSlow)) {
            std::fputs(checking ? "level: check\n" : "level: commit\n", stderr);  // so that a test can step in
            CVT::TTimer().Sleep(kSlowMs);
        }
        return status;
    }
    int GetLabel(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value = m_label;
        return CVT::noError;
    }
    int SetLabel(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value, void** undo) {
        if (phase == ESnmpSetOpCode::Commit && value == CVT::BString("commit fails")) {
            Record(phase, "label", requestId);
            return CVT::commitFailed;
        }
        return SetRecorded(phase, "label", requestId, value, m_label, undo);
    }
    int GetDate(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value = m_date;
        return CVT::noError;
    }
    int SetDate(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value, void** undo) {
        return SetRecorded(phase, "date", requestId, value, m_date, undo);
    }
    int GetHome(unsigned int /*requestId*/, CVT::BObjectIdentifier& value) {
        value = m_home;
        return CVT::noError;
    }
    int SetHome(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BObjectIdentifier& value, void** undo) {
        return SetRecorded(phase, "home", requestId, value, m_home, undo);
    }
    int GetSize(unsigned int /*requestId*/, unsigned int& value) {
        value = m_size;
        return CVT::noError;
    }
    int SetSize(ESnmpSetOpCode phase, unsigned int requestId, const unsigned int& value, void** undo) {
        return SetRecorded(phase, "size", requestId, value, m_size, undo);
    }
    int GetRecord(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value.Assign(Misbehaves("count") ? std::to_string(theCells.load()) + " cells" : theRecord);
        return CVT::noError;
    }
    int GetRequestId(unsigned int requestId, unsigned int& value) {
        value = requestId;
        return CVT::noError;
    }
    int GetLowest(unsigned int /*requestId*/, int& value) {
        value = std::numeric_limits<int>::min();
        return CVT::noError;
    }
    int GetHighest(unsigned int /*requestId*/, unsigned int& value) {
        value = std::numeric_limits<unsigned int>::max();
        return CVT::noError;
    }
    int GetAllOctets(unsigned int /*requestId*/, CVT::BOctetString& value) {
        std::string octets;
        for (unsigned int octet = 0; octet < 256; ++octet) {
            octets += static_cast<char>(octet);
        }
        value.Assign(octets);
        return CVT::noError;
    }
    int GetLong(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value.Assign(std::string(20000, 'x'));
        return CVT::noError;
    }
    int GetNothing(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value.Clear();
        return CVT::noError;
    }
    int GetAbsent(unsigned int /*requestId*/, int& /*value*/) { return CVT::noSuchName; }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    int m_level = 1;
    CVT::BOctetString m_label{"first", 0};
    CVT::BOctetString m_date;
    CVT::BObjectIdentifier m_home;
    unsigned int m_size = 0;
};

const CVT::BRqHndlrEntry Values::s_rqhndlrEntries[] = {
    Column<CVT::kIntValue>(1, "level", CVT::kInteger, &Values::GetLevel, &Values::SetLevel),
    Column<CVT::kOctetStringValue>(2, "label", CVT::kOctetString, &Values::GetLabel, &Values::SetLabel),
    Column<CVT::kOctetStringValue>(3, "date", CVT::kOctetString, &Values::GetDate, &Values::SetDate),
    Column<CVT::kObjectIdentifierValue>(4, "home", CVT::kObjectIdentifier, &Values::GetHome, &Values::SetHome),
    Column<CVT::kUnsignedValue>(5, "size", CVT::kGauge32, &Values::GetSize, &Values::SetSize),
    Column<CVT::kOctetStringValue>(10, "record", CVT::kOctetString, &Values::GetRecord),
    Column<CVT::kUnsignedValue>(11, "requestId", CVT::kGauge32, &Values::GetRequestId),
    Column<CVT::kIntValue>(12, "lowest", CVT::kInteger, &Values::GetLowest),
    Column<CVT::kUnsignedValue>(13, "highest", CVT::kCounter32, &Values::GetHighest),
    Column<CVT::kOctetStringValue>(14, "allOctets", CVT::kOctetString, &Values::GetAllOctets),
    Column<CVT::kOctetStringValue>(15, "long", CVT::kOctetString, &Values::GetLong),
    Column<CVT::kOctetStringValue>(16, "nothing", CVT::kOctetString, &Values::GetNothing),
    Column<CVT::kIntValue>(17, "absent", CVT::kInteger, &Values::GetAbsent),
    {},
};

const CVT::BConstraintEntry Values::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, -5, 100},
    {CVT::kRange, 2, nullptr, 0, 40000},
    {CVT::kConvention, 3, CVT::cszDateAndTime, 0, 0},
    {},
};

/// 1.3.6.1.4.1.32473.0: get operations that fail. It lies before the others, so that a GETBULK that runs past the end
/// of one of those does not reach it.
class Failures final : public CVT::BMibScalarGroupImpl {
public:
    Failures() : CVT::BMibScalarGroupImpl("AGENT-TEST-MIB.failures", "1.3.6.1.4.1.32473.0") {}

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetFailing(unsigned int /*requestId*/, int& /*value*/) { return CVT::resourceUnavailable; }
    int GetUnheardOf(unsigned int /*requestId*/, int& /*value*/) { return 4711; }
    int GetThrowing(unsigned int /*requestId*/, int& /*value*/) { throw std::runtime_error("on purpose"); }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

const CVT::BRqHndlrEntry Failures::s_rqhndlrEntries[] = {
    Column<CVT::kIntValue>(1, "failing", CVT::kInteger, &Failures::GetFailing),
    Column<CVT::kIntValue>(2, "unheardOf", CVT::kInteger, &Failures::GetUnheardOf),
    Column<CVT::kIntValue>(3, "throwing", CVT::kInteger, &Failures::GetThrowing),
    {},
};

const CVT::BConstraintEntry Failures::s_sonstraintEntries[] = {{}};

/// 1.3.6.1.4.1.32473.2.2: scalars on both sides of the table that lies in it.
class Outer final : public CVT::BMibScalarGroupImpl {
public:
    Outer() : CVT::BMibScalarGroupImpl("AGENT-TEST-MIB.outer", "1.3.6.1.4.1.32473.2.2") {}

    void Initialize() override {
        while (Misbehaves("gate") && ::access("gate", F_OK) != 0) {
            CVT::TTimer().Sleep(5);
        }
        if (Misbehaves("throw")) {
            throw std::runtime_error("on purpose");
        }
        SetActive(1);
    }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetOne(unsigned int /*requestId*/, int& value) {
        value = 1;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

const CVT::BRqHndlrEntry Outer::s_rqhndlrEntries[] = {
    Column<CVT::kIntValue>(1, "before", CVT::kInteger, &Outer::GetOne),
    Column<CVT::kIntValue>(5, "behind", CVT::kInteger, &Outer::GetOne),
    {},
};

const CVT::BConstraintEntry Outer::s_sonstraintEntries[] = {{}};

/// 1.3.6.1.4.1.32473.2.2.3, within Outer: rows 1, 2 and 7.5 under an index of one or two arcs.
class Inner final : public CVT::BMibTableImpl {
public:
    Inner() : CVT::BMibTableImpl("AGENT-TEST-MIB.inner", "1.3.6.1.4.1.32473.2.2.3") {}

    void Initialize() override {
        for (const char* const index : {"1", "2", "7.5"}) {
            m_rows.Insert(CVT::BObjectIdentifier(CVT::BString(index)), &m_values[m_rows.GetCount()]);
        }
        SetActive(1);
    }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

private:
    int GetValue(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
        const int* const row = static_cast<const int*>(m_rows.GetData(index));
        if (row == nullptr) {
            return CVT::noSuchName;
        }
        value = *row;
        return CVT::noError;
    }
    int SetValue(const CVT::BObjectIdentifier& index, ESnmpSetOpCode phase, unsigned int requestId, const int& value,
                 void** undo) {
        int* const row = static_cast<int*>(m_rows.GetData(index));
        return row == nullptr ? static_cast<int>(CVT::inconsistentName)
                              : SetRecorded(phase, "inner", requestId, value, *row, undo);
    }
    int GetRequestId(const CVT::BObjectIdentifier& index, unsigned int requestId, unsigned int& value) {
        value = requestId;
        return m_rows.GetData(index) == nullptr ? CVT::noSuchName : CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    std::array<int, 3> m_values = {10, 20, 75};
    CVT::BMapOid2Ptr m_rows;
};

const CVT::BRqHndlrEntry Inner::s_rqhndlrEntries[] = {
    Column<CVT::kIntValue>(2, "value", CVT::kInteger, &Inner::GetValue, &Inner::SetValue),
    Column<CVT::kUnsignedValue>(4, "requestId", CVT::kGauge32, &Inner::GetRequestId),
    {},
};

const CVT::BConstraintEntry Inner::s_sonstraintEntries[] = {{}};

/// 1.3.6.1.2.1.1: what the agent would otherwise serve itself.
class System final : public CVT::BMibScalarGroupImpl {
public:
    System() : CVT::BMibScalarGroupImpl("AGENT-TEST-MIB.system", "1.3.6.1.2.1.1") {}

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetDescr(unsigned int /*requestId*/, CVT::BOctetString& value) {
        value.Assign("the module's own");
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

const CVT::BRqHndlrEntry System::s_rqhndlrEntries[] = {
    Column<CVT::kDisplayStringValue>(1, "sysDescr", CVT::kOctetString, &System::GetDescr),
    {},
};

const CVT::BConstraintEntry System::s_sonstraintEntries[] = {{}};

class Module final : public CVT::BMibImplGroup {
public:
    Module() : CVT::BMibImplGroup("AgentTestModule") {}

    unsigned int Init() override { return ForEach(&CVT::BMibImpl::Initialize); }
    unsigned int Cleanup() override { return ForEach(&CVT::BMibImpl::Cleanup); }
    int NumHandlers() override { return static_cast<int>(m_groups.size()); }
    CVT::BMibImpl* HandlerAt(int place) override { return m_groups.at(static_cast<std::size_t>(place)); }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    unsigned int ForEach(void (CVT::BMibImpl::*operation)()) {
        for (CVT::BMibImpl* const group : m_groups) {
            if (group != nullptr) {
                const CVT::TMutex::Guard guard(group->RequestLock());
                try {
                    (group->*operation)();
                } catch (const std::runtime_error&) {  // as a good module does: the others still initialise
                }
            }
        }
        return 1;
    }

    Values m_valuesGroup;
    Outer m_outer;
    Inner m_inner;
    Failures m_failures;
    System m_system;
    // The inner subtree before the outer one, and an empty place: hosts must not mind.
    const std::array<CVT::BMibImpl*, 6> m_groups{&m_inner, nullptr,     &m_valuesGroup,
                                                 &m_outer, &m_failures, Misbehaves("system") ? &m_system : nullptr};
};

std::unique_ptr<Module> theModule;

class StartUp final : public CVT::TThread {
public:
    StartUp() : CVT::TThread(true) {}

private:
    unsigned int Run() override {
        if (Misbehaves("slow")) {
            CVT::TTimer().Sleep(1000);
        }
        theModule->Init();
        gbReady.store(!Misbehaves("never-ready"));
        return 0;
    }
};

}  // namespace

MODULE_EXPORT int CVxExtAgentInit(void** module, void* /*trapSender*/) {
    if (Misbehaves("refuse")) {
        return 0;
    }
    theModule = std::make_unique<Module>();
    *module = static_cast<CVT::BMibImplGroup*>(theModule.get());
    return (new StartUp)->Start(0, 0) ? 1 : 0;
}

MODULE_EXPORT int CVxExtAgentClose() {
    while (!gbReady.load() || Misbehaves("never-close")) {
        CVT::TTimer().Sleep(1);
    }
    if (Misbehaves("tell")) {
        std::fputs(("record: " + theRecord + "\n").c_str(), stderr);
    }
    theModule->Cleanup();
    theModule.reset();
    return 1;
}
