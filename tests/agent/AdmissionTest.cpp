// A configuration without a fault that lets nobody in all the same.

#include "tests/agent/UserTest.h"

namespace agent_test {
namespace {

const std::string kOnlyV3 = "[snmp] disableSNMPv1 yes\n[snmp] disableSNMPv2c yes\n";

class AdmissionTest : public UserTest {
protected:
    /// Starts and ends an agent with this configuration, and returns its warnings.
    std::string WarningsWith(const std::string& config) {
        Start({"--module", kTestModule, "--config", WriteConfig(config)});
        ExpectCleanEnd();
        std::string warnings;
        std::istringstream in(Log());
        for (std::string line; std::getline(in, line);) {
            warnings += line.find("warning: ") != std::string::npos ? line + "\n" : "";
        }
        return warnings;
    }
};

TEST_F(AdmissionTest, AUserThatDoesNotExistIsNamedWithTheCommandThatAddsIt) {
    EXPECT_NE(WarningsWith(kOnlyV3 + "rouser reader authpriv\n")
                  .find("warning: nobody can get in: the configuration grants access to users that do not exist "
                        "(reader); add one with cvtagentd --create-user reader\n"),
              std::string::npos)
        << Log();
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    EXPECT_EQ(WarningsWith(kOnlyV3 + "rouser reader authpriv\n"), "");
}

TEST_F(AdmissionTest, CommunitiesThatAreSwitchedOffLetNobodyIn) {
    EXPECT_NE(WarningsWith(kOnlyV3 + "rocommunity public 127.0.0.1\n").find("communities are switched off"),
              std::string::npos)
        << Log();
    EXPECT_EQ(WarningsWith("[snmp] disableSNMPv1 yes\nrocommunity public 127.0.0.1\n"), "");
}

TEST_F(AdmissionTest, KeysThatAreNotGoodEnoughLetNobodyIn) {
    const std::string create = "createUser reader SHA-256 \"long enough\"\n";
    EXPECT_NE(WarningsWith(create + "rouser reader authpriv\n").find("give them new ones with cvtagentd --change-user"),
              std::string::npos)
        << Log();
    EXPECT_EQ(WarningsWith(create + "rouser reader auth\n"), "");
}

TEST_F(AdmissionTest, EachWayInIsEnough) {
    const std::string user = "createUser reader SHA-256 \"long enough\" AES\nrouser nobody authpriv\n";
    EXPECT_EQ(WarningsWith("rouser nobody authpriv\nrwcommunity private 127.0.0.1\n"), "");
    EXPECT_EQ(WarningsWith(user + "rwuser reader authpriv\n"), "");
    EXPECT_EQ(WarningsWith(user + "view all included .1\ngroup readers usm reader\n"
                                  "access readers \"\" usm priv exact all none none\n"),
              "");
    EXPECT_NE(WarningsWith(user + "group readers usm reader\naccess readers \"\" usm priv exact none none none\n")
                  .find("(nobody)"),
              std::string::npos)
        << Log();
    Start({"--module", kTestModule});
    ExpectCleanEnd();
    EXPECT_EQ(Log().find("nobody"), std::string::npos) << Log();
}

TEST_F(AdmissionTest, AReloadWarnsAsAStartDoes) {
    Start({"--module", kTestModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")});
    WriteConfig("rouser reader authpriv\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("nobody can get in")) << Log();
}

}  // namespace
}  // namespace agent_test
