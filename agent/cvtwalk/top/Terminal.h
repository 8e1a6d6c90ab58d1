#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "agent/cvtwalk/top/CellGrid.h"
#include "agent/cvtwalk/top/TopKey.h"

namespace cvtwalk {

/// The terminal as a full screen, through ncurses. While it exists, the terminal shows what is drawn here and delivers
/// each key at once; its destructor restores the terminal. Only one may exist at a time, used by one thread.
class Terminal {
public:
    /// Opens the terminal that `output` writes to, with keys from standard input. Returns null, with a one-line message
    /// in `error`, when either is not a terminal, the terminal type is unknown, or the program was built without
    /// ncurses. Sets the process's LC_CTYPE from the environment.
    static std::unique_ptr<Terminal> Open(int output, std::string& error);
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    std::size_t Width() const;
    std::size_t Height() const;
    /// Shows the grid, which must have the terminal's size.
    void Show(const CellGrid& grid);
    /// Returns the next key that was pressed, or nothing if there is none. Does not wait: poll(2) standard input for
    /// that.
    std::optional<TopKey> Key();

private:
    struct Screen;

    explicit Terminal(std::unique_ptr<Screen> screen);

    std::unique_ptr<Screen> m_screen;
};

}  // namespace cvtwalk
