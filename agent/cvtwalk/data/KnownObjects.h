#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "CVT/BObjectIdentifier.h"

namespace cvtwalk {

/// What cvtwalk knows of published MIBs and no module can tell it: the one place for such data. Constant, and readable
/// from any thread.
///
/// All else in cvtwalk works from what the modules declare, and does without an entry here.
namespace KnownObjects {

/// A node of a MIB with its name; both last for ever.
struct Node {
    const char* module;
    const char* name;
    const char* oid;
};
/// A table of amounts, whose columns hold how many octets a unit has, how many units there are, and how many of
/// them are in use.
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
/// What a number counts, where the declaration does not say so.
enum class Unit {
    kNone,
    kOctets,
    kKibioctets,
    kPages,       ///< of this host's memory
    kClockTicks,  ///< of this host's kernel
    kPercent,
    kTicks,  ///< hundredths of a second
};

/// Nodes above groups, which no group has for its own name.
std::span<const Node> Branches();
/// The name of an object identifier that MIBs define as a value, such as "hrStorageFixedDisk"; empty for others.
std::string_view ValueName(const CVT::BObjectIdentifier& value);
/// Null for a group that is no table of amounts.
const Amounts* AmountsOf(std::string_view group);
std::span<const JoinedTables> Joins();
/// How long after the start of its module an object that is measured at intervals may still be 0 for want of a
/// measurement; nothing for other objects.
std::optional<double> SecondsToFirstSample(std::string_view object);
/// Whether an INTEGER or a gauge is known to count up for ever, as a Counter32 does.
bool OnlyGrows(std::string_view object);
/// Whether the number is known to be cut to 32 bits on hosts of today, so that any value may be wrong.
bool IsCut(std::string_view object);
Unit UnitOf(std::string_view object);
/// Of kOctets, kKibioctets and kPages, in octets; of kClockTicks and kTicks, how many make a second; 1 for others.
/// Asks the system.
long long ScaleOf(Unit unit);

}  // namespace KnownObjects

}  // namespace cvtwalk
