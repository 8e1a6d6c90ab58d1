#pragma once

#include "CVT/Api.h"

namespace CVT {

/// A request in progress. It takes an identifier (BRequestId) and counts as live until it is destroyed, so that a group
/// whose rows are a snapshot can keep the snapshot while a request that has seen it is still being answered. A host
/// keeps one object from its first call for a request to the last, including while the request is delegated.
/// Thread-safe.
class CVT_API BRequest {
public:
    BRequest();
    BRequest(const BRequest&) = delete;
    BRequest& operator=(const BRequest&) = delete;
    ~BRequest();

    unsigned int Id() const { return m_id; }

    /// Also false for an identifier that belongs to no BRequest.
    static bool IsLive(unsigned int requestId);

private:
    const unsigned int m_id;
};

}  // namespace CVT
