// The command line of cvtagentd.

#include "agent/cvtagentd/Options.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace cvtagentd {
namespace {

Options Parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "cvtagentd");
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    return Options::Parse(static_cast<int>(arguments.size()), argv.data());
}

/// What the parser says about a command line; empty when it accepts it.
std::string ErrorOf(const std::vector<std::string>& arguments) {
    try {
        Parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

TEST(CvtagentdOptions, WithoutArgumentsItServesTheMainModuleWithAllDefaults) {
    const Options options = Parse({});
    EXPECT_EQ(options.action, Options::Action::kServe);
    ASSERT_EQ(options.modules.size(), 1U);
    EXPECT_TRUE(options.modules.front().ends_with("libCVHost.so.1"));
    EXPECT_TRUE(options.listen.empty());
    EXPECT_STREQ(Options::kDefaultAddress, "udp:127.0.0.1:1161");
    EXPECT_EQ(options.config, "");
    EXPECT_EQ(options.stateDir, "");
    EXPECT_EQ(options.timeoutSeconds, 30U);
    EXPECT_EQ(options.logLevel, LogLevel::kInfo);
    EXPECT_FALSE(options.syslog);
}

TEST(CvtagentdOptions, AcceptsEveryOptionForServing) {
    const Options options = Parse({"--module", "/a/one.so", "--module=/b/two.so", "--listen", "udp:161", "--listen",
                                   "tcp:161", "--config", "/etc/agent.conf", "--state-dir", "state", "--timeout", "5",
                                   "--log-level", "debug", "--syslog", "--user", "nobody"});
    EXPECT_EQ(options.modules, (std::vector<std::string>{"/a/one.so", "/b/two.so"}));
    EXPECT_EQ(options.listen, (std::vector<std::string>{"udp:161", "tcp:161"}));
    EXPECT_EQ(options.config, "/etc/agent.conf");
    EXPECT_EQ(options.stateDir, "state");
    EXPECT_EQ(options.user, "nobody");
    EXPECT_EQ(options.timeoutSeconds, 5U);
    EXPECT_EQ(options.logLevel, LogLevel::kDebug);
    EXPECT_TRUE(options.syslog);
}

TEST(CvtagentdOptions, MakesFileNamesAbsoluteBecauseTheAgentChangesItsWorkingDirectory) {
    const std::string here = std::filesystem::current_path().string();
    const Options options = Parse({"--config", "agent.conf", "--module", "./lib/../one.so"});
    EXPECT_EQ(options.config, here + "/agent.conf");
    EXPECT_EQ(options.modules.front(), here + "/one.so");
}

TEST(CvtagentdOptions, LeavesAModuleNameWithoutASlashToTheDynamicLinker) {
    EXPECT_EQ(Parse({"--module", "libOther.so.1"}).modules.front(), "libOther.so.1");
}

TEST(CvtagentdOptions, KnowsTheActionsThatAreNotServing) {
    EXPECT_EQ(Parse({"--help"}).action, Options::Action::kShowHelp);
    EXPECT_EQ(Parse({"-h"}).action, Options::Action::kShowHelp);
    EXPECT_EQ(Parse({"--version"}).action, Options::Action::kShowVersion);
    EXPECT_EQ(Parse({"-V"}).action, Options::Action::kShowVersion);
    const Options check = Parse({"--check-config", "/etc/agent.conf"});
    EXPECT_EQ(check.action, Options::Action::kCheckConfig);
    EXPECT_EQ(check.config, "/etc/agent.conf");
    EXPECT_EQ(Parse({"--check-config=/etc/agent.conf"}).config, "/etc/agent.conf");
    EXPECT_EQ(Parse({"--check-config"}).config, "");
    const Options withState = Parse({"--check-config", "--state-dir", "/state"});
    EXPECT_EQ(withState.action, Options::Action::kCheckConfig);
    EXPECT_EQ(withState.config, "");
    EXPECT_EQ(withState.stateDir, "/state");
    const Options create = Parse({"--create-user", "reader", "--config", "/etc/agent.conf", "--state-dir", "/state"});
    EXPECT_EQ(create.action, Options::Action::kCreateUser);
    EXPECT_EQ(create.snmpUser, "reader");
    EXPECT_EQ(create.config, "/etc/agent.conf");
    EXPECT_EQ(create.stateDir, "/state");
    EXPECT_EQ(Parse({"--change-user", "reader"}).action, Options::Action::kChangeUser);
    EXPECT_EQ(Parse({"--delete-user", "reader"}).action, Options::Action::kDeleteUser);
    EXPECT_EQ(Parse({"--delete-user", "reader"}).snmpUser, "reader");
    EXPECT_EQ(Parse({"--list-users", "--state-dir", "/state"}).action, Options::Action::kListUsers);
}

TEST(CvtagentdOptions, SaysWhatIsWrongWithEachCommandLine) {
    EXPECT_EQ(ErrorOf({"--frobnicate"}), "the option --frobnicate is unknown");
    EXPECT_EQ(ErrorOf({"-x"}), "the option -x is unknown");
    EXPECT_EQ(ErrorOf({"--syslog=yes"}), "the option --syslog takes no value");
    EXPECT_EQ(ErrorOf({"--listen"}), "the option --listen needs a value");
    EXPECT_EQ(ErrorOf({"--conf"}), "the option --config needs a value");
    EXPECT_EQ(ErrorOf({"--lis", "udp:161"}), "the option --lis is ambiguous: it may mean --listen, --list-users");
    EXPECT_EQ(ErrorOf({"--user", ""}), "--user needs a value that is not empty");
    EXPECT_EQ(ErrorOf({"--create-user", ""}), "--create-user needs a value that is not empty");
    EXPECT_EQ(ErrorOf({"--listen", ""}), "--listen needs a value that is not empty");
    EXPECT_EQ(ErrorOf({"udp:161"}), "unexpected argument \"udp:161\"");
    EXPECT_EQ(ErrorOf({"--log-level", "loud"}), "--log-level needs error, warning, info or debug, not \"loud\"");
}

TEST(CvtagentdOptions, NamesTheFirstWordThatIsWrong) {
    EXPECT_EQ(ErrorOf({"foo", "--bogus"}), "unexpected argument \"foo\"");
    EXPECT_EQ(ErrorOf({"--bogus", "foo"}), "the option --bogus is unknown");
}

TEST(CvtagentdOptions, ActionsOtherThanServingAcceptFewOptions) {
    EXPECT_EQ(ErrorOf({"--create-user", "bob", "--check-config", "F"}),
              "--check-config can be combined only with --state-dir");
    EXPECT_EQ(ErrorOf({"--check-config", "F", "--create-user", "bob"}),
              "--check-config can be combined only with --state-dir");
    EXPECT_EQ(ErrorOf({"--check-config", "F", "--listen", "udp:161"}),
              "--check-config can be combined only with --state-dir");
    EXPECT_EQ(ErrorOf({"--listen", "udp:161", "--create-user", "bob"}),
              "--create-user can be combined only with --config and --state-dir");
    EXPECT_EQ(ErrorOf({"--list-users", "--delete-user", "bob"}),
              "--delete-user can be combined only with --config and --state-dir");
    EXPECT_EQ(ErrorOf({"--delete-user", ""}), "--delete-user needs a value that is not empty");
    EXPECT_EQ(ErrorOf({"--log-level", "debug", "--check-config", "F"}), "");
}

TEST(CvtagentdOptions, AcceptsOnlyAWholeNumberOfSecondsAsTimeout) {
    for (const char* const text : {"", "0", "-1", "5s", " 5", "1.5", "86401", "99999999999999999999"}) {
        EXPECT_EQ(ErrorOf({"--timeout", text}),
                  "--timeout needs a number of seconds from 1 to 86400, not \"" + std::string(text) + "\"");
    }
    EXPECT_EQ(Parse({"--timeout", "86400"}).timeoutSeconds, 86400U);
}

TEST(CvtagentdOptions, TheAddressOfAMasterIsOptional) {
    EXPECT_FALSE(Parse({}).subagent);
    EXPECT_TRUE(Parse({"--agentx"}).subagent);
    EXPECT_EQ(Parse({"--agentx"}).master, "");
    EXPECT_TRUE(Parse({"--agentx=tcp:127.0.0.1:705"}).subagent);
    EXPECT_EQ(Parse({"--agentx=tcp:127.0.0.1:705"}).master, "tcp:127.0.0.1:705");
    EXPECT_EQ(ErrorOf({"--agentx="}), "--agentx= needs a value that is not empty");
}

TEST(CvtagentdOptions, ASubagentHasNoListeners) {
    const std::string error = "--listen and --agentx exclude each other: with --agentx the master listens";
    EXPECT_EQ(ErrorOf({"--agentx", "--listen", "udp:1161"}), error);
    EXPECT_EQ(ErrorOf({"--listen", "udp:1161", "--agentx"}), error);
}

TEST(CvtagentdOptions, HelpNamesEveryOption) {
    const std::string help = Options::Help();
    for (const char* const option :
         {"--module", "--listen", "--agentx", "--config", "--state-dir", "--user", "--timeout", "--log-level",
          "--syslog", "--version", "--help", "--check-config", "--create-user"}) {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}

}  // namespace
}  // namespace cvtagentd
