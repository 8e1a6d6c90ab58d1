#pragma once

namespace CVT {

/// The kind of a constraint entry. The other fields of the entry are used as noted here.
enum EConstraintKind : unsigned int {
    kEndOfConstraints = 0,
    kEnumeration = 1,     ///< the kind-3 entries that follow list the values of `column`
    kEnumConvention = 2,  ///< `column` follows the enumerated textual convention named by `label`
    kEnumValue = 3,       ///< `label` (the value's name), `low` (its number); column 0
    kRange = 4,           ///< `column` is `low`..`high`: the value of a number, the length of an octet string
    kConvention = 5,      ///< `column` follows the convention `label`; `high`, when not 0, is its own maximum length
};

/// One line of a constraint table. A table is an array that ends with an all-zero entry; a group's table is named
/// s_sonstraintEntries. A table of textual conventions has the same form, with column 0 and the convention as label.
/// Constraints apply to the values of a SET. What a get handler returns is never checked.
struct BConstraintEntry {
    unsigned int kind = kEndOfConstraints;
    unsigned int column = 0;
    const char* label = nullptr;
    int low = 0;
    int high = 0;
};

}  // namespace CVT
