#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <unordered_map>

#include "CVT/BRequest.h"

namespace cvtagentd {

/// The identifiers by which the groups know the requests of one session with a master (CVT::BRequest).
///
/// A master passes a request on in parts under one transaction number, with parts of other requests in between, and
/// never says which part is the last. So an identifier that no request holds any more is forgotten once its number has
/// not been used for a while, or when it is the one unused for the longest time and another one needs room. Not
/// synchronised.
class TransactionIds {
public:
    using Clock = std::chrono::steady_clock;

    /// Far more than lies between two parts of a request that a client still waits for.
    static constexpr std::chrono::seconds kIdle{15};
    static constexpr std::size_t kMost = 64;  ///< more only while all are in use; the session limits those

    /// The same for each part of a request. Never null. Throws std::bad_alloc.
    const std::shared_ptr<const CVT::BRequest>& Of(std::uint32_t transaction, Clock::time_point now);

    /// Lets go of identifiers that have not been used for kIdle. Returns when to call it again; no value: no need to.
    std::optional<std::chrono::milliseconds> Expire(Clock::time_point now);
    /// Lets go of all: the next session numbers its transactions from the start again.
    void Clear();

private:
    struct Known {
        std::uint32_t transaction;
        std::shared_ptr<const CVT::BRequest> request;
        Clock::time_point used;

        bool IsInUse() const { return request.use_count() > 1; }
    };
    using Place = std::list<Known>::iterator;

    void Use(Place known, Clock::time_point now);
    void Forget(Place known);

    std::list<Known> m_known;  // the one used last comes last
    std::unordered_map<std::uint32_t, Place> m_places;
};

}  // namespace cvtagentd
