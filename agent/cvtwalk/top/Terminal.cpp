#include "agent/cvtwalk/top/Terminal.h"

#ifdef CVHOST_HAS_NCURSES

#include <fcntl.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): the C header has LC_CTYPE for setlocale
#include <unistd.h>

#define NCURSES_WIDECHAR 1
#define NCURSES_NOMACROS 1
#include <curses.h>

#include <cstdio>
#include <cstdlib>

namespace cvtwalk {
namespace {

using Style = CellGrid::Style;

enum Pair : short { kGreen = 1, kYellow, kRed };

/// Whether to use colours: the terminal has them, and NO_COLOR does not disable them (https://no-color.org).
bool WantsColours() {
    const char* const none = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe): the environment is constant
    return ::has_colors() && (none == nullptr || *none == '\0');
}

std::optional<TopKey> KeyOf(int code) {
    using Kind = TopKey::Kind;
    switch (code) {
        case KEY_UP: return TopKey{Kind::kUp};
        case KEY_DOWN: return TopKey{Kind::kDown};
        case KEY_PPAGE: return TopKey{Kind::kPageUp};
        case KEY_NPAGE: return TopKey{Kind::kPageDown};
        case KEY_HOME: return TopKey{Kind::kHome};
        case KEY_END: return TopKey{Kind::kEnd};
        case KEY_ENTER: return TopKey{Kind::kEnter};
        case KEY_BACKSPACE: return TopKey{Kind::kBackspace};
        case KEY_RESIZE: return TopKey{Kind::kResized};
        default: return std::nullopt;
    }
}

TopKey KeyOfCharacter(wint_t character) {
    using Kind = TopKey::Kind;
    switch (character) {
        case L'\n':
        case L'\r': return {Kind::kEnter};
        case 27: return {Kind::kEscape};
        case 8:
        case 127: return {Kind::kBackspace};
        default: return {Kind::kCharacter, static_cast<char32_t>(character)};
    }
}

}  // namespace

struct Terminal::Screen {
    std::FILE* out = nullptr;
    ::SCREEN* curses = nullptr;
    bool colours = false;

    attr_t AttributesOf(Style style) const {
        switch (style) {
            case Style::kBar: return colours ? A_REVERSE : A_BOLD;
            case Style::kDim: return A_DIM;
            case Style::kStrong:
            case Style::kWarning:
            case Style::kBad: return A_BOLD;
            default: return A_NORMAL;
        }
    }
    short PairOf(Style style) const {
        if (!colours) {
            return 0;
        }
        switch (style) {
            case Style::kGood: return kGreen;
            case Style::kWarning: return kYellow;
            case Style::kBad: return kRed;
            default: return 0;
        }
    }
};

Terminal::Terminal(std::unique_ptr<Screen> screen) : m_screen(std::move(screen)) {}

std::unique_ptr<Terminal> Terminal::Open(int output, std::string& error) {
    if (::isatty(output) == 0 || ::isatty(STDIN_FILENO) == 0) {
        error = "--top needs a terminal for its screen and its keys; --watch SECONDS works without";
        return nullptr;
    }
    ::setlocale(LC_CTYPE, "");  // NOLINT(concurrency-mt-unsafe): modules do not change it
    auto screen = std::make_unique<Screen>();
    screen->out = ::fdopen(::fcntl(output, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "w");
    screen->curses = screen->out == nullptr ? nullptr : ::newterm(nullptr, screen->out, stdin);
    if (screen->curses == nullptr) {
        const char* const term = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): the environment is constant
        error = std::string("--top cannot use a terminal of the kind TERM=") + (term == nullptr ? "(not set)" : term) +
                "; --watch SECONDS works on any";
        if (screen->out != nullptr) {
            std::fclose(screen->out);
        }
        return nullptr;
    }
    ::set_term(screen->curses);
    ::cbreak();
    ::noecho();
    ::nonl();
    ::keypad(stdscr, TRUE);
    ::nodelay(stdscr, TRUE);
    ::set_escdelay(25);
    ::curs_set(0);
    screen->colours = WantsColours();
    if (screen->colours) {
        ::start_color();
        ::use_default_colors();
        ::init_pair(kGreen, COLOR_GREEN, -1);
        ::init_pair(kYellow, COLOR_YELLOW, -1);
        ::init_pair(kRed, COLOR_RED, -1);
    }
    return std::unique_ptr<Terminal>(new Terminal(std::move(screen)));
}

Terminal::~Terminal() {
    ::endwin();
    ::delscreen(m_screen->curses);
    std::fclose(m_screen->out);
}

std::size_t Terminal::Width() const { return static_cast<std::size_t>(::getmaxx(stdscr)); }

std::size_t Terminal::Height() const { return static_cast<std::size_t>(::getmaxy(stdscr)); }

void Terminal::Show(const CellGrid& grid) {
    ::werase(stdscr);
    for (std::size_t row = 0; row < grid.Height(); ++row) {
        for (std::size_t column = 0; column < grid.Width(); ++column) {
            const CellGrid::Cell& cell = grid.At(row, column);
            if (cell.text.empty() || (cell.text == " " && cell.style == Style::kPlain)) {
                continue;
            }
            ::wattr_set(stdscr, m_screen->AttributesOf(cell.style), m_screen->PairOf(cell.style), nullptr);
            // Writes the last place of the screen too; that the cursor cannot advance from there is not an error here.
            ::wmove(stdscr, static_cast<int>(row), static_cast<int>(column));
            ::waddnstr(stdscr, cell.text.c_str(), -1);
        }
    }
    ::wattr_set(stdscr, A_NORMAL, 0, nullptr);
    ::wrefresh(stdscr);
}

std::optional<TopKey> Terminal::Key() {
    for (;;) {
        wint_t character = 0;
        const int kind = ::wget_wch(stdscr, &character);
        if (kind == OK) {
            return KeyOfCharacter(character);
        }
        if (kind != KEY_CODE_YES) {
            return std::nullopt;
        }
        if (const auto key = KeyOf(static_cast<int>(character))) {
            return key;
        }
    }
}

}  // namespace cvtwalk

#else

namespace cvtwalk {

struct Terminal::Screen {};

Terminal::Terminal(std::unique_ptr<Screen> screen) : m_screen(std::move(screen)) {}
Terminal::~Terminal() = default;

std::unique_ptr<Terminal> Terminal::Open(int /*output*/, std::string& error) {
    error = "this cvtwalk was built without ncurses, which --top needs; --watch SECONDS works without";
    return nullptr;
}

std::size_t Terminal::Width() const { return 0; }
std::size_t Terminal::Height() const { return 0; }
void Terminal::Show(const CellGrid& /*grid*/) {}
std::optional<TopKey> Terminal::Key() { return std::nullopt; }

}  // namespace cvtwalk

#endif
