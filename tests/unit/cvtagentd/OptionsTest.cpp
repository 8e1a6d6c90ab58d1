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

/// Expects that the command line is refused with a message of these two parts.
void ExpectRefusedAddress(const std::vector<std::string>& arguments, std::string begin, const std::string& end) {
    EXPECT_EQ(ErrorOf(arguments), begin.append(end));
}

std::string NotAPort(const std::string& port, const std::string& range) {
    std::string text = ": not a valid address; \"";
    return text.append(port).append("\" is not a port, which is a number ").append(range);
}

TEST(CvtagentdOptions, RefusesAListenerThatIsNotAnAddressOnAnyHost) {
    const std::string forms =
        ": not a valid address; write it as udp:HOST:PORT, tcp:HOST:PORT, udp6:[HOST]:PORT or unix:FILE";
    for (const std::string address :
         {"tcp:[::1", "udp6:[::1]x", "udp6:[::g]:161", "udp6:[]:161", "udp:1.2.3.4.5:161", "udp:300.0.0.1:161",
          "udp:127.0.0.1:1:1", "udp:[::1]:161", "tcp:::1", "udp:two words:161", " udp:161", "tcp:-1", "udp", "TCP6",
          "udp:", "udp:127.0.0.1:", "udp6:127.0.0.1:161"}) {
        ExpectRefusedAddress({"--listen", address}, "--listen " + address, forms);
    }
    for (const std::string port : {"99999", "65536", "-1", "snmp", "161x", "+161", "1e3"}) {
        const std::string address = "udp:127.0.0.1:" + port;
        ExpectRefusedAddress({"--listen", address}, "--listen " + address, NotAPort(port, "up to 65535"));
    }
    EXPECT_EQ(ErrorOf({"--listen", "70000"}),
              "--listen 70000: not a valid address; \"70000\" is not a port, which is a number up to 65535");
    EXPECT_EQ(ErrorOf({"--listen", "unix:"}),
              "--listen unix:: the name of a socket has 1 to 107 octets; choose another name");
    EXPECT_NE(ErrorOf({"--listen", "unix:" + std::string(108, 'x')}), "");
    EXPECT_EQ(ErrorOf({"--listen", "udp:161,tcp:161"}),
              "--listen udp:161,tcp:161: one address only; repeat --listen for each");
    EXPECT_EQ(ErrorOf({"--listen", "udp:161", "--listen", "udp:161"}), "--listen udp:161 is given twice; remove one");
}

TEST(CvtagentdOptions, AcceptsEveryFormOfAListener) {
    for (const std::string address :
         {"161", "127.0.0.1", "localhost:161", "udp:161", "udp::161", "tcp:161", "UDP:127.0.0.1:161", "udp:127.0.0.1",
          "udp6:161", "udp6:[::1]:161", "udp6:::1", "tcp6:[::1]:161", "udp6:[fe80::1%eth0]:161", "udp:host_1.example:0",
          "udp:192.0.2.1@eth0:161", "unix:socket", "/run/socket", "tlstcp:whatever", "upd:161"}) {
        EXPECT_EQ(ErrorOf({"--listen", address}), "") << address;
    }
}

TEST(CvtagentdOptions, RefusesAMasterThatIsNotAnAddressOnAnyHost) {
    for (const std::string address : {"carrier-pigeon:1:2", "localhost:705", "705", "127.0.0.1", "udp:127.0.0.1:705",
                                      "tcp:[::1", "tcp6:::1", "tcp:[::1]:705", "tcp:a b:705", "tcp:1.2.3.4.5:705"}) {
        ExpectRefusedAddress({"--agentx=" + address}, "--agentx=" + address,
                             ": not a valid address; write it as /PATH, unix:/PATH or tcp:HOST:PORT");
    }
    for (const std::string port : {"99999", "0", "x", "-1", "65536"}) {
        const std::string option = "--agentx=tcp:host:" + port;
        ExpectRefusedAddress({option}, option, NotAPort(port, "from 1 to 65535"));
    }
    EXPECT_EQ(ErrorOf({"--agentx=unix:"}),
              "--agentx=unix:: the name of a socket has 1 to 107 octets; choose another name");
    for (const std::string address : {"/var/agentx/master", "unix:/run/master", "master", "tcp:host", "tcp:705",
                                      "tcp:", "tcp:host:705", "tcp6:[::1]:705", "tcp6:[::1]"}) {
        EXPECT_EQ(ErrorOf({"--agentx=" + address}), "") << address;
    }
    EXPECT_EQ(ErrorOf({"--agentx", "tcp:host:705"}),
              "unexpected argument \"tcp:host:705\"; the address of a master follows an equals sign: "
              "--agentx=tcp:host:705");
}

TEST(CvtagentdOptions, RefusesANameThatNoUserCanHave) {
    for (const std::string& name : {std::string("two words"), std::string("quo\"te"), std::string("-r"),
                                    std::string("sharp#"), std::string("n\xC3\xA4me"), std::string(33, 'x')}) {
        EXPECT_EQ(ErrorOf({"--create-user", name}).find("the name of an SNMPv3 user has 1 to 32 letters"), 0U) << name;
    }
    EXPECT_EQ(ErrorOf({"--create-user", std::string(32, 'x')}), "");
    EXPECT_EQ(ErrorOf({"--delete-user", "two words"}), "") << "a configuration may have created it";
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
