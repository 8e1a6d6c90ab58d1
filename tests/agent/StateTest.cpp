// What happens to the users, the engine and its boots when the state cannot be written, is damaged, or the agent is
// killed.

#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>

#include "agent/cvtagentd/process/StateContent.h"
#include "tests/agent/UserTest.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

const std::string kMain = "cvtagentd.conf";

class StateTest : public UserTest {
protected:
    std::string State(const std::string& name) const { return m_scratch / ("state/" + name); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(State(name)); }
    void Put(const std::string& name, const std::string& content) const { m_scratch.Write("state/" + name, content); }
    void Remove(const std::string& name) const { std::filesystem::remove_all(State(name)); }

    /// The names in the state folder that belong to the library's file.
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(State(""))) {
            const std::string name = entry.path().filename();
            if (name.starts_with("cvtagentd.") && name != "cvtagentd.lock") {
                names.push_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    cvtagentd::StateContent Content() const { return cvtagentd::StateContent(Kept()); }

    /// Expects that the state is complete and has these users.
    void ExpectUsers(const std::set<std::string>& names) const {
        const cvtagentd::StateContent content = Content();
        EXPECT_EQ(content.Fault(), "");
        std::set<std::string> found;
        for (const auto& user : content.NonVolatileUsers()) {
            found.insert(user.name);
        }
        EXPECT_EQ(found, names);
    }
    /// Runs the program far enough to read the state; it stops there because `name` already exists.
    void ExpectUserIsThere(const std::string& name) const {
        const Outcome outcome = Create(name, Phrases());
        EXPECT_NE(outcome.output.find("the user " + name + " already exists"), std::string::npos) << outcome.output;
    }
    void ExpectRefusedFor(const std::string& why, const std::string& file = kMain) const {
        ExpectRefusal(WithOwn({"--module", kTestModule}), kFaulty,
                      "the state file " + State(file) + " is damaged (" + why);
    }
    /// A start, and its end.
    void StartAndEnd() {
        StartFor("reader");
        ExpectCleanEnd();
    }
};

/// On a file system of a few pages.
class FullDiskTest : public StateTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "no mount namespace on this machine";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::mount("tmpfs", State("").c_str(), "tmpfs", 0, "size=64k,mode=0700"), 0) << std::strerror(errno);
    }
    void TearDown() override {
        UserTest::TearDown();
        if (m_host != nullptr) {
            ::umount2(State("").c_str(), MNT_DETACH);
        }
    }
    void Fill() const {
        std::ofstream file(State("filler"), std::ios::binary);
        const std::string block(512, 'x');
        while (file.write(block.data(), ssize_t(block.size())).flush()) {
        }
    }
    void MakeRoom() const { Remove("filler"); }

private:
    std::unique_ptr<MadeUpHost> m_host;
};

TEST_F(FullDiskTest, NoUserIsAddedAndTheOthersStay) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    Fill();
    ExpectRefused(
        "other", Phrases(),
        "cannot store the SNMP engine's state in " + State(kMain) + ": No space left on device; make room there");
    EXPECT_EQ(Files(), std::vector{kMain});
    MakeRoom();
    EXPECT_EQ(Create("other", Phrases()).status, 0);
    ExpectUsers({"other", "reader"});
}

TEST_F(FullDiskTest, AStartThatCannotBeCountedServesNoUsersAndLosesNone) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string before = Kept();
    Fill();
    const std::string config = WriteConfig("rouser reader authpriv\n");
    for (int tries = 0; tries < 3; ++tries) {
        ExpectRefusal(WithOwn({"--module", kTestModule, "--config", config}), 1,
                      "No space left on device; make room there and start the agent again");
        EXPECT_EQ(Kept(), before);
    }
    MakeRoom();
    ExpectWorks("reader");
    EXPECT_EQ(Content().EngineId(), cvtagentd::StateContent(before).EngineId());
    EXPECT_EQ(Content().EngineBoots(), cvtagentd::StateContent(before).EngineBoots() + 1);
}

TEST_F(FullDiskTest, WithoutUsersTheAgentServesAndWarnsThatItCouldNotStoreTheState) {
    Fill();
    StartWritable();
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    EXPECT_NE(Log().find("warning: cannot store the SNMP engine's state in " + State(kMain) +
                         ": No space left on device; make room there\n"),
              std::string::npos)
        << Log();
    ExpectCleanEnd();
    EXPECT_EQ(Files(), std::vector<std::string>{});
}

TEST_F(FullDiskTest, AnUncountedStartIsCountedOnceThereIsRoom) {
    Fill();
    StartWritable();
    WriteConfig("rwcommunity private 127.0.0.1\ncreateUser late SHA-256 \"long enough\" AES\n");
    MakeRoom();
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(Get(kValues + "1.0"),
              kValues + "1.0 = INTEGER: 1\n");  // answered after what follows that line in the log
    EXPECT_EQ(Content().EngineBoots(), 1U);
    ExpectUsers({"late"});
}

TEST_F(FullDiskTest, AnEndThatCannotStoreTheStateWarnsAndLosesNothing) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    StartFor("reader");
    const std::string before = Kept();
    Fill();
    ExpectCleanEnd();
    EXPECT_NE(Log().find("warning: cannot store the SNMP engine's state in " + State(kMain) +
                         ": No space left on device; make room there"),
              std::string::npos)
        << Log();
    EXPECT_EQ(Kept(), before);
    MakeRoom();
    ExpectWorks("reader");
}

TEST_F(FullDiskTest, AnAgentThatServesIsLeftNoUserThatItCouldNotKeep) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    StartFor("reader");
    Fill();
    ExpectRefused("other", Phrases(), "No space left on device");
    EXPECT_EQ(Ask("reader", kAuthentication, kPrivacy).status, 0);
    MakeRoom();
    EXPECT_EQ(Create("other", Phrases()).status, 0);
    ExpectUsers({"other", "reader"});
}

TEST_F(FullDiskTest, AReadOnlyFileSystemIsNamedAndTheUsersStay) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string before = Kept();
    const auto remount = [&](unsigned long flags) {
        return ::mount(nullptr, State("").c_str(), nullptr, MS_REMOUNT | MS_BIND | flags, nullptr);
    };
    ASSERT_EQ(remount(MS_RDONLY), 0) << std::strerror(errno);
    ExpectRefused("other", Phrases(), "Read-only file system", kFaulty);
    ExpectRefusal(WithOwn({"--module", kTestModule}), kFaulty, "Read-only file system");
    EXPECT_EQ(Kept(), before);
    ASSERT_EQ(remount(0), 0) << std::strerror(errno);
    ExpectWorks("reader");
}

TEST_F(StateTest, AFileThatIsCutOffAnywhereIsRefusedByName) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string good = Kept();
    for (std::size_t length = 0; length < good.size(); length += length + 20 < good.size() ? 17U : 1U) {
        const std::string cut = good.substr(0, length);
        Put(kMain, cut);
        ExpectRefusedFor("");
        EXPECT_EQ(Kept(), cut);
    }
    Put(kMain, good);
    ExpectWorks("reader");
}

TEST_F(StateTest, AUserWhoseLineIsRemovedIsGoneAndTheOthersStay) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    std::string kept = Kept();
    const std::size_t place = kept.find("usmUser ", kept.find("usmUser ") + 1);
    const std::size_t length = kept.find('\n', place) + 1 - place;
    const bool isOther = kept.substr(place, length).find("\"other\"") != std::string::npos;
    kept.erase(place, length);
    Put(kMain, kept);
    StartAndEnd();
    ExpectUsers({isOther ? "reader" : "other"});
}

TEST_F(StateTest, AUserAddedToTheFileMeanwhileIsNotOverwritten) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string withOne = Kept();
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    const std::string withBoth = Kept();
    Put(kMain, withOne);
    StartFor("reader");
    Put(kMain, withBoth);
    ExpectCleanEnd();
    EXPECT_NE(Log().find("the file has the user other, which this agent has not read"), std::string::npos) << Log();
    EXPECT_EQ(Kept(), withBoth);
}

TEST_F(StateTest, SighupDoesNotReadADamagedState) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string good = Kept();
    StartFor("reader");
    Put(kMain, good.substr(0, good.size() / 2));
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("the configuration stays as it was: the state file")) << Log();
    EXPECT_EQ(Ask("reader", kAuthentication, kPrivacy).status, 0);
    ExpectCleanEnd();
    ExpectUsers({"reader"});
}

TEST_F(StateTest, AnUnknownLineInTheStateIsNotAFaultOfTheConfiguration) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    Put(kMain, "nonsense 1\n" + Kept());
    ExpectRefusal(WithOwn({"--module", kTestModule, "--config", WriteConfig("rouser reader authpriv\n")}), kFaulty,
                  "Unknown token: nonsense; that file is in the state directory");
}

TEST_F(StateTest, UsersOfEachKindSurviveARestart) {
    std::string config;
    std::set<std::string> names;
    const std::pair<const char*, std::size_t> hashes[] = {{"MD5", 16},     {"SHA", 20},     {"SHA-224", 28},
                                                          {"SHA-256", 32}, {"SHA-384", 48}, {"SHA-512", 64}};
    const std::pair<const char*, std::size_t> ciphers[] = {
        {"", 0}, {"DES", 16}, {"AES", 16}, {"AES-192", 24}, {"AES-256", 32}};
    for (const auto& [hash, octets] : hashes) {
        for (const auto& [cipher, needed] : ciphers) {
            if (needed <= octets) {
                const std::string name = std::string(hash) + "." + cipher;
                names.insert(name);
                config += "createUser " + name + " " + hash + " \"long enough\" " + cipher + "\n";
            }
        }
    }
    names.insert("two words");
    config += "createUser \"two words\"\nexactEngineID 0x4142434445\n";
    Start({"--module", kTestModule, "--config", WriteConfig(config + "rouser SHA.AES authpriv\n")});
    ExpectCleanEnd();
    EXPECT_EQ(Log().find("warning"), std::string::npos) << Log();
    EXPECT_EQ(Content().EngineId(), "ABCDE");
    ExpectUsers(names);
    Start({"--module", kTestModule, "--config", WriteConfig("rouser SHA.AES authpriv\n")});
    ExpectCleanEnd();
    EXPECT_EQ(Log().find("warning"), std::string::npos) << Log();
    ExpectUsers(names);
}

TEST_F(StateTest, TheNextStartHasTheUsersWhateverAnInterruptedWriteHasLeft) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    const std::string good = Kept();
    const std::string cut = good.substr(0, good.find("oldEngineID"));
    const std::string head = good.substr(0, good.find("usmUser"));
    const std::string none = "-";
    for (const std::string& main : {good, cut, head, std::string(), none}) {
        for (const std::string& first : {good, cut, none}) {
            for (const std::string& second : {good, std::string(), none}) {
                for (const std::string& name : Files()) {
                    Remove(name);
                }
                std::filesystem::create_directory(State("cvtagentd.new"));
                Put("cvtagentd.new/" + kMain, cut);
                const std::pair<std::string, std::string> files[] = {
                    {kMain, main}, {"cvtagentd.0.conf", first}, {"cvtagentd.1.conf", second}};
                for (const auto& [name, content] : files) {
                    if (content != none) {
                        Put(name, content);
                    }
                }
                if (main == good || first == good || second == good) {
                    ExpectUserIsThere("reader");
                    EXPECT_EQ(Kept(), good);
                    EXPECT_EQ(Files(), std::vector{kMain});
                } else if (main != none || first != none || second != none) {
                    ExpectRefusedFor("", main != none    ? kMain
                                         : first != none ? "cvtagentd.0.conf"
                                                         : "cvtagentd.1.conf");
                }
            }
        }
    }
}

TEST_F(StateTest, OfSeveralBackupsTheOneWithTheMostBootsCounts) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    std::string good = Kept();
    const std::size_t place = good.find("engineBoots ");
    const std::size_t length = good.find('\n', place) - place;
    for (const auto& [number, boots] : {std::pair("0", "7"), std::pair("1", "12"), std::pair("2", "9")}) {
        Put(std::string("cvtagentd.") + number + ".conf",
            std::string(good).replace(place, length, std::string("engineBoots ") + boots));
    }
    Put(kMain, "");
    StartAndEnd();
    EXPECT_EQ(Content().EngineBoots(), 13U);
    EXPECT_NE(Log().find("cvtagentd.1.conf, which the agent had before, took its place"), std::string::npos) << Log();
    EXPECT_EQ(Files(), std::vector{kMain});
}

bool ChangesFolder(std::uint64_t call) {
#if defined(SYS_mkdir) && defined(SYS_rename)
    if (call == SYS_mkdir || call == SYS_rename) {
        return true;
    }
#endif
    return call == SYS_mkdirat || call == SYS_renameat2;
}

/// Runs a program and kills it before its `limit`th system call after the first one that makes a directory or renames a
/// file; true when it has ended by itself before.
bool RunsToItsEndWithin(int limit, const Arguments& arguments, const std::string& input) {
    std::vector<std::string> texts = arguments;
    std::vector<char*> argv;
    for (std::string& text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        const int in = ::open(input.c_str(), O_RDONLY);
        const int out = ::open("/dev/null", O_WRONLY);
        ::dup2(in, STDIN_FILENO);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(out, STDERR_FILENO);
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    int calls = -1;  // before the first such call
    for (bool first = true; ::waitpid(child, &status, 0) == child && WIFSTOPPED(status); first = false) {
        if (first) {
            ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        }
        if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
            __ptrace_syscall_info info{};
            ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
            if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
                calls += calls >= 0 || ChangesFolder(info.entry.nr) ? 1 : 0;
                if (calls == limit) {
                    ::kill(child, SIGKILL);
                }
            }
        }
        ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    return WIFEXITED(status);
}

TEST_F(StateTest, KilledBeforeAnySystemCallWhileStoringItLosesNothing) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    const std::string good = Kept();
    const std::string input = m_scratch.Write("input", Phrases());
    int kept = 0;
    int limit = 0;
    while (!RunsToItsEndWithin(limit, Command("third"), input)) {
        const Outcome outcome = Create("reader", Phrases());
        ASSERT_NE(outcome.output.find("the user reader already exists"), std::string::npos)
            << "killed at " << limit << ": " << outcome.output;
        EXPECT_EQ(Files(), std::vector{kMain}) << "killed at " << limit;
        kept += Kept() == good ? 1 : 0;
        Put(kMain, good);
        ++limit;
    }
    EXPECT_GT(kept, 20);
    EXPECT_GT(limit, kept) << "some are killed after the new file took its place";
    ExpectUsers({"other", "reader", "third"});
}

/// The number of kills, which CVHOST_STATE_KILLS raises for a campaign.
int Kills() {
    const char* const number = std::getenv("CVHOST_STATE_KILLS");
    return number != nullptr ? std::atoi(number) : 30;
}

TEST_F(StateTest, KilledAtAnyTimeItStartsAgainWithItsUsersAndMoreBoots) {
    ASSERT_EQ(Create("reader", Phrases()).status, 0);
    ASSERT_EQ(Create("other", Phrases()).status, 0);
    const std::string engine = Content().EngineId();
    std::mt19937 random(4711);  // NOLINT(cert-msc51-cpp): because a failure must come again
    std::uniform_int_distribution<int> microseconds(0, 60000);
    std::uint32_t boots = Content().EngineBoots();
    int moments[2] = {0, 0};
    for (int number = 0; number < Kills(); ++number) {
        {
            Program agent(Arguments{kAgentFile} + WithOwn({"--module", kTestModule}), m_scratch / "killed");
            if (number % 2 == 0) {  // while it starts, or else while it ends
                ::usleep(static_cast<useconds_t>(microseconds(random)));
            } else {
                ASSERT_TRUE(agent.WaitForOutput("ready after")) << "refused after " << number << ": " << agent.Output();
                agent.Signal(SIGTERM);
                ::usleep(static_cast<useconds_t>(microseconds(random) / 2));
            }
            ++moments[agent.HasEnded() ? 1 : 0];
            agent.Signal(SIGKILL);
            agent.Wait();
            ASSERT_EQ(agent.Output().find("damaged"), std::string::npos) << agent.Output();
        }
        const cvtagentd::StateContent content = Content();
        ASSERT_EQ(content.Fault(), "") << number;
        ASSERT_EQ(content.EngineId(), engine) << number;
        ASSERT_EQ(content.NonVolatileUsers().size(), 2U) << number;
        ASSERT_GE(content.EngineBoots(), boots + (number % 2 == 0 ? 0 : 1)) << number;
        boots = content.EngineBoots();
    }
    EXPECT_GT(moments[0], 0) << "none was killed";
    std::printf("%d killed, %d had ended; engineBoots %u\n", moments[0], moments[1], boots);
    ExpectWorks("reader");
}

}  // namespace
}  // namespace agent_test
