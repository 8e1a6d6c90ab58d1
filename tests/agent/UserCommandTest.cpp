// Users that are added, changed, deleted and listed, while the agent serves and while it does not.

#include <sys/file.h>

#include <random>

#include "agent/cvtagentd/process/StateContent.h"
#include "tests/agent/UserTest.h"

namespace agent_test {
namespace {

const std::string kNewPhrases = "quite another phrase\nand one more phrase\n";

class UserCommandTest : public UserTest {
protected:
    Outcome Run(const Arguments& command, const std::string& lines = {}) const {
        return RunToEnd(Arguments{kAgentFile} + command + Arguments{"--state-dir", m_scratch / "state"}, m_scratch, {},
                        m_scratch.Write("input", lines));
    }
    std::string List() const { return Run({"--list-users"}).output; }
    /// Expects one line with this text, and status 1.
    void ExpectRefusedCommand(const Arguments& command, const std::string& text) const {
        const Outcome outcome = Run(command, Phrases());
        EXPECT_EQ(outcome.status, 1) << outcome.output;
        EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1) << outcome.output;
    }
    void ExpectTakenIn(const Outcome& outcome) {
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        EXPECT_NE(outcome.output.find(" in " + m_scratch / "state" + "; the agent (process " +
                                      std::to_string(Agent().Pid()) + ") was told to reload, and has taken it in"),
                  std::string::npos)
            << outcome.output << Log();
        EXPECT_FALSE(std::filesystem::exists(Waiting()));
    }
    std::string Waiting() const { return m_scratch / "state/cvtagentd.users"; }
    bool MayRead(const std::string& name) const { return Ask(name, kAuthentication, kPrivacy, kImpatient).status == 0; }
    bool MayReadWithNewPhrases(const std::string& name) const {
        return Ask(name, "quite another phrase", "and one more phrase", kImpatient).status == 0;
    }
    void StartForAll() {
        Start({"--module", kTestModule, "--config",
               WriteConfig("rouser reader authpriv\nrouser other authpriv\nrouser third authpriv\n")});
    }
    void Kill() {
        Agent().Signal(SIGKILL);
        Agent().Wait();
    }
    std::set<std::string> Stored() const {
        std::set<std::string> names;
        const cvtagentd::StateContent content(Kept());
        EXPECT_EQ(content.Fault(), "");
        for (const auto& user : content.NonVolatileUsers()) {
            names.insert(user.name);
        }
        return names;
    }

    const Arguments kImpatient = {"-t", "2", "-r", "1"};
};

TEST_F(UserCommandTest, AUserAddedWhileTheAgentServesIsServedAtOnceAndAfterACrash) {
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    StartForAll();
    EXPECT_FALSE(MayRead("reader"));
    const Outcome outcome = Create("reader", Phrases());
    ExpectTakenIn(outcome);
    EXPECT_TRUE(outcome.output.ends_with("add this line to the configuration and reload: rouser reader authpriv\n"))
        << outcome.output;
    EXPECT_TRUE(MayRead("reader"));
    EXPECT_TRUE(MayRead("other"));
    Kill();
    StartForAll();
    EXPECT_TRUE(MayRead("reader"));
    EXPECT_TRUE(MayRead("other"));
}

TEST_F(UserCommandTest, TheFirstUserIsAddedWhileTheAgentServes) {
    StartForAll();
    EXPECT_NE(Log().find("nobody can get in"), std::string::npos) << Log();
    ExpectTakenIn(Create("reader", Phrases()));
    EXPECT_TRUE(MayRead("reader"));
    ExpectCleanEnd();
    EXPECT_EQ(Stored(), std::set<std::string>{"reader"});
}

TEST_F(UserCommandTest, AUserChangedWhileTheAgentServesNeedsTheNewPassPhrases) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    StartForAll();
    EXPECT_TRUE(MayRead("reader"));
    ExpectTakenIn(Run({"--change-user", "reader"}, kNewPhrases));
    for (int starts = 0; starts < 2; ++starts) {
        EXPECT_FALSE(MayRead("reader"));
        EXPECT_TRUE(MayReadWithNewPhrases("reader"));
        EXPECT_TRUE(MayRead("other"));
        Kill();
        StartForAll();
    }
}

TEST_F(UserCommandTest, AUserDeletedWhileTheAgentServesIsGoneForGood) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    StartForAll();
    ExpectTakenIn(Run({"--delete-user", "reader"}));
    EXPECT_NE(Ask("reader", kAuthentication, kPrivacy).output.find("Unknown user name"), std::string::npos);
    EXPECT_TRUE(MayRead("other"));
    ExpectCleanEnd();
    EXPECT_EQ(Log().find("warning: cannot store"), std::string::npos) << Log();
    EXPECT_EQ(Stored(), std::set<std::string>{"other"});
    StartForAll();
    EXPECT_FALSE(MayRead("reader"));
    ExpectTakenIn(Create("reader", kNewPhrases));
    EXPECT_TRUE(MayReadWithNewPhrases("reader"));
}

TEST_F(UserCommandTest, UsersAreChangedAndDeletedWhileNoAgentRuns) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    const Outcome changed = Run({"--change-user", "reader"}, kNewPhrases);
    EXPECT_EQ(changed.output, "changed the user reader (SHA-256, AES) in " + m_scratch / "state" + "\n");
    const Outcome deleted = Run({"--delete-user", "other"});
    EXPECT_EQ(deleted.output, "deleted the user other in " + m_scratch / "state" + "\n");
    StartForAll();
    EXPECT_TRUE(MayReadWithNewPhrases("reader"));
    EXPECT_FALSE(MayRead("other"));
}

TEST_F(UserCommandTest, ListsTheUsersWithTheirMethodsWhetherAnAgentRunsOrNot) {
    const std::string head = "users in " + m_scratch / "state" + ":\n";
    EXPECT_EQ(List(), head);
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const auto line = [](const std::string& name, const std::string& authentication, const std::string& privacy) {
        return name + std::string(34 - name.size(), ' ') + authentication +
               std::string(10 - authentication.size(), ' ') + privacy + std::string(8 - privacy.size(), ' ') + "\n";
    };
    EXPECT_EQ(List(), head + line("reader", "SHA-256", "AES"));
    Start({"--module", kTestModule, "--config",
           WriteConfig("rouser reader authpriv\ncreateUser old MD5 \"long enough\"\n")});
    EXPECT_EQ(List(), head + line("old", "MD5", "none") + line("reader", "SHA-256", "AES"));
    WriteConfig("rouser reader authpriv\ncreateUser new SHA-512 \"long enough\" AES\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("read the configuration ")) << Log();
    EXPECT_TRUE(MayRead("reader"));
    EXPECT_NE(List().find(line("new", "SHA-512", "AES")), std::string::npos) << List();
}

TEST_F(UserCommandTest, AChangeWaitsForAnAgentThatCannotTakeItInAtOnce) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    StartForAll();
    Agent().Signal(SIGSTOP);
    const Outcome outcome = Create("other", Phrases());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("was told to reload, and has not taken it in yet: see its log"), std::string::npos)
        << outcome.output;
    std::ifstream in(Waiting());
    const std::string waiting{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(waiting.find("usmUser "), std::string::npos) << waiting;
    EXPECT_EQ(waiting.find("secret"), std::string::npos) << "keys, no pass phrases";
    EXPECT_EQ(std::filesystem::status(Waiting()).permissions(), std::filesystem::perms(0600));
    EXPECT_NE(List().find("SHA-256   AES       added at the agent's next reload\n"), std::string::npos) << List();
    EXPECT_EQ(Run({"--delete-user", "reader"}).status, 0);
    EXPECT_NE(List().find("AES       deleted at the agent's next reload\n"), std::string::npos) << List();
    ExpectRefusedCommand({"--delete-user", "reader"}, "there is no user reader");
    ExpectRefusedCommand({"--create-user", "other"}, "the user other already exists");
    Agent().Signal(SIGCONT);
    EXPECT_TRUE(Agent().WaitForOutput("took in the keys of the user other")) << Log();
    EXPECT_TRUE(MayRead("other"));
    EXPECT_FALSE(MayRead("reader"));
    EXPECT_EQ(Stored(), std::set<std::string>{"other"});
}

TEST_F(UserCommandTest, AChangeThatWaitsIsTakenInByTheNextStart) {
    for (const bool byCommand : {false, true}) {
        const std::string name = byCommand ? "third" : "other";
        StartForAll();
        Agent().Signal(SIGSTOP);
        EXPECT_EQ(Create(name, Phrases()).status, 0);
        Kill();
        if (byCommand) {  // a command that changes the state itself takes it in as well
            ASSERT_EQ(Create("reader", Phrases()).status, 0);
            EXPECT_EQ(Stored(), (std::set<std::string>{"other", "reader", "third"}));
        }
        StartForAll();
        EXPECT_TRUE(MayRead(name));
        EXPECT_FALSE(std::filesystem::exists(Waiting()));
        ExpectCleanEnd();
    }
}

TEST_F(UserCommandTest, CommandsThatRunAtTheSameTimeLoseNoChange) {
    StartForAll();
    std::vector<std::unique_ptr<Program>> commands;
    std::set<std::string> names;
    const std::string input = m_scratch.Write("input", Phrases());
    for (int number = 0; number < 6; ++number) {
        const std::string name = "user" + std::to_string(number);
        names.insert(name);
        commands.push_back(std::make_unique<Program>(Command(name), m_scratch / name, Arguments{}, input));
    }
    for (const auto& command : commands) {
        EXPECT_EQ(command->Wait(), 0) << command->Output();
        EXPECT_NE(command->Output().find("has taken it in"), std::string::npos) << command->Output();
    }
    EXPECT_EQ(Stored(), names);
    ExpectCleanEnd();
    EXPECT_EQ(Stored(), names);
}

TEST_F(UserCommandTest, AnAgentThatIsKilledWhileItTakesInAChangeLosesNone) {
    std::mt19937 random(815);  // NOLINT(cert-msc51-cpp): because a failure must come again
    std::uniform_int_distribution<int> microseconds(0, 30000);
    std::set<std::string> names;
    for (int number = 0; number < 10; ++number) {
        StartForAll();
        const std::string name = "user" + std::to_string(number);
        names.insert(name);
        Program command(Command(name), m_scratch / "command", {}, m_scratch.Write("input", Phrases()));
        while (!std::filesystem::exists(Waiting()) && !command.HasEnded()) {
            ::poll(nullptr, 0, 1);
        }
        ::usleep(static_cast<useconds_t>(microseconds(random)));
        Kill();
        EXPECT_EQ(command.Wait(), 0) << command.Output();
        StartForAll();
        EXPECT_EQ(Stored(), names);
        EXPECT_FALSE(std::filesystem::exists(Waiting()));
        ExpectCleanEnd();
    }
}

TEST_F(UserCommandTest, RefusesUsersThatDoNotExistOrExistAlready) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    for (const bool serves : {false, true}) {
        if (serves) {
            StartForAll();
        }
        ExpectRefusedCommand({"--create-user", "reader"}, "the user reader already exists; nothing is changed");
        ExpectRefusedCommand({"--change-user", "nobody"}, "there is no user nobody in " + m_scratch / "state");
        ExpectRefusedCommand({"--delete-user", "nobody"}, "there is no user nobody in " + m_scratch / "state");
        EXPECT_EQ(Stored(), std::set<std::string>{"reader"});
        EXPECT_FALSE(std::filesystem::exists(Waiting()));
    }
}

TEST_F(UserCommandTest, AUserThatTheConfigurationCreatesIsChangedThere) {
    const std::string config = WriteConfig("rouser reader authpriv\ncreateUser reader SHA-256 \"long enough\" AES\n");
    Start({"--module", kTestModule, "--config", config});
    ExpectRefusedCommand({"--delete-user", "reader", "--config", config},
                         config + ": line 2: creates the user reader; change or remove that line instead");
    EXPECT_EQ(Run({"--delete-user", "reader"}).status, 0);
    EXPECT_TRUE(Agent().WaitForOutput("warning: the configuration has created the deleted user reader again")) << Log();
}

TEST_F(UserCommandTest, ASubagentHasNoUsers) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    m_master = m_scratch / "no-master";
    Start({"--module", kTestModule});
    ExpectRefusedCommand({"--create-user", "other"}, "serves through a master, which has users of its own");
    EXPECT_EQ(Stored(), std::set<std::string>{"reader"});
}

TEST_F(UserCommandTest, ChangesThatAreDamagedOrThatOthersCanWriteAreNotTakenIn) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    StartForAll();
    Agent().Signal(SIGSTOP);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    Kill();
    std::ifstream in(Waiting(), std::ios::binary);
    const std::string good{std::istreambuf_iterator<char>(in), {}};
    const Arguments start = WithOwn({"--module", kTestModule});
    const auto put = [&](const std::string& content, int mode) {
        m_scratch.Write("state/cvtagentd.users", content);
        std::filesystem::permissions(Waiting(), std::filesystem::perms(mode));
    };
    for (std::size_t length = 0; length < good.size(); length += length + 30 < good.size() ? 23U : 1U) {
        put(good.substr(0, length), 0600);
        ExpectRefusal(start, kFaulty, "the changes of users in " + Waiting() + " are damaged");
    }
    put(good, 0620);
    ExpectRefusal(start, kFaulty, "users other than its owner can write to the changes of users in " + Waiting());
    std::filesystem::remove(Waiting());
    StartForAll();
    put(good.substr(0, good.size() / 2), 0600);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("error: the users stay as they were: the changes of users in")) << Log();
    EXPECT_TRUE(Agent().WaitForOutput("read the configuration")) << Log();
    EXPECT_TRUE(MayRead("reader"));
    put(good, 0600);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("took in the keys of the user other")) << Log();
    EXPECT_TRUE(MayRead("other"));
}

TEST_F(UserCommandTest, KeysForAnotherEngineAreDroppedWithAWarning) {
    StartForAll();
    Agent().Signal(SIGSTOP);
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    Kill();
    Start({"--module", kTestModule, "--config", WriteConfig("engineID another one\nrouser reader authpriv\n")});
    EXPECT_NE(Log().find("warning: the engine identifier has changed since the keys of the user reader were made"),
              std::string::npos)
        << Log();
    EXPECT_FALSE(MayRead("reader"));
    ExpectTakenIn(Create("reader", Phrases()));
    EXPECT_TRUE(MayRead("reader"));
}

TEST_F(UserCommandTest, ACommandThatDropsKeysForAnotherEngineSaysSo) {
    StartForAll();
    Agent().Signal(SIGSTOP);
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    Kill();
    const std::string config = WriteConfig("engineID another one\n");
    const Outcome outcome = Create("other", Phrases(), {"--config", config});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("cvtagentd: warning: the engine identifier has changed since the keys of the user "
                                  "reader were made, so they were dropped; repeat the command"),
              std::string::npos)
        << outcome.output;
    EXPECT_FALSE(std::filesystem::exists(Waiting()));
    EXPECT_EQ(Stored(), std::set<std::string>{"other"});
}

TEST_F(UserCommandTest, ADeletedUserIsGoneEvenWhenTheEngineIdentifierHasChangedSince) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    StartForAll();
    Agent().Signal(SIGSTOP);
    ASSERT_EQ(Run({"--delete-user", "reader"}).status, 0);
    Kill();
    Start({"--module", kTestModule, "--config", WriteConfig("engineID another one\nrouser other authpriv\n")});
    EXPECT_NE(Log().find("deleted the user reader"), std::string::npos) << Log();
    ExpectCleanEnd();
    EXPECT_EQ(Stored(), std::set<std::string>{"other"});
}

/// Other users may open a directory that is not closed to them, and lock it.
TEST_F(UserCommandTest, ALockOnTheDirectoryItselfHoldsUpNoChange) {
    std::filesystem::permissions(m_scratch / "state", std::filesystem::perms(0755));
    StartForAll();
    const int folder = ::open((m_scratch / "state").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(folder, LOCK_EX | LOCK_NB), 0);
    ExpectTakenIn(Create("reader", Phrases()));
    ::close(folder);
    EXPECT_EQ(std::filesystem::status(m_scratch / "state/cvtagentd.users.lock").permissions(),
              std::filesystem::perms(0600));
}

TEST_F(UserCommandTest, ALockThatOthersCouldHoldIsRefused) {
    StartForAll();
    const std::string lock = m_scratch / "state/cvtagentd.users.lock";
    const auto expectRefused = [&](const char* what) {
        const Outcome outcome = Create("reader", Phrases());
        EXPECT_EQ(outcome.status, kFaulty) << what;
        EXPECT_EQ(outcome.output, "cvtagentd: other users may be able to lock " + lock +
                                      ", which locks the changes of users; remove that file\n")
            << what;
        std::filesystem::remove(lock);
    };
    m_scratch.Write("state/cvtagentd.users.lock", "");
    std::filesystem::permissions(lock, std::filesystem::perms(0604));
    expectRefused("readable by everybody");
    std::filesystem::create_symlink(m_scratch.Write("elsewhere", ""), lock);
    expectRefused("a symbolic link");
    std::filesystem::permissions(m_scratch.Write("second", ""), std::filesystem::perms(0600));
    std::filesystem::create_hard_link(m_scratch / "second", lock);
    expectRefused("a second name");
    std::filesystem::create_directory(lock);
    EXPECT_EQ(Create("reader", Phrases()).status, kFaulty) << "a directory";
    std::filesystem::remove(lock);
    if (::geteuid() == 0) {
        m_scratch.Write("state/cvtagentd.users.lock", "");
        std::filesystem::permissions(lock, std::filesystem::perms(0600));
        ASSERT_EQ(::chown(lock.c_str(), 65534, 65534), 0);
        expectRefused("another user's");
    }
    ExpectTakenIn(Create("reader", Phrases()));
}

TEST_F(UserCommandTest, AChangeWaitsForTheProcessThatIsChangingUsers) {
    StartForAll();
    ExpectTakenIn(Create("reader", Phrases()));
    const int lock = ::open((m_scratch / "state/cvtagentd.users.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0) << "once the agent has released it";
    ExpectRefusedCommand({"--create-user", "other"}, "another process is changing them; try again");
    ::close(lock);
    ExpectTakenIn(Create("other", Phrases()));
}

TEST_F(UserCommandTest, WithoutADirectoryTheyUseTheDefaultOneAndNameIt) {
    const std::string folder = m_scratch / "by/default";
    const Arguments settings = {"STATE_DIRECTORY=" + folder};
    const std::string input = m_scratch.Write("input", Phrases());
    EXPECT_EQ(RunToEnd({kAgentFile, "--list-users"}, m_scratch, settings).status, kFaulty);
    EXPECT_FALSE(std::filesystem::exists(folder)) << "looking makes no folder";
    const Outcome create = RunToEnd({kAgentFile, "--create-user", "reader"}, m_scratch, settings, input);
    EXPECT_EQ(create.status, 0);
    EXPECT_NE(create.output.find("added the user reader (SHA-256, AES) in " + folder + ";"), std::string::npos)
        << create.output;
    const Outcome list = RunToEnd({kAgentFile, "--list-users"}, m_scratch, settings);
    EXPECT_TRUE(list.output.starts_with("users in " + folder + ":\nreader ")) << list.output;
}

}  // namespace
}  // namespace agent_test
