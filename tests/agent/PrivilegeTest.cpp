// cvtagentd --user: which user it runs as, with which capabilities, and that they suffice for its modules. The host's
// clock is never set: a stand-in is mounted over `date` in the system's folders.

#include <pwd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "tests/agent/AgentTest.h"
#include "tests/agent/Manager.h"
#include "tests/agent/ProcessFiles.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

constexpr uid_t kNobody = 65534;
constexpr uid_t kDaemon = 1;
constexpr const char* kKept = "0000000402000020";         // CAP_KILL, CAP_SYS_TIME, CAP_SYSLOG
constexpr const char* kKeptToTrace = "0000000402080020";  // and CAP_SYS_PTRACE
constexpr const char* kNone = "0000000000000000";
const std::string kDate = ".1.3.6.1.2.1.25.1.2.0";
const std::string kRun = ".1.3.6.1.2.1.25.4.2.1.";

/// How the kernel shows a process whose four user numbers are the same.
std::string FourTimes(uid_t user) {
    std::ostringstream text;
    text << user << ' ' << user << ' ' << user << ' ' << user;
    return text.str();
}

/// A process of another user, in its own folder, that does nothing until it is killed.
class OthersProcess {
public:
    OthersProcess(uid_t user, const std::string& folder) : m_pid(::fork()) {
        if (m_pid == 0) {
            if (::chdir(folder.c_str()) == 0 && ::setresgid(user, user, user) == 0 &&
                ::setresuid(user, user, user) == 0) {
                ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a change of user would clear it
                for (;;) {
                    ::pause();
                }
            }
            ::_exit(1);
        }
        while (StatusOf("/proc/" + Pid())["Uid"] != FourTimes(user) && IsAlive()) {
            ::poll(nullptr, 0, 1);
        }
    }
    ~OthersProcess() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    OthersProcess(const OthersProcess&) = delete;
    OthersProcess& operator=(const OthersProcess&) = delete;

    std::string Pid() const { return std::to_string(m_pid); }
    bool IsAlive() const { return ::waitpid(m_pid, nullptr, WNOHANG) == 0; }
    int EndedBy() { return SignalThatEnds(std::exchange(m_pid, -1)); }

private:
    pid_t m_pid;
};

/// An agent that any user can start, on a host with a /dev of its own, with stand-ins for every command.
class PrivilegeTest : public AgentTest {
protected:
    void SetUp() override {
        if (::geteuid() != 0 || !MadeUpHost::IsPossible() || !HasAll()) {
            GTEST_SKIP() << "needs root with all its usual rights";
        }
        m_host = std::make_unique<MadeUpHost>();
        m_host->Empty("/dev");
        std::filesystem::permissions("/dev", std::filesystem::perms(0755));
        if (!MakeDevice("null", 3) || !MakeDevice("zero", 5) || !MakeDevice("urandom", 9)) {
            GTEST_SKIP() << "cannot make device nodes";
        }
        std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0755));
        CopyAgent();
        m_record = m_scratch.MakeFolder("record");
        std::filesystem::permissions(m_record, std::filesystem::perms(0777));
        m_foreign = m_scratch.MakeFolder("foreign");
        WriteCommand("date", "{ echo \"$*\"; /usr/bin/id -u; /bin/grep -E '^Cap(Eff|Amb)' /proc/self/status; } >" +
                                 m_record + "/date");
        WriteCommand("dmesg", "exec /bin/grep CapEff /proc/self/status");
        WriteCommand("mount", ":");
        m_config = WriteConfig(
            "createUser operator SHA-256 \"the first secret\" AES \"the second secret\"\nrwuser operator authpriv\n");
    }
    void TearDown() override {
        AgentTest::TearDown();
        m_host.reset();
    }

    void StartAs(const std::string& user, const Arguments& more = {}, const Arguments& settings = {}) {
        StartWith(Arguments{"--user", user} + more, settings);
    }
    void StartWith(const Arguments& more, const Arguments& settings = {}) {
        Start(Arguments{"--module", m_module, "--config", m_config} + more, settings);
    }
    /// Runs this agent, which must end by itself with one line that contains `text`.
    void ExpectNoStart(const Arguments& more, const std::string& text) const {
        const Outcome outcome =
            RunToEnd(m_command + WithOwn(Arguments{"--module", m_module, "--config", m_config} + more), m_scratch);
        EXPECT_EQ(outcome.status, kFaulty) << outcome.output;
        EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1) << outcome.output;
    }
    /// The options of an agent that does not start as root.
    void BecomeFirst(const Arguments& options) {
        m_command = Arguments{"/usr/bin/setpriv"} + options + m_command;
        ::chown((m_scratch / "state").c_str(), kNobody, kNobody);
    }
    Arguments Without() const {
        return {"--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all", "--bounding-set=-all"};
    }

    Outcome V3(const std::string& client, const Arguments& arguments) const {
        return Client(client, Arguments{"-v3", "-l", "authPriv", "-u", "operator", "-a", "SHA-256", "-A",
                                        "the first secret", "-x", "AES", "-X", "the second secret", Udp()} +
                                  arguments);
    }
    void ExpectAllThreads(const std::string& name, const std::string& value) {
        int threads = 0;
        for (const auto& thread :
             std::filesystem::directory_iterator("/proc/" + std::to_string(Agent().Pid()) + "/task")) {
            EXPECT_EQ(StatusOf(thread.path())[name], value) << name << " of " << thread.path();
            ++threads;
        }
        EXPECT_GE(threads, 2) << "the module's own thread must be checked, too";
    }

    static bool IsFree(int port) {
        const int udp = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        const bool free = ::bind(udp, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(udp);
        return free;
    }
    static std::string Content(const std::string& file) {
        std::ifstream in(file);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static uid_t OwnerOf(const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::lstat(file.c_str(), &status), 0) << file;
        return status.st_uid;
    }
    /// Mounts a script over the command of that name in the system's folders, the only ones in which an agent with
    /// --user finds commands.
    void WriteCommand(const std::string& name, const std::string& line) {
        std::set<std::string> folders;  // two names may mean the same folder
        for (const char* const folder : {"/usr/sbin", "/usr/bin", "/sbin", "/bin"}) {
            folders.insert(std::filesystem::canonical(folder).string());
        }
        int covered = 0;
        for (const std::string& folder : folders) {
            std::string file = folder;
            file.append("/").append(name);
            if (std::filesystem::exists(file)) {
                m_host->Cover(file, "#!/bin/sh\n" + line + "\n");
                std::filesystem::permissions(file, std::filesystem::perms(0755));
                ++covered;
            }
        }
        ASSERT_GT(covered, 0) << "this host has no " << name;
    }
    /// Writes a script that is found only through the PATH of the user who starts the agent.
    void WriteForeignCommand(const std::string& name, const std::string& line) const {
        std::filesystem::permissions(m_scratch.Write("foreign/" + name, "#!/bin/sh\n" + line + "\n"),
                                     std::filesystem::perms(0755));
    }
    /// The agent's parent hands over the capability that the agent does not keep otherwise.
    void AskForTracing() { m_command = Arguments{"/usr/bin/setpriv", "--inh-caps=+sys_ptrace"} + m_command; }

    std::string m_module;
    std::string m_config;
    std::string m_foreign;
    std::string m_record;

private:
    static bool HasAll() {
        const auto bits = std::stoull(StatusOf("/proc/self")["CapEff"], nullptr, 16);
        const auto wanted = std::stoull(kKeptToTrace, nullptr, 16);
        return (bits & wanted) == wanted;
    }
    static bool MakeDevice(const std::string& name, unsigned int minor) {
        const std::string file = "/dev/" + name;
        return ::mknod(file.c_str(), S_IFCHR, ::makedev(1, minor)) == 0 && ::chmod(file.c_str(), 0666) == 0;
    }
    /// Other users may not be able to enter the build tree.
    void CopyAgent() {
        m_scratch.MakeFolder("bin");
        m_scratch.MakeFolder("lib");
        std::filesystem::copy_file(kAgentFile, m_scratch / "bin/cvtagentd");
        std::filesystem::copy_file(CVHOST_BUILD_LIB_DIR "/libCVT.so.1", m_scratch / "lib/libCVT.so.1");
        std::filesystem::copy_file(kMainModule, m_scratch / "lib/libCVHost.so.1");
        for (const std::string command : {"mount", "dmesg", "date"}) {
            std::filesystem::copy_file("/usr/bin/" + command, m_scratch / ("bin/real-" + command));
        }
        m_command = {m_scratch / "bin/cvtagentd"};
        m_module = m_scratch / "lib/libCVHost.so.1";
    }

    std::unique_ptr<MadeUpHost> m_host;
};

TEST_F(PrivilegeTest, EveryThreadRunsAsThatUserWithOnlyThreeCapabilities) {
    StartAs("nobody");
    ExpectAllThreads("Uid", FourTimes(kNobody));
    ExpectAllThreads("Gid", FourTimes(kNobody));
    ExpectAllThreads("Groups", "65534");
    for (const char* const set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
        ExpectAllThreads(set, kKept);
    }
    ExpectAllThreads("NoNewPrivs", "1");
    EXPECT_NE(Log().find("runs as the user nobody, with CAP_KILL, CAP_SYS_TIME, CAP_SYSLOG\n"), std::string::npos)
        << Log();
    EXPECT_NE(Log().find("working folders cannot be seen (CAP_SYS_PTRACE); "
                         "that capability is kept only when it is handed over on purpose\n"),
              std::string::npos)
        << Log();
    EXPECT_EQ(Log().find("warning"), std::string::npos) << Log();
}

TEST_F(PrivilegeTest, OverVersion3TheClockIsSetByThatUserWithTheCapabilityForIt) {
    StartAs("nobody");
    EXPECT_EQ(std::filesystem::read_symlink("/dev/nul"), "/dev/null");
    const Outcome outcome = V3("snmpset", {kDate, "x", "07EA0B150D3938002B0000"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(Content(m_record + "/date"),
              "-u -s 112113572026\n65534\nCapEff:\t" + std::string(kKept) + "\nCapAmb:\t" + kKept + "\n");
    EXPECT_EQ(OwnerOf(m_record + "/date"), kNobody);
}

TEST_F(PrivilegeTest, OverVersion3AProcessOfAnotherUserDies) {
    OthersProcess victim(kDaemon, m_record);
    const OthersProcess neighbour(kDaemon, m_record);
    StartAs("nobody");
    const std::string status = kRun + "7." + victim.Pid();
    EXPECT_EQ(V3("snmpget", {status}).output, status + " = INTEGER: 2\n");
    const Outcome outcome = V3("snmpset", {status, "i", "4"});
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(victim.EndedBy(), SIGKILL);
    EXPECT_TRUE(neighbour.IsAlive());
}

TEST_F(PrivilegeTest, TheWorkingFolderOfAnotherUsersProcessIsSeenOnlyIfThatCapabilityIsHandedOver) {
    const OthersProcess other(kDaemon, m_record);
    const std::string path = kRun + "4." + other.Pid();
    StartAs("nobody");
    EXPECT_EQ(V3("snmpget", {path}).output, path + " = \"\"\n");
    ExpectCleanEnd();
    AskForTracing();
    StartAs("nobody");
    for (const char* const set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
        ExpectAllThreads(set, kKeptToTrace);
    }
    EXPECT_EQ(V3("snmpget", {path}).output, path + " = STRING: \"" + m_record + "\"\n");
    EXPECT_EQ(Log().find("on purpose"), std::string::npos) << Log();
}

TEST_F(PrivilegeTest, TheKernelRefusesEscapeRoutesToTheAgentsThreadsAndChildren) {
    auto* const page =
        static_cast<char*>(::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(page, MAP_FAILED);
    std::string("intact").copy(page, 6);
    const OthersProcess victim(0, m_record);
    const std::string program = m_scratch / "bin/TrySystemCalls";
    std::filesystem::copy_file(CVHOST_TRY_SYSTEM_CALLS, program);
    std::ostringstream command;
    command << program << " " << victim.Pid() << " " << static_cast<void*>(page) << " >" << m_record << "/calls";
    WriteCommand("dmesg", command.str());
    AskForTracing();
    StartAs("nobody");
    ExpectAllThreads("Seccomp", "2");
    std::istringstream calls(Content(m_record + "/calls"));
    int tried = 0;
    std::string name;
    for (int error = 0; calls >> name >> error; ++tried) {
        const int expected = name == "fork" ? 0 : name == "clone3" ? ENOSYS : EPERM;
        const bool allowed = (kIsSanitized && name == "ptrace") ||           // the leak check needs it
                             (name == "32-bit" && error == 1000 + SIGSEGV);  // a kernel without such programs
        EXPECT_TRUE(allowed || error == expected) << name << " returned " << error;
    }
    EXPECT_GE(tried, 21);
    EXPECT_EQ(std::string(page), "intact") << "a process that belongs to root";
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
    ::munmap(page, 4096);
}

TEST_F(PrivilegeTest, TheCommandsOfTheHostWorkUnderTheFilter) {
    std::string script = "exec >" + m_record + "/commands\n";
    script += m_scratch / "bin/real-mount | /bin/grep -c ' on /proc '\n";
    script += m_scratch / "bin/real-dmesg | /usr/bin/wc -l\n";
    script += m_scratch / "bin/real-date -u +%Y\n";
    script += "sleep 60 & kill -9 $!; wait $!; echo $?\n";
    WriteCommand("dmesg", script);
    StartAs("nobody");
    std::istringstream words(Content(m_record + "/commands"));
    int mounts = 0;
    int lines = 0;
    int year = 0;
    int status = 0;
    words >> mounts >> lines >> year >> status;
    EXPECT_GT(mounts, 0);
    EXPECT_GT(lines, 0);
    EXPECT_GT(year, 2000);
    EXPECT_EQ(status, 128 + SIGKILL);
}

TEST_F(PrivilegeTest, CommandsOfModulesAreFoundInTheSystemsFoldersAndInheritNoEnvironment) {
    for (const char* const name : {"date", "dmesg", "mount", "kill", "sh"}) {
        WriteForeignCommand(name, "echo >" + m_record + "/foreign");
    }
    WriteCommand("dmesg", "exec /usr/bin/env >" + m_record + "/environment");
    StartAs("nobody", {},
            {"PATH=" + m_foreign + ":/usr/sbin:/usr/bin:/sbin:/bin", "TZ=Europe/Oslo", "HOME=/root", "USER=root",
             "LD_LIBRARY_PATH=" + m_foreign, "SECRET=word", "ENV=" + m_foreign + "/sh", "LC_ALL=C"});
    V3("snmpset", {kDate, "x", "07EA0B150D3938002B0000"});
    EXPECT_FALSE(std::filesystem::exists(m_record + "/foreign"));
    EXPECT_TRUE(std::filesystem::exists(m_record + "/date"));
    std::set<std::string> variables;
    std::istringstream in(Content(m_record + "/environment"));
    for (std::string line; std::getline(in, line);) {
        // Variables that the shell adds, that keep the SNMP library from searching for files, and a sanitizer's.
        const std::string name = line.substr(0, line.find('='));
        if (name != "PWD" && name != "MIBS" && name != "MIBDIRS" && name != "_" && name != "OLDPWD" &&
            name != "SHLVL" && !(kIsSanitized && name.ends_with("SAN_OPTIONS"))) {
            variables.insert(line);
        }
    }
    const std::string home = ::getpwuid(kNobody)->pw_dir;
    EXPECT_EQ(variables, (std::set<std::string>{"HOME=" + home, "LOGNAME=nobody", "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                                                "TZ=Europe/Oslo", "USER=nobody"}));
}

TEST_F(PrivilegeTest, AConfigurationThatAnotherUserCanWriteIsRefused) {
    std::filesystem::permissions(m_config, std::filesystem::perms(0664));
    ExpectNoStart({"--user", "nobody"}, "users other than its owner can write to the configuration " + m_config);
    std::filesystem::permissions(m_config, std::filesystem::perms(0644));
    ::chown(m_config.c_str(), kDaemon, kDaemon);
    ExpectNoStart({"--user", "nobody"}, m_config + " belongs to the user daemon");
    ::chown((m_scratch / "state").c_str(), 0, 0);
    ExpectNoStart({}, m_config + " belongs to the user daemon");
    ::chown(m_config.c_str(), kNobody, kNobody);
    ExpectNoStart({}, m_config + " belongs to the user nobody");
    m_master = m_scratch / "master";  // root reads the configuration then
    ExpectNoStart({"--user", "nobody"}, m_config + " belongs to the user nobody");
    m_master.clear();
    StartAs("nobody");
}

TEST_F(PrivilegeTest, RootChecksTheConfigurationOfAUserAsThatUser) {
    const std::string precious = m_scratch.Write("precious", "root's\n");
    m_config = WriteConfig("[snmp] logOption f " + precious + "\nrocommunity public 127.0.0.1\n");
    ::chown(m_config.c_str(), kNobody, kNobody);
    const Outcome outcome = RunToEnd(m_command + Arguments{"--check-config", m_config}, m_scratch);
    EXPECT_NE(outcome.output.find(m_config + ": Note: belongs to the user nobody"), std::string::npos)
        << outcome.output;
    EXPECT_EQ(Content(precious), "root's\n");
}

TEST_F(PrivilegeTest, ACommandThatReadsTheKernelLogHasTheCapabilityForIt) {
    WriteCommand("dmesg", "/bin/grep -E '^(Uid|CapEff)' /proc/self/status >" + m_record + "/dmesg");
    StartAs("nobody");
    EXPECT_EQ(Content(m_record + "/dmesg"), "Uid:\t65534\t65534\t65534\t65534\nCapEff:\t" + std::string(kKept) + "\n");
}

TEST_F(PrivilegeTest, TheStateBelongsToThatUserAndSurvivesARestart) {
    StartWith({});  // as root
    ExpectCleanEnd();
    EXPECT_EQ(OwnerOf(m_scratch / "state/cvtagentd.conf"), 0U);
    for (int boots = 2; boots < 4; ++boots) {
        StartAs("nobody");
        EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
        ExpectCleanEnd();
        EXPECT_NE(Content(m_scratch / "state/cvtagentd.conf").find("engineBoots " + std::to_string(boots) + "\n"),
                  std::string::npos);
        EXPECT_EQ(OwnerOf(m_scratch / "state"), kNobody);
        for (const auto& entry : std::filesystem::directory_iterator(m_scratch / "state")) {
            EXPECT_EQ(OwnerOf(entry.path()), kNobody) << entry.path();
        }
    }
}

TEST_F(PrivilegeTest, TheAgentCanReadAUserThatRootHasAdded) {
    StartAs("nobody");
    ExpectCleanEnd();
    const Outcome outcome =
        RunToEnd(m_command + Arguments{"--create-user", "operator2", "--state-dir", m_scratch / "state"}, m_scratch, {},
                 m_scratch.Write("input", "the first secret\nthe second secret\n"));
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(OwnerOf(m_scratch / "state/cvtagentd.conf"), kNobody);
    StartAs("nobody");
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
}

TEST_F(PrivilegeTest, AFileWithASecondNameIsNotGivenAway) {
    const std::string precious = m_scratch.Write("precious", "root's\n");
    std::filesystem::create_hard_link(precious, m_scratch / "state/linked");
    std::filesystem::create_symlink(m_scratch.Write("other", "root's, too\n"), m_scratch / "state/symbolic");
    StartAs("nobody");
    EXPECT_EQ(OwnerOf(precious), 0U);
    EXPECT_EQ(OwnerOf(m_scratch / "other"), 0U);
}

TEST_F(PrivilegeTest, RootDoesNotWriteThroughALinkInTheStateFolder) {
    const std::string precious = m_scratch.Write("precious", "root's\n");
    for (const bool hard : {true, false}) {
        std::filesystem::remove(m_scratch / "state/cvtagentd.lock");
        if (hard) {
            std::filesystem::create_hard_link(precious, m_scratch / "state/cvtagentd.lock");
        } else {
            std::filesystem::create_symlink(precious, m_scratch / "state/cvtagentd.lock");
        }
        ExpectNoStart({"--user", "nobody"}, "cannot lock the state directory");
    }
    EXPECT_EQ(Content(precious), "root's\n");
}

TEST_F(PrivilegeTest, AFolderThatHoldsMoreThanStateIsNotGivenAway) {
    m_scratch.MakeFolder("state/somebody's");
    ExpectNoStart({"--user", "nobody"}, "cannot write to the state directory " + m_scratch / "state");
    EXPECT_EQ(OwnerOf(m_scratch / "state"), 0U);
}

TEST_F(PrivilegeTest, RootDoesNotObeyWhatThatUserWritesIntoTheState) {
    const std::string precious = m_scratch.Write("precious", "root's\n");
    std::filesystem::permissions(precious, std::filesystem::perms(0600));
    ::chown((m_scratch / "state").c_str(), kNobody, kNobody);
    for (const char* const name : {"state/cvtagentd.conf", "state/snmp.conf"}) {
        const std::string file = m_scratch.Write(name, "[snmp] logOption f " + precious + "\n");
        ::chown(file.c_str(), kNobody, kNobody);
        RunToEnd(m_command + WithOwn({"--user", "nobody", "--config", m_config, "--module", "/none"}), m_scratch);
        EXPECT_EQ(Content(precious), "root's\n") << name;
        RunToEnd(m_command + Arguments{"--create-user", "new", "--state-dir", m_scratch / "state"}, m_scratch, {},
                 m_scratch.Write("input", "the first secret\nthe second secret\n"));
        EXPECT_EQ(Content(precious), "root's\n") << name;
        std::filesystem::remove(file);
    }
}

TEST_F(PrivilegeTest, RootAddsAUserToAServingAgentOfThatUser) {
    StartAs("nobody");
    const Outcome create = RunToEnd(m_command + Arguments{"--create-user", "new", "--state-dir", m_scratch / "state"},
                                    m_scratch, {}, m_scratch.Write("input", "the first secret\nthe second secret\n"));
    EXPECT_EQ(create.status, 0) << create.output;
    EXPECT_NE(create.output.find("was told to reload, and has taken it in"), std::string::npos)
        << create.output << Log();
    for (const auto& entry : std::filesystem::directory_iterator(m_scratch / "state")) {
        EXPECT_EQ(OwnerOf(entry.path()), kNobody) << entry.path();
    }
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
}

TEST_F(PrivilegeTest, NoDirectiveChoosesTheUserToRunAs) {
    const std::string config = m_config;
    m_config = WriteConfig(Content(config) + "agentuser daemon\n");
    ExpectNoStart({}, "agentuser and agentgroup take effect too late: remove them, and name the user with --user");
    m_config = WriteConfig("rocommunity public 127.0.0.1\n");
    ::chown((m_scratch / "state").c_str(), kNobody, kNobody);
    ::chown(m_scratch.Write("state/cvtagentd.conf", "agentgroup disk\n").c_str(), kNobody, kNobody);
    ExpectNoStart({"--user", "nobody"}, "agentuser and agentgroup take effect too late");
}

TEST_F(PrivilegeTest, ThatUserCanOpenLowPorts) {
    std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> m_port;
    if (m_port < 2) {
        GTEST_SKIP() << "this host has no low ports";
    }
    do {
        --m_port;
    } while (m_port > 1 && !IsFree(m_port));
    StartAs("nobody");
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
    ExpectAllThreads("CapPrm", kKept);
}

TEST_F(PrivilegeTest, RootDoesNotUseAStateThatOthersControl) {
    ::chown((m_scratch / "state").c_str(), kDaemon, kDaemon);
    ExpectNoStart({}, "belongs to the user daemon; run the agent as that user (--user)");
    EXPECT_TRUE(std::filesystem::is_empty(m_scratch / "state")) << "no file of root's is left to lock its owner out";
    ::chown((m_scratch / "state").c_str(), 0, 0);
    std::filesystem::permissions(m_scratch / "state", std::filesystem::perms(0777));
    ExpectNoStart({}, "users other than root can write to the state directory");
}

TEST_F(PrivilegeTest, AFailedStartLeavesNoFileOfRootsInTheState) {
    ExpectNoStart({"--user", "nobody", "--listen", "unix:" + m_scratch / "no/where"}, "cannot listen on");
    for (const auto& entry : std::filesystem::directory_iterator(m_scratch / "state")) {
        EXPECT_EQ(OwnerOf(entry.path()), kNobody) << entry.path();
    }
}

TEST_F(PrivilegeTest, RootsFilesInThatUsersStateAreNamed) {
    BecomeFirst(Without());
    for (const char* const name : {"state/cvtagentd.conf", "state/cvtagentd.lock", "state/CVHostPersist.txt"}) {
        const std::string file = m_scratch.Write(name, "");
        std::filesystem::permissions(file, std::filesystem::perms(0600));
        ExpectNoStart({},
                      "cannot read what the user root has left in the state directory; give it to the user who "
                      "runs the agent (chown -R nobody " +
                          file + ")");
        std::filesystem::remove(file);
    }
}

TEST_F(PrivilegeTest, SighupReadsTheConfigurationAsThatUser) {
    StartAs("nobody");
    m_config = WriteConfig("rocommunity other 127.0.0.1\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(Client("snmpget", {"-v2c", "-c", "other", Udp(), kMemorySize}).status, 0);
}

TEST_F(PrivilegeTest, AConfigurationThatTheUserMayNotReadIsRefused) {
    std::filesystem::permissions(m_config, std::filesystem::perms(0600));
    ExpectNoStart({"--user", "nobody"}, "as the user nobody it cannot read the configuration " + m_config);
}

TEST_F(PrivilegeTest, WarnsWhenAnotherFileIsWhereTheClockCommandWrites) {
    std::ofstream("/dev/nul") << "somebody's\n";
    std::filesystem::permissions("/dev/nul", std::filesystem::perms(0644));
    StartAs("nobody");
    EXPECT_NE(Log().find("warning: the date command of a SET of hrSystemDate cannot run: /dev/nul"), std::string::npos)
        << Log();
    EXPECT_EQ(Content("/dev/nul"), "somebody's\n");
}

TEST_F(PrivilegeTest, TheServiceManagerIsReachedThoughOnlyRootMayConnect) {
    const std::string folder = m_scratch.MakeFolder("closed");
    std::filesystem::permissions(folder, std::filesystem::perms(0700));
    const Manager manager(folder + "/notify");
    StartAs("nobody", {}, {"NOTIFY_SOCKET=" + folder + "/notify", "WATCHDOG_USEC=100000"});
    EXPECT_NE(manager.NextThat("READY=1"), "");
    EXPECT_EQ(manager.NextThat("WATCHDOG=1"), "WATCHDOG=1");
}

TEST_F(PrivilegeTest, StartedAsThatUserItServesWhatItCanWithoutCapabilities) {
    const OthersProcess victim(kDaemon, m_record);
    BecomeFirst(Without());
    StartAs("nobody");
    ExpectAllThreads("CapEff", kNone);
    EXPECT_NE(Log().find("runs as the user nobody, without capabilities\n"), std::string::npos) << Log();
    EXPECT_NE(Log().find("other users' processes cannot be ended (CAP_KILL)"), std::string::npos) << Log();
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
    EXPECT_EQ(V3("snmpget", {kRun + "4." + victim.Pid()}).output, kRun + "4." + victim.Pid() + " = \"\"\n");
    V3("snmpset", {kRun + "7." + victim.Pid(), "i", "4"});
    EXPECT_TRUE(victim.IsAlive());
}

TEST_F(PrivilegeTest, WithSomeCapabilitiesMissingItServesAndLogsWhatCannotBeDone) {
    m_command = Arguments{"/usr/bin/setpriv", "--bounding-set=-sys_time,-syslog", "--inh-caps=-all"} + m_command;
    StartAs("nobody");
    for (const char* const set : {"CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
        ExpectAllThreads(set, "0000000000000020");
    }
    EXPECT_NE(Log().find("warning: lacks capabilities: the clock cannot be set (CAP_SYS_TIME), the kernel log"),
              std::string::npos)
        << Log();
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
}

TEST_F(PrivilegeTest, StartedAsThatUserItGivesUpWhatItNoLongerNeeds) {
    BecomeFirst({"--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all,+kill,+net_bind_service",
                 "--ambient-caps=-all,+kill,+net_bind_service"});
    StartAs("nobody");
    for (const char* const set : {"CapInh", "CapPrm", "CapEff", "CapAmb"}) {
        ExpectAllThreads(set, "0000000000000020");
    }
}

TEST_F(PrivilegeTest, StartedAsThatUserItLeavesInheritedGroups) {
    BecomeFirst(
        {"--reuid=65534", "--regid=0", "--groups=0,4", "--inh-caps=-all,+setgid", "--ambient-caps=-all,+setgid"});
    StartAs("nobody");
    ExpectAllThreads("Gid", FourTimes(kNobody));
    ExpectAllThreads("Groups", "65534");
    ExpectAllThreads("CapPrm", kNone);
}

TEST_F(PrivilegeTest, WarnsOfGroupsThatItCannotLeave) {
    BecomeFirst({"--reuid=65534", "--regid=65534", "--groups=0,65534", "--inh-caps=-all", "--bounding-set=-all"});
    StartAs("nobody");
    EXPECT_NE(Log().find("warning: the agent stays in groups that do not belong to the user nobody: 0;"),
              std::string::npos)
        << Log();
}

TEST_F(PrivilegeTest, NoCoreFileIsWrittenAndThatUsersProcessesCannotInspectIt) {
    BecomeFirst(Without());
    StartAs("nobody");
    EXPECT_EQ(OwnerOf("/proc/" + std::to_string(Agent().Pid()) + "/status"), 0U) << "the kernel shows it like this";
    EXPECT_EQ(V3("snmpget", {kMemorySize}).status, 0);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
}

TEST_F(PrivilegeTest, ThatUsersProcessesCannotInspectTheProcessThatChecksTheConfiguration) {
    BecomeFirst(Without());
    StartWith({});
    const std::string pipe = m_scratch / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ::chown(pipe.c_str(), kNobody, kNobody);
    m_config = WriteConfig("rocommunity public 127.0.0.1\nincludeFile " + pipe + "\n");
    Agent().Signal(SIGHUP);
    const pid_t child = FirstChildOf(Agent().Pid());
    ASSERT_GT(child, 0);
    const std::string status = "/proc/" + std::to_string(child) + "/status";
    for (int tries = 0; tries < 200 && OwnerOf(status) != 0; ++tries) {
        ::poll(nullptr, 0, 5);
    }
    EXPECT_EQ(OwnerOf(status), 0U) << "the kernel shows it like this";
    EXPECT_TRUE(Agent().WaitForOutput("takes longer than 5 s")) << Log();
}

TEST_F(PrivilegeTest, OnlyRootCanRunItAsAnotherUser) {
    BecomeFirst(Without());
    ExpectNoStart({"--user", "daemon"}, "only root can run the agent as the user daemon");
}

TEST_F(PrivilegeTest, AUserThatTheHostDoesNotHaveIsRefused) {
    ExpectNoStart({"--user", "no-such-user"}, "this host has no user no-such-user");
    m_config = WriteConfig(Content(m_config) + "agentuser no-such-user\n");
    ExpectNoStart({}, m_config + ": line 3: Error: User not found");
}

}  // namespace
}  // namespace agent_test
