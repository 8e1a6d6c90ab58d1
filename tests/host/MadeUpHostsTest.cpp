// The library that ships on hosts of our making, each a folder of tests/host/made-up: what a walk of the devices finds there,
// against the folder's file `walk`.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "CVT/BMibEngine.h"
#include "tests/host/MadeUpCalls.h"
#include "tests/host/WalkText.h"
#include "tests/support/HostTree.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/Walk.h"

namespace {

std::string ContentOf(const std::string& file) {
    std::stringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

class MadeUpHosts : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::chdir(m_host->Directory().c_str()), 0);
        m_module = std::make_unique<LoadedModule>();
        ASSERT_TRUE(m_module->IsLoaded());
        m_tree = std::make_unique<HostTree>(*m_host, HostFolder(GetParam()));
        MadeUpCalls::Instance().Read(HostFolder(GetParam()) + "/figures");
        ASSERT_EQ(m_module->Init(), 1);
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
    }
    void TearDown() override {
        if (m_module) {
            m_module->Close();
            m_module.reset();
        }
        MadeUpCalls::Instance().active = false;
        EXPECT_EQ(::chdir("/"), 0);
    }

    /// The indexes of a column's instances, in dotted text, with their values.
    std::map<std::string, CVT::BVarBind> Column(const std::string& oid) {
        std::map<std::string, CVT::BVarBind> column;
        const CVT::BObjectIdentifier under{CVT::BString(oid.c_str())};
        for (const CVT::BVarBind& varBind : Walk(m_engine, oid.c_str())) {
            const CVT::BObjectIdentifier index(varBind.name.Arcs().subspan(under.NumArcs()));
            column.emplace(index.ToString().View(), varBind);
        }
        return column;
    }
    std::set<std::string> Indexes(const std::string& oid) {
        std::set<std::string> indexes;
        for (const auto& [index, varBind] : Column(oid)) {
            indexes.insert(index);
        }
        return indexes;
    }
    std::set<std::string> DevicesOfType(unsigned int type) {
        std::set<std::string> devices;
        for (const auto& [index, varBind] : Column("1.3.6.1.2.1.25.3.2.1.2")) {
            if (varBind.identifier[varBind.identifier.NumArcs() - 1] == type) {
                devices.insert(index);
            }
        }
        return devices;
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<LoadedModule> m_module;
    std::unique_ptr<HostTree> m_tree;
    CVT::BMibEngine m_engine;
};

TEST_P(MadeUpHosts, HaveTheDevicesThatTheirFilesTellOf) {
    EXPECT_EQ(WalkText(m_engine), ContentOf(HostFolder(GetParam()) + "/walk"));
}

TEST_P(MadeUpHosts, HaveOneRowForEachDeviceInTheTableOfItsKindAndNoOther) {
    EXPECT_EQ(DevicesOfType(3), Indexes("1.3.6.1.2.1.25.3.3.1.2"));
    EXPECT_EQ(DevicesOfType(4), Indexes("1.3.6.1.2.1.25.3.4.1.1"));
    EXPECT_EQ(DevicesOfType(5), Indexes("1.3.6.1.2.1.25.3.5.1.1"));
    EXPECT_EQ(DevicesOfType(6), Indexes("1.3.6.1.2.1.25.3.6.1.1"));
    for (const auto& [index, partition] : Column("1.3.6.1.2.1.25.3.7.1.1")) {
        EXPECT_TRUE(DevicesOfType(6).contains(index.substr(0, index.find('.')))) << index;
    }
}

TEST_P(MadeUpHosts, HaveIndexesThatLeadToRowsOrAreZero) {
    std::set<std::string> storages = Indexes("1.3.6.1.2.1.25.2.3.1.1");
    storages.insert("0");
    for (const auto& [index, storage] : Column("1.3.6.1.2.1.25.3.8.1.7")) {
        EXPECT_TRUE(storages.contains(std::to_string(storage.integer))) << index;
    }
    std::set<std::string> fileSystems = Indexes("1.3.6.1.2.1.25.3.8.1.1");
    fileSystems.insert("0");
    for (const auto& [index, fileSystem] : Column("1.3.6.1.2.1.25.3.7.1.5")) {
        EXPECT_TRUE(fileSystems.contains(std::to_string(fileSystem.integer))) << index;
    }
}

TEST_P(MadeUpHosts, AreLeftWithoutATemporaryFileAndWithoutAQuestionToARemoteFileSystem) {
    EXPECT_NE(::access(("/tmp/CVHost." + std::to_string(::getpid())).c_str(), F_OK), 0);
    const std::set<std::string> asked = MadeUpCalls::TakeAsked();
    for (const char* const remote : {"/home", "/mnt/share", "/mnt/again", "/mnt/old", "/mnt/nameless"}) {
        EXPECT_FALSE(std::string_view(GetParam()) == "remote" && asked.contains(remote)) << remote;
    }
}

INSTANTIATE_TEST_SUITE_P(All, MadeUpHosts,
                         testing::Values("board", "server", "workstation", "disks", "removable", "remote", "empty",
                                         "hostile"),
                         [](const testing::TestParamInfo<const char*>& host) { return std::string(host.param); });

}  // namespace
