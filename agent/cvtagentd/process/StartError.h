#pragma once

#include <stdexcept>

namespace cvtagentd {

/// Why the agent cannot start: one line that says what is wrong and what to do. It ends the program with status 1.
class StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace cvtagentd
