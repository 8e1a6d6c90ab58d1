#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "CVT/BObjectIdentifier.h"

namespace cvtwalk {

/// What cvtwalk knows about published MIBs that no module can tell it. This is the only place for such data. Constant,
/// and readable from any thread.
///
/// Everything else in cvtwalk works from what the modules declare and needs no entry here.
namespace KnownObjects {

/// A node of a MIB with its name; both have static lifetime.
struct Node {
    const char* module;
    const char* name;
    const char* oid;
};
/// A table of amounts, whose columns hold the octets per unit, the number of units, and how many of them are in use.
struct Amounts {
    const char* group;  ///< the table's registered name
    const char* units;
    const char* size;
    const char* used;
};

/// Two tables whose rows describe the same things by the same index, by their registered names.
struct JoinedTables {
    const char* first;
    const char* second;
};
/// What a number counts, where the declaration does not say.
enum class Unit {
    kNone,
    kOctets,
    kKibioctets,
    kPages,       ///< of this host's memory
    kClockTicks,  ///< of this host's kernel
    kPercent,
    kTicks,  ///< hundredths of a second
};

/// Nodes above the groups; no group is registered under these names.
std::span<const Node> Branches();
/// The name of an object identifier that MIBs define as a value, such as "hrStorageFixedDisk"; empty for others.
std::string_view ValueName(const CVT::BObjectIdentifier& value);
/// Null for a group that is no table of amounts.
const Amounts* AmountsOf(std::string_view group);
std::span<const JoinedTables> Joins();
/// How long after the start of its module an object that is measured at intervals may still be 0 because it has not
/// been measured. Nothing for other objects.
std::optional<double> SecondsToFirstSample(std::string_view object);
/// Whether an INTEGER or a gauge is known to only count up, as a Counter32 does.
bool OnlyGrows(std::string_view object);
/// Whether the number is known to be cut to 32 bits on current hosts, so that any value may be wrong.
bool IsCut(std::string_view object);
Unit UnitOf(std::string_view object);
/// The size of a unit in octets for kOctets, kKibioctets and kPages; units per second for kClockTicks and kTicks; 1 for
/// others. Queries the system.
long long ScaleOf(Unit unit);

}  // namespace KnownObjects

}  // namespace cvtwalk
