// cvtagentd --create-user: pass phrases from the terminal or from standard input, keys in the state directory.

#include <pty.h>
#include <sys/file.h>
#include <termios.h>

#include <array>

#include "tests/agent/UserTest.h"

namespace agent_test {
namespace {

/// A terminal with --create-user running on it.
class OnTerminal {
public:
    explicit OnTerminal(Arguments arguments) {
        std::vector<char*> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        m_pid = ::forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_pid == 0) {
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
    }
    ~OnTerminal() {
        ::close(m_terminal);
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    OnTerminal(const OnTerminal&) = delete;
    OnTerminal& operator=(const OnTerminal&) = delete;

    void Type(const std::string& text) const {
        EXPECT_EQ(::write(m_terminal, text.data(), text.size()), ssize_t(text.size()));
    }

    /// Waits until it shows `text`. The program prints its prompts only after it has turned the echo off.
    bool WaitFor(const std::string& text) {
        while (m_shown.find(text, m_seen) == std::string::npos) {
            if (!ReadMore()) {
                return false;
            }
        }
        m_seen = m_shown.find(text, m_seen) + text.size();
        return true;
    }
    /// Types each pass phrase twice, as the program asks for it. The first prompt must have been waited for. Returns
    /// false when it stops asking.
    bool TypeTwice(const std::vector<std::string>& phrases) {
        for (std::size_t at = 0; at < phrases.size(); ++at) {
            if (at > 0 && !WaitFor("pass phrase: ")) {
                return false;
            }
            Type(phrases[at] + "\n");
            if (!WaitFor("repeat it: ")) {
                return false;
            }
            Type(phrases[at] + "\n");
        }
        return true;
    }
    /// Waits for the program's end, and returns its exit status.
    int End() {
        while (ReadMore()) {
        }
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    const std::string& Shown() const { return m_shown; }
    bool Echoes() const {
        termios settings{};
        return ::tcgetattr(m_terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }

private:
    bool ReadMore() {
        pollfd readable{m_terminal, POLLIN, 0};
        if (::poll(&readable, 1, 30 * 1000) == 0) {
            ADD_FAILURE() << "nothing more on the terminal after: " << m_shown;
            ::kill(m_pid, SIGKILL);
            return false;
        }
        std::array<char, 512> buffer{};
        const ssize_t count = ::read(m_terminal, buffer.data(), buffer.size());
        m_shown.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    int m_terminal = -1;
    pid_t m_pid = -1;
    std::string m_shown;
    std::size_t m_seen = 0;
};

using CreateUserTest = UserTest;

TEST_F(CreateUserTest, ANewUserReadsWithAuthenticationAndEncryptionOnceTheConfigurationAllowsIt) {
    const Outcome outcome = Create("reader", Phrases());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("rouser reader authpriv\n"), std::string::npos) << outcome.output;
    ExpectWorks("reader");
    ExpectWorks("reader");  // after a restart, too
}

TEST_F(CreateUserTest, KeepsKeysAndNoPassPhrasesInAFileForItsOwner) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const auto permissions = std::filesystem::status(m_scratch / "state/cvtagentd.conf").permissions();
    EXPECT_EQ(permissions, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_NE(Kept().find("usmUser "), std::string::npos) << Kept();
    EXPECT_EQ(Kept().find("secret"), std::string::npos) << Kept();
}

TEST_F(CreateUserTest, ASecondUserLeavesTheFirstUnchanged) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", "something else\nand yet another\n").status, 0);
    ExpectWorks("reader");
    StartFor("other");
    EXPECT_EQ(Ask("other", "something else", "and yet another").status, 0);
}

TEST_F(CreateUserTest, AUserAddedToAUsedStateDirectoryBelongsToTheSameEngine) {
    StartFor("reader");
    ExpectCleanEnd();
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ExpectWorks("reader");
}

TEST_F(CreateUserTest, KeysBelongToTheConfigurationsEngineIdentifier) {
    const std::string config = "engineID a name of its own\n";
    ASSERT_EQ(Create("reader", Phrases(), {"--config", WriteConfig(config)}).status, 0);
    Start({"--module", kTestModule, "--config", WriteConfig(config + "rouser reader authpriv\n")});
    EXPECT_EQ(Ask("reader", kAuthentication, kPrivacy).status, 0);
}

TEST_F(CreateUserTest, RefusesUnsuitablePassPhrasesAndChangesNothing) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ExpectRefused("new", "1234567\n12345678\n", "the authentication pass phrase is too short");
    ExpectRefused("new", "12345678\n1234567\n", "the privacy pass phrase is too short");
    ExpectRefused("new", "12345678\n" + std::string(257, 'x') + "\n", "the privacy pass phrase is too long");
    ExpectRefused("new", "12345678\r\n12345678\r\n", "control character");
    ExpectRefused("new", "12345678\n", "ended before the privacy pass phrase");
    ExpectRefused("new", "12345678\n12345678", "ended before the privacy pass phrase");
    ExpectRefused("new", "", "ended before the authentication pass phrase");
}

TEST_F(CreateUserTest, RefusesAUserThatAlreadyExists) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ExpectRefused("reader", "another secret\nanother secret\n", "the user reader already exists");
    const std::string config = WriteConfig("createUser known SHA-256 \"some secret\" AES\n");
    const Outcome outcome = Create("known", Phrases(), {"--config", config});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("the user known already exists"), std::string::npos) << outcome.output;
    ExpectWorks("reader");
}

TEST_F(CreateUserTest, RefusesNamesThatTheConfigurationCannotHold) {
    for (const std::string& name : {std::string("two words"), std::string("quo\"te"), std::string("-r"),
                                    std::string("sharp#"), std::string("n\xC3\xA4me"), std::string(33, 'x')}) {
        ExpectRefused(name, Phrases(), "the name of an SNMPv3 user has 1 to 32 letters", 2);
    }
    EXPECT_EQ(Create(std::string(32, 'x'), Phrases()).status, 0);
}

TEST_F(CreateUserTest, RefusesWhileAnotherCommandUsesTheStateDirectory) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const int lock = ::open((m_scratch / "state/cvtagentd.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    ExpectRefused("new", Phrases(), "is in use by another");
    ::close(lock);
    EXPECT_EQ(Create("new", Phrases()).status, 0);
}

TEST_F(CreateUserTest, WhileItAsksAnotherCommandAndAnAgentCanUseTheStateDirectory) {
    OnTerminal first(Command("reader"));
    ASSERT_TRUE(first.WaitFor("pass phrase: ")) << first.Shown();
    EXPECT_EQ(Create("other", Phrases()).status, 0);
    StartFor("reader");
    ASSERT_TRUE(first.TypeTwice({kAuthentication, kPrivacy})) << first.Shown();
    EXPECT_EQ(first.End(), 0) << first.Shown();
    EXPECT_NE(first.Shown().find("was told to reload, and has taken it in"), std::string::npos) << first.Shown();
    EXPECT_EQ(Ask("reader", kAuthentication, kPrivacy).status, 0);
}

TEST_F(CreateUserTest, WhatAnotherCommandDidWhileItAskedIsSeen) {
    for (const bool serves : {false, true}) {
        const std::string name = serves ? "served" : "reader";
        if (serves) {
            StartFor(name);
        }
        OnTerminal first(Command(name));
        ASSERT_TRUE(first.WaitFor("pass phrase: ")) << first.Shown();
        EXPECT_EQ(Create(name, "something else\nand yet another\n").status, 0);
        ASSERT_TRUE(first.TypeTwice({kAuthentication, kPrivacy})) << first.Shown();
        EXPECT_EQ(first.End(), 1) << first.Shown();
        EXPECT_NE(first.Shown().find("the user " + name + " already exists; nothing is changed"), std::string::npos)
            << first.Shown();
    }
    EXPECT_EQ(Ask("served", "something else", "and yet another").status, 0);
}

TEST_F(CreateUserTest, NobodyTypesAPassPhraseInVain) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string faulty = m_scratch.Write("faulty.conf", "rwcomunity private\n");
    const std::string creating = m_scratch.Write("creating.conf", "createUser known SHA-256 \"some secret\" AES\n");
    for (const Arguments& command :
         {Command("reader"), Command("new", {"--config", faulty}), Command("known", {"--config", creating})}) {
        OnTerminal terminal(command);
        EXPECT_NE(terminal.End(), 0) << terminal.Shown();
        EXPECT_EQ(terminal.Shown().find("pass phrase: "), std::string::npos) << terminal.Shown();
        const std::string shown = terminal.Shown();
        EXPECT_EQ(shown.find('\n'), shown.size() - 1) << shown;
    }
}

TEST_F(CreateUserTest, RefusesAFaultyConfigurationAndAMissingStateDirectory) {
    const Outcome faulty = Create("new", Phrases(), {"--config", WriteConfig("rwcomunity private\n")});
    EXPECT_EQ(faulty.status, kFaulty);
    EXPECT_NE(faulty.output.find("Unknown token: rwcomunity"), std::string::npos) << faulty.output;
    EXPECT_EQ(Create("new", Phrases(), {"--config", m_scratch / "none"}).status, kFaulty);
    EXPECT_EQ(Create("new", Phrases(), {"--state-dir", m_scratch / "none"}).status, kFaulty);
    EXPECT_EQ(Kept(), "");
}

TEST_F(CreateUserTest, OnATerminalItAsksTwiceWithoutEcho) {
    OnTerminal terminal(Command("reader"));
    for (const char* const phrase : {kAuthentication, kPrivacy}) {
        ASSERT_TRUE(terminal.WaitFor("pass phrase: ")) << terminal.Shown();
        EXPECT_FALSE(terminal.Echoes());
        terminal.Type(std::string(phrase) + "\n");
        ASSERT_TRUE(terminal.WaitFor("repeat it: ")) << terminal.Shown();
        terminal.Type(std::string(phrase) + "\n");
    }
    EXPECT_EQ(terminal.End(), 0) << terminal.Shown();
    EXPECT_EQ(terminal.Shown().find("secret"), std::string::npos) << terminal.Shown();
    ExpectWorks("reader");
}

TEST_F(CreateUserTest, OnATerminalItAsksAgainWhenTwoPassPhrasesDifferOrOneIsNotSuitable) {
    OnTerminal terminal(Command("reader"));
    ASSERT_TRUE(terminal.WaitFor("authentication pass phrase: ")) << terminal.Shown();
    terminal.Type(std::string(kAuthentication) + "\n");
    ASSERT_TRUE(terminal.WaitFor("repeat it: ")) << terminal.Shown();
    terminal.Type("the first sceret\n");
    ASSERT_TRUE(terminal.WaitFor("pass phrases differ; nothing is changed; try again")) << terminal.Shown();
    ASSERT_TRUE(terminal.WaitFor("authentication pass phrase: ")) << terminal.Shown();
    terminal.Type("short\n");
    ASSERT_TRUE(terminal.WaitFor("is too short")) << terminal.Shown();
    for (const char* const phrase : {kAuthentication, kPrivacy}) {
        ASSERT_TRUE(terminal.WaitFor("pass phrase: ")) << terminal.Shown();
        EXPECT_FALSE(terminal.Echoes());
        terminal.Type(std::string(phrase) + "\n");
        ASSERT_TRUE(terminal.WaitFor("repeat it: ")) << terminal.Shown();
        terminal.Type(std::string(phrase) + "\n");
    }
    EXPECT_EQ(terminal.End(), 0) << terminal.Shown();
    ExpectWorks("reader");
}

TEST_F(CreateUserTest, OnATerminalPassPhrasesThatDifferThriceChangeNothing) {
    OnTerminal terminal(Command("reader"));
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(terminal.WaitFor("authentication pass phrase: ")) << terminal.Shown();
        terminal.Type("the first secret\n");
        ASSERT_TRUE(terminal.WaitFor("repeat it: ")) << terminal.Shown();
        terminal.Type("the first sceret\n");
    }
    EXPECT_EQ(terminal.End(), 1);
    EXPECT_NE(terminal.Shown().find("pass phrases differ; nothing is changed"), std::string::npos) << terminal.Shown();
    EXPECT_EQ(Kept(), "");
}

TEST_F(CreateUserTest, OnATerminalAnInterruptChangesNothingAndRestoresTheEcho) {
    OnTerminal terminal(Command("reader"));
    ASSERT_TRUE(terminal.WaitFor("authentication pass phrase: ")) << terminal.Shown();
    terminal.Type("the first\x03");
    ASSERT_TRUE(terminal.WaitFor("nothing is changed")) << terminal.Shown();
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(terminal.End(), 1);
    EXPECT_EQ(Kept(), "");
}

TEST_F(CreateUserTest, ASecondAgentCannotUseAStateDirectoryUntilTheFirstHasEndedInAnyWay) {
    StartWritable();
    const Arguments other = {"--module",    kTestModule,
                             "--listen",    "udp:127.0.0.1:" + std::to_string(FreePort()),
                             "--state-dir", m_scratch / "state"};
    ExpectRefusal(other, 1, "is in use by another agent, process " + std::to_string(Agent().Pid()));
    Agent().Signal(SIGKILL);
    Agent().Wait();
    StartWritable();
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
}

}  // namespace
}  // namespace agent_test
