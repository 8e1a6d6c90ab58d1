#pragma once

#include "CVT/Api.h"

namespace CVT {

/// A request under way: it takes an identifier (BRequestId) and counts as live until it is destroyed, so that a group whose
/// rows are a snapshot can keep the snapshot while a request that has seen it is still being answered. A host keeps one
/// from the first call that it makes for a request to the last, also while the request is put back. Thread-safe.
class CVT_API BRequest {
public:
    BRequest();
    BRequest(const BRequest&) = delete;
    BRequest& operator=(const BRequest&) = delete;
    ~BRequest();

    unsigned int Id() const { return m_id; }

    /// False also for an identifier that no BRequest was made for.
    static bool IsLive(unsigned int requestId);

private:
    const unsigned int m_id;
};

}  // namespace CVT
