// How lines begin: with a time stamp, with a priority for the journal, or with the name alone.

#include <sys/wait.h>

#include <ctime>
#include <thread>

#include "agent/cvtagentd/process/Log.h"
#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

class LogTest : public AgentTest {
protected:
    /// What systemd sets when it has connected standard error to the journal, here for a file.
    static std::string JournalIs(const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0) << file;
        return "JOURNAL_STREAM=" + std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }
    /// An agent whose log is the journal. The file stays the same when the agent is started.
    void StartUnderJournal(const Arguments& more = {}, const Arguments& settings = {}) {
        const std::string journal = JournalIs(m_scratch.Write("log", ""));
        Start(Arguments{"--module", kTestModule} + more, settings + Arguments{journal});
    }
    static std::vector<std::string> Lines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    std::string EndedLog() {
        Agent().Signal(SIGTERM);
        EXPECT_EQ(Agent().Wait(), 0) << Log();
        return Log();
    }
};

TEST_F(LogTest, EachLineOfAServiceBeginsWithTheLocalTime) {
    const std::time_t before = std::time(nullptr);
    Start({"--module", kTestModule}, {"TZ=ABC-05:30"});
    const std::vector<std::string> lines = Lines(EndedLog());
    ASSERT_GE(lines.size(), 4U) << Log();
    for (const std::string& line : lines) {
        EXPECT_TRUE(std::regex_search(line, std::regex(R"(^\d{4}(-\d\d){2}T\d\d(:\d\d){2}\+05:30 cvtagentd: \S)")))
            << line;
    }
    std::tm local{};
    ASSERT_NE(::strptime(lines.front().c_str(), "%Y-%m-%dT%H:%M:%S", &local), nullptr);
    const std::time_t logged = ::timegm(&local) - std::time_t{5 * 60 + 30} * 60;
    EXPECT_GE(logged, before);
    EXPECT_LE(logged, std::time(nullptr));
}

TEST_F(LogTest, TheReasonWhyAServiceDoesNotStartHasATimeStampAndOneOfACommandHasNone) {
    const std::string faulty = WriteConfig("nonsense\n");
    const Outcome service = RunAgent(WithOwn({"--config", faulty}), {"TZ=UTC"});
    EXPECT_TRUE(std::regex_search(service.output, std::regex(R"(^\d{4}\S+\+00:00 cvtagentd: \S)"))) << service.output;
    const Outcome command = RunAgent({"--check-config", faulty});
    EXPECT_TRUE(command.output.starts_with("cvtagentd: ")) << command.output;
}

TEST_F(LogTest, LinesForTheJournalHaveAPriorityInPlaceOfTimeAndName) {
    StartUnderJournal({"--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--log-level", "debug"},
                      {"NOTIFY_SOCKET=nonsense"});
    WriteConfig("nonsense\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("stays as it was")) << Log();
    const std::string log = EndedLog();
    EXPECT_EQ(log.find("cvtagentd: "), std::string::npos) << log;
    EXPECT_NE(log.find("<4>cannot reach the service manager"), std::string::npos) << log;
    EXPECT_NE(log.find("<6>version "), std::string::npos) << log;
    EXPECT_NE(log.find("<3>the configuration stays as it was"), std::string::npos) << log;
    EXPECT_TRUE(log.ends_with("<6>ended\n")) << log;
    for (const std::string& line : Lines(log)) {
        EXPECT_TRUE(std::regex_search(line, std::regex("^<[3467]>[^ ]"))) << line;
    }
}

TEST_F(LogTest, TheReasonWhyItDoesNotStartIsAnErrorInTheJournal) {
    const Arguments options = Arguments{kAgentFile} + WithOwn({"--config", m_scratch / "none"});
    const Arguments unknown = {kAgentFile, "--frobnicate"};
    const Arguments crash = {kAgentFile, "--check-config", WriteConfig("createUser me SHA\n")};
    for (const Arguments& arguments : {options, unknown, crash}) {
        const std::string journal = JournalIs(m_scratch.Write("log", ""));
        Program agent(arguments, m_scratch / "log", {journal});
        EXPECT_NE(agent.Wait(), 0);
        EXPECT_TRUE(agent.Output().starts_with("<3>")) << agent.Output();
        EXPECT_EQ(agent.Output().find("cvtagentd: "), std::string::npos) << agent.Output();
    }
}

TEST_F(LogTest, TheJournalOfAParentIsNotThisProgramsOwn) {
    const std::string other = JournalIs(m_scratch.Write("other", ""));
    for (const std::string& setting : {other, std::string("JOURNAL_STREAM="), std::string("JOURNAL_STREAM=8:1")}) {
        Start({"--module", kTestModule}, {setting});
        EXPECT_NE(Log().find(" cvtagentd: version "), std::string::npos) << Log();
        ExpectCleanEnd();
    }
}

/// The pipe takes less at once than a line is long.
TEST_F(LogTest, LinesOfSeveralThreadsDoNotMix) {
    constexpr int kThreads = 4;
    constexpr int kLinesOfEach = 30;
    constexpr std::size_t kLength = 100'000;
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const int before = ::dup(STDERR_FILENO);
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[1]);
    std::string text;
    std::thread reader([&] {
        char buffer[5000];
        for (ssize_t count = 1; count > 0;) {
            count = ::read(ends[0], buffer, sizeof buffer);
            text.append(buffer, static_cast<std::size_t>(count > 0 ? count : 0));
        }
    });
    std::vector<std::thread> writers;
    for (int number = 0; number < kThreads; ++number) {
        writers.emplace_back([number] {
            for (int line = 0; line < kLinesOfEach; ++line) {
                cvtagentd::Log::Warning(std::string(kLength, static_cast<char>('a' + number)));
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    ::dup2(before, STDERR_FILENO);
    ::close(before);
    reader.join();
    ::close(ends[0]);
    const std::vector<std::string> lines = Lines(text);
    EXPECT_EQ(lines.size(), std::size_t{kThreads} * kLinesOfEach);
    for (const std::string& line : lines) {
        const std::string start = "cvtagentd: warning: ";
        ASSERT_TRUE(line.starts_with(start)) << line.substr(0, 100);
        const std::string rest = line.substr(start.size());
        ASSERT_EQ(rest, std::string(kLength, rest.empty() ? ' ' : rest[0]));
    }
}

}  // namespace
}  // namespace agent_test
