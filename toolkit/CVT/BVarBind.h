#pragma once

#include <vector>

#include "CVT/Api.h"
#include "CVT/BObjectIdentifier.h"
#include "CVT/BOctetString.h"
#include "CVT/SnmpTypes.h"

namespace CVT {

/// An instance's name with its value. `type` says which member holds the value; the others keep their old contents, so
/// that one varbind serves a whole walk without new allocations. A plain value.
struct BVarBind {
    BObjectIdentifier name;
    ESnmpType type = kNull;
    int integer = 0;               ///< INTEGER
    unsigned int number = 0;       ///< Counter32, Gauge32, TimeTicks
    BOctetString octets;           ///< OCTET STRING
    BObjectIdentifier identifier;  ///< OBJECT IDENTIFIER

    /// Whether an exception stands in place of the value.
    bool IsException() const { return type >= kNoSuchObject; }
};

/// The varbinds of a request, in its order.
using BVarBindList = std::vector<BVarBind>;

}  // namespace CVT
