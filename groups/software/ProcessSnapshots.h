#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "groups/common/DRows.h"
#include "groups/software/DHrSWRunEntry.h"

/// The snapshots of the processes, and which request sees which. A request (CVT::BRequest) keeps the first snapshot
/// that it sees until the request ends; all others see the newest. A request that waits therefore never keeps another
/// one from a new snapshot.
///
/// A snapshot that is not the newest does not change, except for a status that a manager writes. It is dropped at the
/// next call of ForgetEnded after its last reader has ended. At most kMost are held: when another one is begun, the
/// oldest is dropped and its readers lose it for good. A warning says so, at most once an hour.
///
/// A request without a BRequest is never remembered: it sees the newest snapshot at each call.
///
/// Not synchronised: used under the table's request lock.
class ProcessSnapshots {
public:
    using Rows = DRows<DHrSWRunEntry, DSingleIndex>;

    static constexpr std::size_t kMost = 5;

    /// Until the first snapshot is begun every request sees `initial`, and none keeps it.
    explicit ProcessSnapshots(std::shared_ptr<Rows> initial);

    /// Drops what was kept for requests that have ended. Call it before the other functions when a new request arrives.
    void ForgetEnded();
    /// Whether the request keeps a snapshot, or has lost it.
    bool Knows(unsigned int requestId) const;
    /// Makes the request keep the newest snapshot, unless it already keeps one or has lost it.
    void Keep(unsigned int requestId);
    /// Returns the snapshot that the request sees; null when it has lost it.
    std::shared_ptr<Rows> SeenBy(unsigned int requestId) const;
    const std::shared_ptr<Rows>& Newest() const { return m_snapshots.back().rows; }

    /// Begins a new snapshot, empty and the newest from now on. Where no request keeps the previous one, its memory is
    /// reused.
    const std::shared_ptr<Rows>& Begin();

private:
    struct Snapshot {
        std::shared_ptr<Rows> rows;
        std::vector<unsigned int> readers{};
    };

    void DropOldest();

    std::vector<Snapshot> m_snapshots;  // the newest is last; never empty
    std::vector<unsigned int> m_lost;   // live requests whose snapshot was dropped
    bool m_hasBegun = false;
};
