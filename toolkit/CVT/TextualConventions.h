#pragma once

#include "CVT/Api.h"
#include "CVT/BConstraintEntry.h"

namespace CVT {

// The textual conventions of the toolkit itself. A constraint entry refers to one by its name.

CVT_API extern const char cszDateAndTime[];    ///< "DateAndTime": 8 to 11 octets
CVT_API extern const char cszDisplayString[];  ///< "DisplayString": 0 to 255 octets
CVT_API extern const char cszTruthValue[];     ///< "TruthValue": 1 true, 2 false

/// Returns the entry of the convention `name`, from `moduleConventions` (which may be null) or else from the toolkit's
/// own. Null when no entry constrains it, or `name` is null.
CVT_API const BConstraintEntry* FindConvention(const char* name, const BConstraintEntry* moduleConventions);

}  // namespace CVT
