// cvtwalk on contrived hosts: absurd mount points, and more of them than fit a screen.

#include <gmock/gmock.h>
#include <sys/mount.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/MadeUpHost.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PseudoTerminal.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kProgram = std::string(CVHOST_BUILD_BIN_DIR) + "/cvtwalk";
const std::string kFirst = std::string(CVHOST_BUILD_LIB_DIR) + "/libCVHost.so.1";

/// Counts the characters of UTF-8 text; each takes one place here.
std::ptrdiff_t Characters(std::string_view text) {
    return std::count_if(text.begin(), text.end(),
                         [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; });
}

class CvtwalkStrangeHost : public testing::Test {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
    }
    void TearDown() override {
        for (const std::string& directory : m_mounted) {
            EXPECT_EQ(::umount2(directory.c_str(), MNT_DETACH), 0);
        }
    }
    /// Bind-mounts a directory of that name on itself, in the host's own mount table.
    void Mount(const std::string& name) {
        const std::string directory = m_host->Directory() + "/" + name;
        std::filesystem::create_directories(directory);
        ASSERT_EQ(::mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr), 0);
        m_mounted.push_back(directory);
    }
    static ProgramRun Walk(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {kProgram, "--module", kFirst});
        return ProgramRun::Of(arguments, {{"LC_ALL", "C.UTF-8"}});
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::vector<std::string> m_mounted;
};

TEST_F(CvtwalkStrangeHost, LetsNoMountPointIntoThePageOrTheMetricsUnescaped) {
    Mount("<script>alert('1')</script>");
    Mount("quote\"and");
    Mount("\x1B]0;owned\x07");
    const std::string page = Walk({"--format", "html"}).out;
    EXPECT_THAT(page,
                AllOf(HasSubstr("&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt;"), Not(HasSubstr("<script>alert"))));
    const std::string metrics = Walk({"--format", "prometheus", "hrStorageTable"}).out;
    EXPECT_THAT(metrics, HasSubstr("quote\\\"and"));
    for (const std::string& text : {page, metrics, Walk({"--format", "csv"}).out, Walk({"--format", "table"}).out}) {
        EXPECT_EQ(text.find('\x1B'), std::string::npos);
        EXPECT_EQ(text.find('\x07'), std::string::npos);
    }
}

TEST_F(CvtwalkStrangeHost, FitsLongMountPointsIntoEightyColumnsAndKeepsThemApart) {
    for (int place = 0; place < 9; ++place) {
        Mount(std::string(30, 'x') + "/srv" + std::to_string(place));
    }
    const PseudoTerminal terminal(80);
    if (!terminal.IsOpen()) {
        GTEST_SKIP() << "no pseudo terminals here";
    }
    const ProgramRun run = ProgramRun::Of(
        {"/bin/sh", "-c", "\"$0\" --module \"$1\" hrStorageTable >\"$2\"", kProgram, kFirst, terminal.File()},
        {{"LC_ALL", "C.UTF-8"}, {"COLUMNS", ""}});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string shown = terminal.Lines(12);
    EXPECT_THAT(shown, HasSubstr("x/srv8 "));
    std::string_view rest = shown;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        EXPECT_LE(Characters(line), 80) << line;
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
}

}  // namespace
