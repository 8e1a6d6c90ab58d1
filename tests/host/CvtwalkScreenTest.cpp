// cvtwalk --top and --watch in a real terminal: tmux runs them, and its screen is captured.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/ProgramRun.h"
#include "tests/support/ScratchFolder.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kProgram = std::string(CVHOST_BUILD_BIN_DIR) + "/cvtwalk";
const std::string kFirst = std::string(CVHOST_BUILD_LIB_DIR) + "/libCVHost.so.1";
constexpr const char* kTmux = "/usr/bin/tmux";

/// A terminal for one test.
class CvtwalkScreen : public testing::Test {
protected:
    void SetUp() override {
        if (::access(kTmux, X_OK) != 0) {
            GTEST_SKIP() << "there is no tmux here to be the terminal";
        }
        if (::access(kFirst.c_str(), R_OK) != 0) {
            GTEST_SKIP() << "there is no " << kFirst;
        }
        if (WasBuiltWithoutNcurses()) {
            GTEST_SKIP() << "cvtwalk was built without ncurses";
        }
    }
    void TearDown() override {
        if (m_open) {
            Tmux({"kill-server"});
        }
    }

    /// Runs the shell command in a terminal of that size, and finally prints its exit status on the screen.
    void Open(const std::string& command, int width = 80, int height = 24, const std::string& locale = "C.UTF-8") {
        m_open = true;
        ++m_terminals;
        const std::string whole = "trap : INT; " + command + "; echo \"status $?.\"; exec sleep 1000";
        const ProgramRun run =
            ProgramRun::Of({kTmux, "-u", "-S", Socket(), "-f", "/dev/null", "new-session", "-d", "-x",
                            std::to_string(width), "-y", std::to_string(height), "/bin/sh", "-c", whole},
                           {{"LC_ALL", locale}, {"TMUX", ""}});
        ASSERT_EQ(run.status, 0) << run.err;
    }
    std::string Top(const std::string& arguments = {}) const {
        return kProgram + " --module " + kFirst + " --top --interval 1 " + arguments;
    }
    void Keys(const std::vector<std::string>& keys) {
        std::vector<std::string> arguments{"send-keys"};
        arguments.insert(arguments.end(), keys.begin(), keys.end());
        Tmux(arguments);
    }
    void Resize(int width, int height) {
        Tmux({"resize-window", "-x", std::to_string(width), "-y", std::to_string(height)});
    }
    /// Includes the escape sequences of attributes if wanted.
    std::string Captured(bool attributes = false) {
        return attributes ? Tmux({"capture-pane", "-p", "-e"}) : Tmux({"capture-pane", "-p"});
    }
    /// The first screen that satisfies the condition, or the last one after a minute.
    std::string Await(const std::function<bool(const std::string&)>& condition) {
        std::string screen;
        for (int i = 0; i < 600; ++i) {
            screen = Captured();
            if (condition(screen)) {
                return screen;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        ADD_FAILURE() << "the screen never got there:\n" << screen;
        return screen;
    }
    std::string AwaitText(const std::string& part) {
        return Await([&](const std::string& screen) { return screen.find(part) != std::string::npos; });
    }

    const ScratchFolder m_folder;

private:
    static bool WasBuiltWithoutNcurses() {
        return ProgramRun::Of({kProgram, "--top"}).err.find("built without ncurses") != std::string::npos;
    }
    std::string Tmux(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {kTmux, "-S", Socket()});
        return ProgramRun::Of(arguments, {{"LC_ALL", "C.UTF-8"}}).out;
    }

    /// Each terminal has a server of its own, so that one that ends and one that starts do not interfere.
    std::string Socket() const { return m_folder / ("socket" + std::to_string(m_terminals)); }

    bool m_open = false;
    int m_terminals = 0;
};

TEST_F(CvtwalkScreen, ShowsTheHostTakesKeysAndLeavesTheTerminalAsItWas) {
    Open("echo before; " + Top());
    const std::string screen = AwaitText("VIRT MiB");
    EXPECT_THAT(screen, AllOf(HasSubstr("cvtwalk  up "), HasSubstr("memory with cache  "),
                              HasSubstr(" processes, read "), HasSubstr("? help   q quit"), Not(HasSubstr("before"))));
    Keys({"?"});
    EXPECT_THAT(AwaitText("Any key goes back"), HasSubstr("address space"));
    Keys({"x"});
    AwaitText("VIRT MiB");
    Keys({"n"});
    AwaitText("NAME\u25BC");
    Keys({"Space"});
    AwaitText("PAUSED");
    Keys({"q"});
    EXPECT_THAT(AwaitText("status 0."), HasSubstr("before\n"));
}

TEST_F(CvtwalkScreen, FiltersWhileItIsTyped) {
    Open("sh -c ': needle; sleep 900' & " + Top());
    AwaitText("VIRT MiB");
    Keys({"/"});
    Keys({"-l", "cvtwalk"});
    const std::string screen = Await([](const std::string& text) {
        return text.find("/cvtwalk_") != std::string::npos && text.find(" of ") != std::string::npos;
    });
    EXPECT_THAT(screen, AllOf(HasSubstr("  --module "), Not(HasSubstr("needle"))));
    Keys({"Enter"});
    AwaitText("filter: cvtwalk");
    Keys({"Escape"});
    AwaitText("sort   / filter");
}

TEST_F(CvtwalkScreen, FollowsTheSizeOfTheTerminal) {
    Open(Top());
    AwaitText("VIRT MiB");
    Resize(300, 100);
    const std::string large = Await([](const std::string& screen) {
        return std::count(screen.begin(), screen.end(), '\n') >= 99 && screen.rfind("q quit") != std::string::npos &&
               std::count(screen.begin() + static_cast<std::ptrdiff_t>(screen.rfind("q quit")), screen.end(), '\n') <=
                   1;
    });
    EXPECT_THAT(large, HasSubstr("ARGUMENTS"));
    Resize(80, 24);
    Await([](const std::string& screen) {
        return std::count(screen.begin(), screen.end(), '\n') <= 24 && screen.find("q quit") != std::string::npos;
    });
    Resize(20, 5);
    AwaitText("too small: 80 x 24");
    Resize(80, 24);
    AwaitText("q quit");
}

TEST_F(CvtwalkScreen, MeasuresTheLoadAndNeverShowsZeroInItsPlace) {
    Open(Top());
    EXPECT_THAT(AwaitText("VIRT MiB"), HasSubstr("CPU  1 not measured yet"));
    AwaitText("since boot");
}

TEST_F(CvtwalkScreen, WritesAsciiInTheCLocaleAndNoColourWhereNobodyWantsAny) {
    Open("export LC_ALL=C NO_COLOR=1; " + Top());
    const std::string screen = AwaitText("VIRT MiB");
    for (const char c : screen) {
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << screen;
    }
    EXPECT_THAT(screen, HasSubstr("##"));
    EXPECT_THAT(Captured(true), Not(testing::ContainsRegex("\x1B\\[3[0-7]m"))) << "39 is the terminal's own colour";
}

TEST_F(CvtwalkScreen, HasColoursWhereTheTerminalHasThem) {
    Open(Top());
    AwaitText("VIRT MiB");
    EXPECT_THAT(Captured(true), HasSubstr("\x1B[32m"));
}

TEST_F(CvtwalkScreen, ShowsAProcessOfAHostileNameWithoutHarm) {
    const std::string evil = m_folder / "\x1B]0;owned\x07\x1B[2Jx";
    ASSERT_EQ(::symlink("/bin/sleep", evil.c_str()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(evil.c_str(), evil.c_str(), "900", nullptr);
        ::_exit(127);
    }
    Open(Top());
    AwaitText("VIRT MiB");
    Keys({"/"});
    Keys({"-l", std::to_string(child)});
    const std::string screen = AwaitText("1 of ");
    EXPECT_THAT(screen, HasSubstr(std::to_string(child))) << "the screen was not wiped";
    EXPECT_THAT(screen, AllOf(HasSubstr("cvtwalk  up "), HasSubstr("Enter keeps"), Not(HasSubstr("owned"))));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST_F(CvtwalkScreen, EndsWellWhenItIsTerminated) {
    Open("sh -c 'echo $$ > " + m_folder / "pid" + "; exec " + Top() + "'");
    AwaitText("VIRT MiB");
    ProgramRun::Of({"/bin/sh", "-c", "kill -TERM $(cat " + m_folder / "pid" + ")"});
    EXPECT_THAT(AwaitText("status 0."), HasSubstr("status 0."));
}

TEST_F(CvtwalkScreen, WatchesATableInItsPlace) {
    Open(kProgram + " --module " + kFirst + " --watch 1 hrStorageTable", 80, 24);
    const std::string first = AwaitText("every 1 s; Ctrl-C ends");
    EXPECT_THAT(first, HasSubstr("Physical Memory"));
    const std::string heading = first.substr(0, first.find(','));
    Await([&](const std::string& screen) { return screen.find(heading) == std::string::npos; });
    Keys({"C-c"});
    const std::string last = AwaitText("status 0.");
    EXPECT_EQ(last.find("hrStorageTable"), last.rfind("hrStorageTable")) << "drawn over what was there:\n" << last;
}

TEST_F(CvtwalkScreen, PrintsTablesThatFitEightyColumnsWithoutBeingAsked) {
    for (const char* const table : {"hrStorageTable", "hrDeviceTable", "hrSWRunTable"}) {
        std::string command = kProgram;
        command.append(" --module ").append(kFirst).append(" --limit 15 ").append(table);
        Open(command, 80, 24);
        const std::string screen = AwaitText("status 0.");
        EXPECT_THAT(screen, HasSubstr("HOST-RESOURCES-MIB." + std::string(table))) << "a table, not text";
        EXPECT_EQ(screen.find("= INTEGER"), std::string::npos);
        const auto heading = screen.find("\nindex");
        ASSERT_NE(heading, std::string::npos) << screen;
        const std::string row = screen.substr(screen.find('\n', heading + 1) + 1);
        EXPECT_TRUE(row.starts_with(" ") || (row[0] >= '0' && row[0] <= '9')) << "the heading took two lines:\n"
                                                                              << screen;
        TearDown();
    }
}

TEST(CvtwalkTop, SaysInOneLineThatItWantsATerminal) {
    const ProgramRun run = ProgramRun::Of({kProgram, "--module", kFirst, "--top"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("--watch SECONDS works without\n"));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

}  // namespace
