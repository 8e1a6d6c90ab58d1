#pragma once

#include <span>
#include <string_view>

#include "CVT/BObjectIdentifier.h"

namespace cvtwalk {

/// What cvtwalk knows of published MIBs and no module can tell it: the one place for such data. Constant, and readable
/// from any thread.
///
/// All else in cvtwalk works from what the modules declare, and does without an entry here.
class KnownObjects {
public:
    /// A node of a MIB with its name; both last for ever.
    struct Node {
        const char* module;
        const char* name;
        const char* oid;
    };
    /// A table of amounts, whose columns hold how many octets a unit has, how many units there are, and how many of them
    /// are in use.
    struct Amounts {
        const char* group;  ///< the table's registered name
        const char* units;
        const char* size;
        const char* used;
    };

    /// Nodes above groups, which no group has for its own name.
    static std::span<const Node> Branches();
    /// The name of an object identifier that MIBs define as a value, such as "hrStorageFixedDisk"; empty for others.
    static std::string_view ValueName(const CVT::BObjectIdentifier& value);
    /// Null for a group that is no table of amounts.
    static const Amounts* AmountsOf(std::string_view group);
};

}  // namespace cvtwalk
