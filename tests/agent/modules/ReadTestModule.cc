// An extension module for the tests of reading, under 1.3.6.1.4.1.32473.3: a quick scalar, a table of long values, a
// table whose Initialize is slow, and one whose values are. The last two wait for the files that the environment
// variables READ_TEST_INITIALIZE and READ_TEST_VALUE name, if they do. READ_TEST_ROWS adds a large table of that many
// rows, and counts its look-ups; READ_TEST_SLEEP is how many milliseconds each of them takes, and each number.
// READ_TEST_SLEEPER adds a table that says that its numbers take long; its value is how many milliseconds each takes.

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"
#include "CVT/Warnings.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT std::atomic<bool> gbReady;
std::atomic<bool> gbReady = false;

namespace {

using CVT::Column;

const CVT::BConstraintEntry kNoConstraints[] = {{}};

bool MustWaitFor(const char* variable) {
    const char* const file = std::getenv(variable);
    return file != nullptr && ::access(file, F_OK) != 0;
}

unsigned int NumberFrom(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? 0 : static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
}

/// 1.3.6.1.4.1.32473.3.1
class Quick final : public CVT::BMibScalarGroupImpl {
public:
    Quick() : CVT::BMibScalarGroupImpl("READ-TEST-MIB.quick", "1.3.6.1.4.1.32473.3.1") {}

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return kNoConstraints; }

private:
    int GetRequestId(unsigned int requestId, unsigned int& value) {
        value = requestId;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
};

const CVT::BRqHndlrEntry Quick::s_rqhndlrEntries[] = {
    Column<CVT::kUnsignedValue>(1, "quickRequestId", CVT::kGauge32, &Quick::GetRequestId),
    {},
};

/// Rows 1 to `rows` of a number, a text of 200 octets, and the request's identifier.
class Table : public CVT::BMibTableImpl {
public:
    Table(const char* name, const char* oid, unsigned int rows) : CVT::BMibTableImpl(name, oid) {
        for (unsigned int row = 1; row <= rows; ++row) {
            m_rows.Insert(CVT::BObjectIdentifier(row), this);
        }
    }

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return kNoConstraints; }
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

protected:
    virtual int GetNumber(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
        value = index.IsEmpty() ? 0 : static_cast<int>(index[0]);
        return StatusOf(index);
    }
    int SetNumber(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode /*phase*/, unsigned int /*requestId*/,
                  const int& /*value*/, void** /*undo*/) {
        return StatusOf(index);
    }
    int StatusOf(const CVT::BObjectIdentifier& index) const {
        return m_rows.GetData(index) == nullptr ? CVT::noSuchName : CVT::noError;
    }

private:
    int GetText(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, CVT::BOctetString& value) {
        value.Assign(std::string(200, 'x'));
        return StatusOf(index);
    }
    int GetRequestId(const CVT::BObjectIdentifier& index, unsigned int requestId, unsigned int& value) {
        value = requestId;
        return StatusOf(index);
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];

    CVT::BMapOid2Ptr m_rows;
};

const CVT::BRqHndlrEntry Table::s_rqhndlrEntries[] = {
    Column<CVT::kIntValue>(1, "tableNumber", CVT::kInteger, &Table::GetNumber, &Table::SetNumber),
    Column<CVT::kOctetStringValue>(2, "tableText", CVT::kOctetString, &Table::GetText),
    Column<CVT::kUnsignedValue>(3, "tableRequestId", CVT::kGauge32, &Table::GetRequestId),
    {},
};

/// 1.3.6.1.4.1.32473.3.3: it has no rows before it is initialised, and holds its lock while it initialises. The log
/// says when it has begun to wait.
class SlowToInitialize final : public Table {
public:
    SlowToInitialize() : Table("READ-TEST-MIB.slowToInitialize", "1.3.6.1.4.1.32473.3.3", 3) {}

    void Initialize() override {
        if (MustWaitFor("READ_TEST_INITIALIZE")) {
            CVT::Warn("slowToInitialize waits");
        }
        while (MustWaitFor("READ_TEST_INITIALIZE")) {
            CVT::TTimer().Sleep(1);
        }
        SetActive(1);
    }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return IsActive() && Table::NextInstanceInColumn(requestId, column, index, nextIndex);
    }
};

/// 1.3.6.1.4.1.32473.3.4: the number of row 2 is slow, and the table says so.
class SlowToAnswer final : public Table {
public:
    SlowToAnswer() : Table("READ-TEST-MIB.slowToAnswer", "1.3.6.1.4.1.32473.3.4", 3) {
        SetSlowCalls([this](CVT::EReading call, unsigned int /*requestId*/, const CVT::BObjectIdentifier& name) {
            return call == CVT::EReading::Get && name == m_slow && MustWaitFor("READ_TEST_VALUE");
        });
    }

private:
    int GetNumber(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) override {
        const int status = Table::GetNumber(index, requestId, value);
        while (value == 2 && MustWaitFor("READ_TEST_VALUE")) {
            CVT::TTimer().Sleep(1);
        }
        return status;
    }

    const CVT::BObjectIdentifier m_slow{CVT::BString("1.3.6.1.4.1.32473.3.4.1.1.2")};
};

/// 1.3.6.1.4.1.32473.3.7
class Sleeper final : public Table {
public:
    Sleeper() : Table("READ-TEST-MIB.sleeper", "1.3.6.1.4.1.32473.3.7", 3) {
        SetSlowCalls([](CVT::EReading call, unsigned int /*requestId*/, const CVT::BObjectIdentifier& name) {
            return call == CVT::EReading::Get && name[name.NumArcs() - 2] == 1;
        });
    }

private:
    int GetNumber(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) override {
        CVT::TTimer().Sleep(m_sleepMs);
        return Table::GetNumber(index, requestId, value);
    }

    const unsigned int m_sleepMs = NumberFrom("READ_TEST_SLEEPER");
};

/// 1.3.6.1.4.1.32473.3.5
class Large final : public Table {
public:
    Large() : Table("READ-TEST-MIB.large", "1.3.6.1.4.1.32473.3.5", NumberFrom("READ_TEST_ROWS")) {}

    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        ++m_lookUps;
        Sleep();
        return Table::NextInstanceInColumn(requestId, column, index, nextIndex);
    }

    unsigned int LookUps() const { return m_lookUps; }

private:
    int GetNumber(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) override {
        Sleep();
        return Table::GetNumber(index, requestId, value);
    }
    void Sleep() const {
        if (m_sleepMs > 0) {
            CVT::TTimer().Sleep(m_sleepMs);
        }
    }

    const unsigned int m_sleepMs = NumberFrom("READ_TEST_SLEEP");
    std::atomic<unsigned int> m_lookUps = 0;  // read by another group, under another lock
};

/// 1.3.6.1.4.1.32473.3.6: how often an instance of the large table was looked for.
class LookUps final : public CVT::BMibScalarGroupImpl {
public:
    explicit LookUps(const Large& large)
        : CVT::BMibScalarGroupImpl("READ-TEST-MIB.lookUps", "1.3.6.1.4.1.32473.3.6"), m_large(large) {}

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return kNoConstraints; }

private:
    int GetLookUps(unsigned int /*requestId*/, unsigned int& value) {
        value = m_large.LookUps();
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];

    const Large& m_large;
};

const CVT::BRqHndlrEntry LookUps::s_rqhndlrEntries[] = {
    Column<CVT::kUnsignedValue>(1, "lookUps", CVT::kGauge32, &LookUps::GetLookUps),
    {},
};

class Module final : public CVT::BMibImplGroup {
public:
    Module() : CVT::BMibImplGroup("ReadTestModule") {
        if (NumberFrom("READ_TEST_ROWS") > 0) {
            m_groups.insert(m_groups.end(), {&m_large, &m_lookUps});
        }
        if (NumberFrom("READ_TEST_SLEEPER") > 0) {
            m_groups.push_back(&m_sleeper);
        }
    }

    unsigned int Init() override { return ForEach(&CVT::BMibImpl::Initialize); }
    unsigned int Cleanup() override { return ForEach(&CVT::BMibImpl::Cleanup); }
    int NumHandlers() override { return static_cast<int>(m_groups.size()); }
    CVT::BMibImpl* HandlerAt(int place) override { return m_groups.at(static_cast<std::size_t>(place)); }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    unsigned int ForEach(void (CVT::BMibImpl::*operation)()) {
        for (CVT::BMibImpl* const group : m_groups) {
            const CVT::TMutex::Guard guard(group->RequestLock());
            (group->*operation)();
        }
        return 1;
    }

    Quick m_quick;
    Table m_table{"READ-TEST-MIB.table", "1.3.6.1.4.1.32473.3.2", 300};
    SlowToInitialize m_slowToInitialize;
    SlowToAnswer m_slowToAnswer;
    Sleeper m_sleeper;
    Large m_large;
    LookUps m_lookUps{m_large};
    std::vector<CVT::BMibImpl*> m_groups{&m_quick, &m_table, &m_slowToInitialize, &m_slowToAnswer};
};

std::unique_ptr<Module> theModule;

class StartUp final : public CVT::TThread {
public:
    StartUp() : CVT::TThread(true) {}

private:
    unsigned int Run() override {
        theModule->Init();
        gbReady.store(true);
        return 0;
    }
};

}  // namespace

MODULE_EXPORT int CVxExtAgentInit(void** module, void* /*trapSender*/) {
    theModule = std::make_unique<Module>();
    *module = static_cast<CVT::BMibImplGroup*>(theModule.get());
    return (new StartUp)->Start(0, 0) ? 1 : 0;
}

MODULE_EXPORT int CVxExtAgentClose() {
    while (!gbReady.load()) {
        CVT::TTimer().Sleep(1);
    }
    theModule->Cleanup();
    theModule.reset();
    return 1;
}
