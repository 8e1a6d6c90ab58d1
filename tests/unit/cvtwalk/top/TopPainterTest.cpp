// Painted screens, compared line by line.

#include "agent/cvtwalk/top/TopPainter.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "agent/cvtwalk/text/Utf8.h"

namespace {

using cvtwalk::CellGrid;
using cvtwalk::HostState;
using cvtwalk::TopKey;
using cvtwalk::TopModel;
using cvtwalk::TopPainter;
using testing::HasSubstr;
using testing::Not;

constexpr long long kGiB = 1LL << 30;

HostState SmallHost() {
    HostState state;
    state.uptimeSeconds = 93'784;
    state.users = 1;
    state.tasks = 312;
    state.processors = {{"one", 37}, {"two", 0}};
    state.memory = HostState::Amount{"Physical Memory", 24 * kGiB, 6 * kGiB, 0.25};
    state.fileSystems = {{"/", 252 * kGiB, 21 * kGiB, 21.0 / 252},
                         {"/srv/data", 1800 * kGiB, 1710 * kGiB, 0.95},
                         {"/wrapped", std::nullopt, 5 * kGiB, std::nullopt}};
    state.withoutSize = 11;
    state.processes = {{1, "init", "--switched-root", "runnable", 168 * 1048576LL, 1473.0},
                       {812, "make", "-j8 all", "running", 9 * 1048576LL, 10.0},
                       {813, "worker", "", "invalid", std::nullopt, std::nullopt}};
    return state;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

class CvtwalkTopPainter : public testing::Test {
protected:
    void Take(HostState state, double now) {
        m_now = now;
        m_model.Take(std::move(state), now, true);
    }
    CellGrid Screen(std::size_t width, std::size_t height, bool utf8 = true) {
        const TopPainter painter(m_model, m_now);
        m_model.SetPage(painter.ProcessRows(width, height));
        CellGrid grid(width, height, utf8);
        painter.Paint(grid);
        return grid;
    }
    void Press(std::string_view characters) {
        for (const char c : characters) {
            m_model.Press({TopKey::Kind::kCharacter, static_cast<char32_t>(c)});
        }
    }

    TopModel m_model;
    double m_now = 0;
};

TEST_F(CvtwalkTopPainter, ShowsTheHostOnEightyColumns) {
    Take(SmallHost(), 0);
    HostState later = SmallHost();
    later.processes[1].childSeconds = 25;
    Take(std::move(later), 20);
    m_now = 27;
    EXPECT_EQ(
        Screen(80, 16).Text(),
        "cvtwalk  up 1 day 2:03  1 user  312 processes and threads\n"
        "CPU  1 \u2588\u2588\u2588\u2588\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591  37% \u2584\n"
        "CPU  2 \u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591   0% \u2581\n"
        "memory with cache  \u2588\u2588\u2588\u2588\u2588\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591"
        "\u2591\u2591\u2591\u2591  25%    6.0 GiB of 24.0 GiB\n"
        "/srv/data          \u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588"
        "\u2588\u2588\u2588\u2591  95%    1.7 TiB of 1.8 TiB\n"
        "/                  \u2588\u2588\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591\u2591"
        "\u2591\u2591\u2591\u2591   8%   21.0 GiB of 252.0 GiB\n"
        "3 processes, read 7 s ago, CHILD% over 20 s      +1 file system, 11 without size\n"
        "     PID  CHILD%  VIRT MiB\u25BC  STATUS       NAME             ARGUMENTS\n"
        "       1     0.0      168.0  runnable     init             --switched-root\n"
        "     812    75.0        9.0  running      make             -j8 all\n"
        "     813       -          -  invalid      worker\n"
        "\n\n\n\n"
        "c m p n s r sort   / filter   space pause   arrows scroll   ? help   q quit\n");
}

TEST_F(CvtwalkTopPainter, FitsEverySizeFromEightyByTwentyFourUp) {
    HostState state = SmallHost();
    for (int place = 0; place < 60; ++place) {
        state.processors.push_back({"more", place});
        state.fileSystems.push_back({"/mnt/" + std::string(60, 'x'), kGiB, kGiB / 2, 0.5});
        state.processes.push_back({1000U + static_cast<unsigned int>(place), std::string(70, 'n'),
                                   std::string(400, 'a'), "runnable", 1, 1.0});
    }
    Take(std::move(state), 0);
    for (const auto& [width, height] : {std::pair{80, 24}, {100, 30}, {81, 50}, {200, 24}, {300, 100}}) {
        for (const bool utf8 : {true, false}) {
            const auto columns = static_cast<std::size_t>(width);
            const std::vector<std::string> lines =
                Lines(Screen(columns, static_cast<std::size_t>(height), utf8).Text());
            ASSERT_EQ(lines.size(), static_cast<std::size_t>(height));
            for (const std::string& line : lines) {
                EXPECT_LE(cvtwalk::Utf8::Width(line), columns) << line;
            }
            const std::string whole = testing::PrintToString(lines);
            EXPECT_THAT(whole, HasSubstr("VIRT MiB"));
            EXPECT_THAT(whole, HasSubstr("nnnn")) << width << " x " << height << " leaves no room for processes";
            EXPECT_THAT(lines.back(), HasSubstr("q quit"));
        }
    }
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("more processors"));
}

TEST_F(CvtwalkTopPainter, SaysThatAScreenIsTooSmallInsteadOfDrawingHalfOfIt) {
    Take(SmallHost(), 0);
    EXPECT_EQ(Screen(30, 3).Text(), "too small: 80 x 24\n\n\n");
    EXPECT_EQ(Screen(5, 1).Text(), "too \u2026\n");
}

TEST_F(CvtwalkTopPainter, WritesNothingButAsciiWithoutUtf8) {
    HostState state = SmallHost();
    state.processes[0].name = "caf\u00E9";
    state.fileSystems[0].name = "/\u65E5\u672C";
    Take(std::move(state), 0);
    const std::string text = Screen(80, 24, false).Text();
    for (const char c : text) {
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << text;
    }
    EXPECT_THAT(text, HasSubstr("caf?"));
    EXPECT_THAT(text, HasSubstr("####--------  37%"));
    EXPECT_THAT(text, HasSubstr("VIRT MiBv"));
}

TEST_F(CvtwalkTopPainter, WritesNoControlCharacterWhateverAProcessIsCalled) {
    HostState state = SmallHost();
    state.processes[0].name = "\x1B[2J\x07";
    state.processes[0].arguments =
        "\xC2\x9B"
        "31m\r\n\t\x7F \xFF\xFE";
    state.processes[1].name = "\u202Eevil\u2069";
    state.fileSystems[0].name = "/mnt/\x1B]0;title\x07";
    Take(std::move(state), 0);
    for (const bool utf8 : {true, false}) {
        const std::string text = Screen(120, 40, utf8).Text();
        for (cvtwalk::Utf8 characters(text); !characters.AtEnd();) {
            const char32_t character = characters.Next();
            EXPECT_TRUE(character == '\n' || cvtwalk::Utf8::IsPrintable(character)) << static_cast<unsigned>(character);
        }
        EXPECT_THAT(text, HasSubstr("?[2J?"));
        EXPECT_THAT(text, HasSubstr("?evil?"));
    }
}

TEST_F(CvtwalkTopPainter, KeepsColumnsInLineForWideAndCombiningCharacters) {
    HostState state = SmallHost();
    state.processes = {{1, "\u65E5\u672C\u8A9E\u65E5\u672C\u8A9E\u65E5\u672C\u8A9E", "x", "running", 2, 0.0},
                       {2, "e\u0301e\u0301", "x", "running", 1, 0.0}};
    Take(std::move(state), 0);
    const CellGrid grid = Screen(80, 24);
    int rows = 0;
    for (std::size_t row = 0; row < grid.Height(); ++row) {
        if (grid.At(row, 29).text == "r" && grid.At(row, 30).text == "u") {
            EXPECT_EQ(grid.At(row, 59).text, "x") << grid.Text();
            ++rows;
        }
    }
    EXPECT_EQ(rows, 2);
}

TEST_F(CvtwalkTopPainter, SaysWhatIsNotMeasuredYetAndWhatIsAnAverageSinceBoot) {
    HostState state = SmallHost();
    state.processors = {{"one", std::nullopt}};
    Take(std::move(state), 0);
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("CPU  1 not measured yet\n"));
    EXPECT_THAT(Screen(80, 24).Text(), Not(HasSubstr("0%  \n")));
    Take(SmallHost(), 16);
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr(" 37% since boot\n"));
}

TEST_F(CvtwalkTopPainter, ShowsTheFilterWhileItIsTypedAndAfterwards) {
    Take(SmallHost(), 0);
    Press("/mak");
    std::string text = Screen(80, 24).Text();
    EXPECT_THAT(text, HasSubstr("\n/mak_   Enter keeps, Esc clears\n"));
    EXPECT_THAT(text, HasSubstr("1 of 3 processes"));
    EXPECT_THAT(text, Not(HasSubstr("init")));
    m_model.Press({TopKey::Kind::kEnter});
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("\nfilter: mak "));
}

TEST_F(CvtwalkTopPainter, MarksThePauseAndTheColumnThatItIsSortedBy) {
    Take(SmallHost(), 0);
    Press(" n");
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr(" PAUSED"));
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("NAME\u25BC"));
    Press("n");
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("NAME\u25B2"));
}

TEST_F(CvtwalkTopPainter, ExplainsItsFiguresOnEightyByTwentyFour) {
    Take(SmallHost(), 0);
    Press("?");
    const std::string text = Screen(80, 24).Text();
    EXPECT_THAT(text, HasSubstr("Any key goes back"));
    EXPECT_THAT(text, HasSubstr("CHILD%      processor time of children that ended"));
    EXPECT_THAT(text, Not(HasSubstr("\u2026"))) << "nothing is cut";
}

TEST_F(CvtwalkTopPainter, ShowsAModuleThatServesNoHost) {
    m_model.Take({}, 0, true);
    EXPECT_THAT(Screen(80, 24).Text(), HasSubstr("0 processes"));
}

TEST(CvtwalkTopTexts, TellTimesAndHistories) {
    EXPECT_EQ(TopPainter::Elapsed(59), "0:00");
    EXPECT_EQ(TopPainter::Elapsed(3661), "1:01");
    EXPECT_EQ(TopPainter::Elapsed(86400), "1 day 0:00");
    EXPECT_EQ(TopPainter::Elapsed(200000), "2 days 7:33");
    EXPECT_EQ(TopPainter::Sparkline({0, 50, 100, 8}, 10, false), "_=#.");
    EXPECT_EQ(TopPainter::Sparkline({0, 50, 100, 8}, 2, true), "\u2588\u2582");
}

TEST(CvtwalkCellGrid, CutsAtItsEdgesAndWritesNothingOutside) {
    CellGrid grid(5, 2, true);
    EXPECT_EQ(grid.Put(0, 3, "abc"), 2U);
    EXPECT_EQ(grid.Put(2, 0, "x"), 0U);
    EXPECT_EQ(grid.Put(0, 9, "x"), 0U);
    EXPECT_EQ(grid.Put(1, 0, "\u65E5\u672C\u8A9E"), 5U);
    EXPECT_EQ(grid.Text(), "   a\u2026\n\u65E5\u672C\u2026\n");
    grid.PutRight(0, 3, "12345");
    EXPECT_EQ(grid.Text(), "12\u2026a\u2026\n\u65E5\u672C\u2026\n");
}

}  // namespace
