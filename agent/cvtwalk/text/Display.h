#pragma once

#include <cstddef>

namespace cvtwalk {

/// What the output's reader can show. A plain value.
struct Display {
    std::size_t width = 0;   ///< places in a line of the terminal; 0 where lines may have any length
    bool utf8 = false;       ///< whether the locale's characters are UTF-8
    std::size_t height = 0;  ///< lines of the terminal; 0 where there is no end to them

    /// Of the descriptor, and of the environment's COLUMNS and locale: call it while no other thread runs.
    static Display Of(int descriptor);
};

}  // namespace cvtwalk
