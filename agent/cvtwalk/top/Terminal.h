#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "agent/cvtwalk/top/CellGrid.h"
#include "agent/cvtwalk/top/TopKey.h"

namespace cvtwalk {

/// The terminal as a screen of its own, by the distribution's ncurses. While it exists the terminal shows what is drawn
/// here and gives each key at once; afterwards it is as before. One at a time; used by one thread.
class Terminal {
public:
    /// On the terminal that `output` writes to, with the keys of standard input. Null, with one line for people in
    /// `error`, when one of both is no terminal, the kind of terminal is not known, or this program was built without
    /// ncurses. Sets the process's locale for characters to the environment's.
    static std::unique_ptr<Terminal> Open(int output, std::string& error);
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal();

    std::size_t Width() const;
    std::size_t Height() const;
    /// Shows the grid, which has the terminal's size.
    void Show(const CellGrid& grid);
    /// The next key that was pressed; nothing when there is none at the moment. Does not wait: poll(2) standard input
    /// for that.
    std::optional<TopKey> Key();

private:
    struct Screen;

    explicit Terminal(std::unique_ptr<Screen> screen);

    std::unique_ptr<Screen> m_screen;
};

}  // namespace cvtwalk
