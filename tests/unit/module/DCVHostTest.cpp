#include "module/DCVHost.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/TThread.h"
#include "groups/storage/DHrStorage.h"
#include "groups/system/DHrSystem.h"
#include "module/EntryPoints.h"
#include "tests/support/NoStore.h"
#include "tests/support/ScratchFolder.h"

namespace {

/// Each test runs in an empty working directory of its own.
class DCVHostTest : public testing::Test {
protected:
    static bool StoreFileExists() {
        struct stat status {};
        return ::stat(WorkingFolder::kStoreFile, &status) == 0;
    }

private:
    const WorkingFolder m_workingFolder;
};

class CountedStore final : public NoStore {
public:
    CountedStore() { ++alive; }
    ~CountedStore() override { --alive; }
    CountedStore(const CountedStore&) = delete;
    CountedStore& operator=(const CountedStore&) = delete;
    static inline int alive = 0;
};

TEST_F(DCVHostTest, IsRegisteredUnderItsName) {
    CountedStore store;
    EXPECT_STREQ(DCVHost(&store, false).Name().c_str(), "CVHost");
}

TEST_F(DCVHostTest, HasFifteenPlacesWhetherUsedOrNot) {
    CountedStore store;
    EXPECT_EQ(DCVHost(&store, false).NumHandlers(), 15);
    EXPECT_EQ(DCVHost(&store, true).NumHandlers(), 15);
}

TEST_F(DCVHostTest, HasNoHandlerOutsideItsPlaces) {
    CountedStore store;
    DCVHost host(&store, false);
    EXPECT_EQ(host.HandlerAt(15), nullptr);
    EXPECT_EQ(host.HandlerAt(-1), nullptr);
    EXPECT_EQ(host.HandlerAt(std::numeric_limits<int>::min()), nullptr);
    EXPECT_EQ(host.HandlerAt(std::numeric_limits<int>::max()), nullptr);
}

TEST_F(DCVHostTest, HasEachGroupAtItsPlace) {
    const std::vector<std::string> groups = {
        "hrSystem",       "hrStorage",      "hrStorageTable",     "hrDeviceTable",    "hrProcessorTable",
        "hrNetworkTable", "hrPrinterTable", "hrDiskStorageTable", "hrPartitionTable", "hrFSTable",
        "hrSWRun",        "hrSWRunTable",   "hrSWRunPerfTable",   "hrSWInstalled",    "hrSWInstalledTable"};
    CountedStore store;
    DCVHost host(&store, false);
    ASSERT_EQ(static_cast<int>(groups.size()), host.NumHandlers());
    for (std::size_t place = 0; place < groups.size(); ++place) {
        ASSERT_NE(host.HandlerAt(static_cast<int>(place)), nullptr) << place;
        EXPECT_EQ(host.HandlerAt(static_cast<int>(place))->Name(), CVT::BString("HOST-RESOURCES-MIB." + groups[place]));
    }
}

TEST_F(DCVHostTest, WithTheSystemGroupOnlyLeavesAllOtherPlacesEmptyAndWalksSkipThem) {
    CountedStore store;
    DCVHost host(&store, true);
    EXPECT_NE(host.HandlerAt(0), nullptr);
    for (int place = 1; place < host.NumHandlers(); ++place) {
        EXPECT_EQ(host.HandlerAt(place), nullptr) << place;
    }
    EXPECT_EQ(host.Init(), 0U);
    EXPECT_TRUE(host.HandlerAt(0)->IsActive());
    EXPECT_EQ(host.Cleanup(), 0U);
    EXPECT_FALSE(host.HandlerAt(0)->IsActive());
}

TEST_F(DCVHostTest, WithTheSystemGroupOnlyReportsTheFirstDeviceAsTheInitialLoadDevice) {
    CountedStore store;
    DCVHost host(&store, true);
    gpCVHost = &host;
    int device = 0;
    EXPECT_EQ(static_cast<DHrSystem*>(host.HandlerAt(0))->OnGet_HrSystemInitialLoadDevice(1, device), 0);
    gpCVHost = nullptr;
    EXPECT_EQ(device, 1);
}

TEST_F(DCVHostTest, BringsItsGroupsUpAndDown) {
    CountedStore store;
    DCVHost host(&store, false);
    EXPECT_FALSE(host.HandlerAt(1)->IsActive());
    EXPECT_EQ(host.Init(), 0U);
    EXPECT_TRUE(host.HandlerAt(1)->IsActive());
    EXPECT_EQ(host.Cleanup(), 0U);
    EXPECT_FALSE(host.HandlerAt(1)->IsActive());
}

TEST_F(DCVHostTest, NeverDeletesTheCallersStore) {
    auto* const store = new CountedStore;
    { const DCVHost host(store, false); }
    EXPECT_EQ(CountedStore::alive, 1);
    EXPECT_FALSE(StoreFileExists());
    delete store;
}

TEST_F(DCVHostTest, CreatesItsOwnStoreInTheWorkingDirectoryWhenNoneIsPassed) {
    { const DCVHost host(nullptr, false); }  // the leak check ensures that the module deletes its store
    EXPECT_TRUE(StoreFileExists());
}

TEST_F(DCVHostTest, NamesTheModulesTextualConventions) {
    EXPECT_STREQ(DCVHost::cszInterfaceIndexOrZero, "InterfaceIndexOrZero");
    EXPECT_STREQ(DCVHost::cszProductID, "ProductID");
    EXPECT_STREQ(DCVHost::cszKBytes, "KBytes");
    EXPECT_STREQ(DCVHost::cszInternationalDisplayString, "InternationalDisplayString");
    const char* const used = DHrStorage::s_sonstraintEntries[0].label;
    EXPECT_EQ(used, static_cast<const char*>(DCVHost::cszKBytes)) << "one object: labels may be compared by address";
}

TEST_F(DCVHostTest, ConstrainsThreeOfItsConventionsInOrderAndThenEnds) {
    CountedStore store;
    const DCVHost host(&store, false);
    const CVT::BConstraintEntry* entry = host.GetTCConstraintMap();
    const struct {
        const char* label;
        int high;
    } expected[] = {{DCVHost::cszInternationalDisplayString, 128},
                    {DCVHost::cszKBytes, 2147483647},
                    {DCVHost::cszInterfaceIndexOrZero, 2147483647}};
    for (const auto& [label, high] : expected) {
        EXPECT_EQ(entry->kind, 4U);
        EXPECT_EQ(entry->column, 0U);
        EXPECT_EQ(entry->label, label);
        EXPECT_EQ(entry->low, 0);
        EXPECT_EQ(entry->high, high);
        ++entry;
    }
    EXPECT_EQ(entry->kind, 0U);
    EXPECT_EQ(entry->label, nullptr);
}

TEST_F(DCVHostTest, FillsItsDefaultValuesBeforeTheGroupsComeUp) {
    CountedStore store;
    DCVHost host(&store, false);
    DCVHost::defval.integer = 1;
    DCVHost::defval.octets = CVT::BOctetString("x", 0);
    DCVHost::defval.numbers = {1, 2, 3};
    host.Init();
    EXPECT_EQ(DCVHost::defval.integer, 0);
    EXPECT_TRUE(DCVHost::defval.octets.IsEmpty());
    EXPECT_TRUE(DCVHost::defval.opaque.IsEmpty());
    EXPECT_EQ(DCVHost::defval.displayString.View(), "Corvanta");
    EXPECT_STREQ(DCVHost::defval.objectIdentifier.ToString().c_str(), "1.3.6.1.4.1.32473");
    EXPECT_EQ(DCVHost::defval.numbers, (std::array<unsigned int, 3>{0, 0, 0}));
    EXPECT_STREQ(DCVHost::defval.ipAddress.ToString().c_str(), "127.0.0.1");
}

/// A group that records its calls, and whether its lock was held.
class Probe final : public CVT::BMibScalarGroupImpl {
public:
    Probe(const char* name, std::vector<std::string>& log, bool throws)
        : BMibScalarGroupImpl(name, "1.3.6.1.4.1.32473.9"), m_log(log), m_throws(throws) {}
    void Initialize() override { Record("up"); }
    void Cleanup() override { Record("down"); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return &m_end; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return &m_noConstraints; }

private:
    /// Tries the lock from another thread.
    class Try final : public CVT::TThread {
    public:
        explicit Try(CVT::TMutex& lock) : TThread(false), m_lock(lock) {}
        bool taken = false;

    protected:
        unsigned int Run() override {
            if (m_lock.Try()) {
                m_lock.Done();
            } else {
                taken = true;
            }
            return 0;
        }

    private:
        CVT::TMutex& m_lock;
    };

    void Record(const char* what) {
        Try attempt(RequestLock());
        attempt.Start(0, 0);
        attempt.Join(CVT::kWaitForever);
        m_log.push_back(std::string(Name().c_str()) + " " + what + (attempt.taken ? "" : " unlocked"));
        if (m_throws) {
            throw std::runtime_error("no such luck");
        }
    }

    CVT::BRqHndlrEntry m_end;
    CVT::BConstraintEntry m_noConstraints;
    std::vector<std::string>& m_log;
    bool m_throws;
};

class ProbeModule final : public CVT::BMibImplGroup {
public:
    explicit ProbeModule(std::vector<CVT::BMibImpl*> handlers)
        : BMibImplGroup("probe"), m_handlers(std::move(handlers)) {}
    unsigned int Init() override { return 0; }
    unsigned int Cleanup() override { return 0; }
    int NumHandlers() override { return static_cast<int>(m_handlers.size()); }
    CVT::BMibImpl* HandlerAt(int place) override { return m_handlers[static_cast<std::size_t>(place)]; }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    std::vector<CVT::BMibImpl*> m_handlers;
};

TEST(DCVHost, CallsEachGroupInOrderUnderItsLockDespiteEmptyPlacesAndGroupsThatThrow) {
    std::vector<std::string> log;
    Probe first("first", log, false);
    Probe second("second", log, true);
    Probe third("third", log, false);
    ProbeModule module({&first, nullptr, &second, &third});
    EXPECT_EQ(ui32ForEachHandler(module, &CVT::BMibImpl::Initialize), 0U);
    EXPECT_EQ(ui32ForEachHandler(module, &CVT::BMibImpl::Cleanup), 0U);
    EXPECT_EQ(log, (std::vector<std::string>{"first up", "second up", "third up", "first down", "second down",
                                             "third down"}));
    const bool givenBack = second.RequestLock().Try();
    EXPECT_TRUE(givenBack) << "the lock of a group that threw was not released";
    if (givenBack) {
        second.RequestLock().Done();
    }
}

}  // namespace
