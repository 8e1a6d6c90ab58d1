#pragma once

#include <string_view>

#include "CVT/Api.h"

namespace CVT {

// What a module has to tell the people who run its host. A module has no log of its own: the program that loads it has,
// and says here where warnings go. Until it does, they are lost.

/// Takes one warning: a line without control characters, its line feed included. Called on whatever thread of a module
/// warns, on several at once too, with locks of the module held: it must not call into a module.
using WarningReceiver = void (*)(std::string_view line);

/// From now on `receiver` takes the warnings of all modules of this process; null, none does. A call that is under way on
/// another thread may still reach the one before. Thread-safe.
CVT_API void SetWarningReceiver(WarningReceiver receiver) noexcept;

/// Passes a warning on, which says what is wrong and what to do about it. It may hold names that the host's users have
/// chosen: each control character becomes a blank. To be called once for each cause. One that the receiver fails to take
/// is lost. Thread-safe.
CVT_API void Warn(std::string_view text);

}  // namespace CVT
