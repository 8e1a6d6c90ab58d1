#pragma once

#include <cstddef>

namespace cvtagentd {

/// Bounds the work for a GETBULK of version 3 by the size that the asker's messages may have: of repetitions for which the
/// response has no room, nothing is read. A value counts as kValueOctets, so that seldom one is read in vain. What is too
/// long for the message all the same is left out when the response is encoded (ResponseBuilder).
///
/// Used by the thread that runs the library.
class ResponseBudget {
public:
    /// No string of HOST-RESOURCES-MIB is longer.
    static constexpr std::size_t kValueOctets = 255;

    /// Bounds the repetitions of every request from now on. To be called once.
    static void Install();
};

}  // namespace cvtagentd
