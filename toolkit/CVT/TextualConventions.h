#pragma once

#include "CVT/Api.h"
#include "CVT/BConstraintEntry.h"

namespace CVT {

// The textual conventions that the toolkit itself knows. A constraint entry refers to one by its name.

CVT_API extern const char cszDateAndTime[];    ///< "DateAndTime": 8 to 11 octets
CVT_API extern const char cszDisplayString[];  ///< "DisplayString": 0 to 255 octets
CVT_API extern const char cszTruthValue[];     ///< "TruthValue": 1 true, 2 false

/// The entry of the convention `name`, looked for in `moduleConventions` (which may be null) and then among the toolkit's
/// own; null when nobody has constrained it, or `name` is null.
CVT_API const BConstraintEntry* FindConvention(const char* name, const BConstraintEntry* moduleConventions);

}  // namespace CVT
