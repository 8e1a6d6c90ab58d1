#pragma once

#include <cstddef>

namespace cvtwalk {

/// What the output can show. A plain value.
struct Display {
    std::size_t width = 0;   ///< columns of the terminal; 0 where lines may have any length
    bool utf8 = false;       ///< whether the locale's characters are UTF-8
    std::size_t height = 0;  ///< lines of the terminal; 0 for no limit

    /// Determined from the descriptor, and from COLUMNS and the locale in the environment. Call it while no other
    /// thread runs.
    static Display Of(int descriptor);
};

}  // namespace cvtwalk
