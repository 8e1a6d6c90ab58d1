#pragma once

#include <string_view>

#include "CVT/Api.h"

namespace CVT {

// What a module has to tell those who run its host. A module has no log of its own. The program that loads it does, and
// says here where warnings go; until then they are lost.

/// Receives one warning: a line without control characters, except its final line feed. Called on any thread of a
/// module, possibly on several at once and with locks of the module held: it must not call into a module.
using WarningReceiver = void (*)(std::string_view line);

/// From now on `receiver` takes the warnings of all modules of this process; with null, nothing does. A call in
/// progress on another thread may still reach the previous receiver. Thread-safe.
CVT_API void SetWarningReceiver(WarningReceiver receiver) noexcept;

/// Passes on a warning, which says what is wrong and what to do about it. The text may hold names chosen by the host's
/// users: each control character becomes a blank. Call it once for each cause. A warning that the receiver fails to
/// take is lost. Thread-safe.
CVT_API void Warn(std::string_view text);

}  // namespace CVT
