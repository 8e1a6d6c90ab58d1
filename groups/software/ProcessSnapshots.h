#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "groups/common/DRows.h"
#include "groups/software/DHrSWRunEntry.h"

/// The snapshots of the processes, and which request sees which. A request (CVT::BRequest) keeps the one that it has seen
/// first until it ends; all others see the newest. So nobody who waits keeps anybody else from a new one.
///
/// A snapshot that is not the newest does not change, but for a status that a manager writes. An older one goes when this is next asked after its last reader has ended. At most kMost are held: when one more
/// is begun, the oldest goes and its readers have lost it, for good. A warning says so, at most once an hour.
///
/// A request that no BRequest was made for is never remembered: it sees the newest whenever it asks.
///
/// Not synchronised: used under the table's request lock.
class ProcessSnapshots {
public:
    using Rows = DRows<DHrSWRunEntry, DSingleIndex>;

    static constexpr std::size_t kMost = 5;

    /// Until the first is begun everybody sees `initial`, and nobody keeps it.
    explicit ProcessSnapshots(std::shared_ptr<Rows> initial);

    /// Drops what was kept for requests that have ended. To be called before the others for a request that is new.
    void ForgetEnded();
    /// Whether the request keeps a snapshot, or has lost it.
    bool Knows(unsigned int requestId) const;
    /// Makes the request keep the newest one, unless it knows one already.
    void Keep(unsigned int requestId);
    /// What the request sees; null when it has lost it.
    std::shared_ptr<Rows> SeenBy(unsigned int requestId) const;
    const std::shared_ptr<Rows>& Newest() const { return m_snapshots.back().rows; }

    /// Begins a new one, empty and the newest from now on. Where no request keeps the one before, its memory is used again.
    const std::shared_ptr<Rows>& Begin();

private:
    struct Snapshot {
        std::shared_ptr<Rows> rows;
        std::vector<unsigned int> readers{};
    };

    void DropOldest();

    std::vector<Snapshot> m_snapshots;  // the newest last; never empty
    std::vector<unsigned int> m_lost;   // live requests whose snapshot was dropped
    bool m_hasBegun = false;
};
