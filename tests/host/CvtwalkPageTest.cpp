// The page of cvtwalk --format html, whole, on this machine: with hostile names, in a browser, and against an
// accessibility checker. The last two need programs that few machines have; a skipped test says why.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
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
constexpr const char* kBrowser = "/usr/bin/chromium";

/// A process whose name and arguments are markup, for the lifetime of this object.
class HostileProcess {
public:
    HostileProcess() {
        EXPECT_EQ(::symlink("/usr/bin/tail", (m_folder / "<script>x").c_str()), 0);
        m_child = ::fork();
        if (m_child == 0) {
            ::close(STDERR_FILENO);  // it reports the missing file and continues with the other
            ::execl((m_folder / "<script>x").c_str(), "tail", "-f", "/dev/null",
                    "</td><script>document.title='owned'</script><img src=x onerror=document.title='owned'>", nullptr);
            ::_exit(127);
        }
        for (int i = 0; i < 600 && Name() != "<script>x\n"; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    ~HostileProcess() {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }
    HostileProcess(const HostileProcess&) = delete;
    HostileProcess& operator=(const HostileProcess&) = delete;

private:
    std::string Name() const {
        std::ifstream file("/proc/" + std::to_string(m_child) + "/comm");
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    const ScratchFolder m_folder;
    pid_t m_child = -1;
};

std::string Page() {
    const ProgramRun run = ProgramRun::Of({kProgram, "--module", kFirst, "--format", "html"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
}

std::string Content(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

class CvtwalkPage : public testing::Test {
protected:
    void SetUp() override {
        if (::access(kFirst.c_str(), R_OK) != 0) {
            GTEST_SKIP() << "there is no " << kFirst;
        }
    }
    /// The document after the page's scripts have run.
    std::string InBrowser(const std::string& page) const {
        return ProgramRun::Of(
                   {kBrowser, "--headless=new", "--no-sandbox", "--disable-gpu", "--user-data-dir=" + m_folder / "user",
                    "--virtual-time-budget=20000", "--dump-dom", "file://" + m_folder.Write("page.html", page)},
                   {{"HOME", m_folder.Path()}})
            .out;
    }
    static std::string BrowserReason() {
        return ::access(kBrowser, X_OK) == 0 ? "" : "there is no chromium here (Debian: chromium)";
    }

    const ScratchFolder m_folder;
};

TEST_F(CvtwalkPage, ShowsAHostileProcessAsText) {
    const HostileProcess process;
    const std::string page = Page();
    EXPECT_THAT(page, HasSubstr(">&lt;script&gt;x</td>"));
    EXPECT_THAT(page, HasSubstr("/dev/null &lt;/td&gt;&lt;script&gt;document.title=&#39;owned&#39;"));
    EXPECT_THAT(page, AllOf(Not(HasSubstr("<script>x")), Not(HasSubstr("<script>document")), Not(HasSubstr("<img"))));
}

TEST_F(CvtwalkPage, RunsItsOwnScriptInABrowserAndNobodyElses) {
    if (const std::string reason = BrowserReason(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const HostileProcess process;
    const std::string document = InBrowser(Page());
    EXPECT_THAT(document, HasSubstr("<title>Host resources</title>"));
    EXPECT_THAT(document, testing::ContainsRegex("[0-9]+ of [0-9]+ shown")) << "the page's own script has not run";
    EXPECT_THAT(document, HasSubstr("<button type=\"button\">PID</button>"));
}

TEST_F(CvtwalkPage, SortsAndSearchesInABrowser) {
    if (const std::string reason = BrowserReason(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string document = InBrowser(Page() + R"(<script>
        const table = document.getElementById("processes");
        table.tHead.querySelector("button").click();
        const ids = Array.from(table.tBodies[0].rows, (row) => Number(row.cells[0].textContent));
        const falling = ids.every((id, place) => place === 0 || ids[place - 1] > id);
        const input = document.getElementById("processes-search");
        input.value = "CVTWALK";
        input.dispatchEvent(new Event("input"));
        const left = Array.from(table.tBodies[0].rows).filter((row) => !row.hidden);
        document.title = falling + " " + left.every((row) => row.textContent.toLowerCase().includes("cvtwalk")) + " " +
            (left.length > 0 && left.length < ids.length) + " " + table.tHead.rows[0].cells[0].getAttribute("aria-sort");
        </script>)");
    EXPECT_THAT(document, HasSubstr("<title>true true true descending</title>"));
}

TEST_F(CvtwalkPage, PassesACheckOfAccessibility) {
    if (const std::string reason = BrowserReason(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const char* const axe = std::getenv("CVHOST_AXE");  // NOLINT(concurrency-mt-unsafe): the environment is constant
    if (axe == nullptr) {
        GTEST_SKIP() << "CVHOST_AXE does not say where axe.min.js is: npm install --prefix DIR axe-core, then "
                        "CVHOST_AXE=DIR/node_modules/axe-core/axe.min.js";
    }
    const std::string document = InBrowser(Page() + "<script>" + Content(axe) + R"(</script><script>
        axe.run().then((result) => {
          document.title = "violations: " + result.violations.map((each) => each.id + " at " +
              each.nodes.slice(0, 3).map((node) => node.target).join(" and ")).join("; ") + " of " + result.passes.length;
        });
        </script>)");
    EXPECT_THAT(document, testing::ContainsRegex("<title>violations:  of [1-9][0-9]+</title>"))
        << document.substr(0, document.find("</title>"));
}

}  // namespace
