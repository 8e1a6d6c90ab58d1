#pragma once

#include <chrono>

#include "CVT/Api.h"

namespace CVT {

/// How long the calls that a thread makes to groups may wait for what may never answer, such as a server that has gone.
///
/// A host that serves many from one thread sets a limit round a call. A group that would wait longer gives up: it
/// leaves its values as they are, keeps what it has asked for, and calls GiveUp. Whatever the call gives then is no
/// answer. The host sees HasGivenUp, puts the request back, and asks again later, when the group finds its question
/// still out, or answered. Without a limit, which is how every thread starts, groups wait as long as they please.
///
/// An object binds the thread that makes it, until it is destroyed. They nest: the inner one never allows more than the
/// outer one. A group's code calls the static functions, in the thread in which it was called.
class CVT_API BPatience {
public:
    /// For all calls together, from now on.
    explicit BPatience(unsigned int milliseconds);
    ~BPatience();
    BPatience(const BPatience&) = delete;
    BPatience& operator=(const BPatience&) = delete;

    /// Whether a call gave up since this was made.
    bool HasGivenUp() const { return m_hasGivenUp; }

    /// What the calling thread may still wait, in milliseconds: 0 lets it only look, kWaitForever means no limit.
    static unsigned int Left();
    /// Says that the call under way gives no answer; without a limit it does nothing.
    static void GiveUp();

private:
    using Clock = std::chrono::steady_clock;

    BPatience* const m_outer;
    Clock::time_point m_until;
    bool m_hasGivenUp = false;
};

}  // namespace CVT
