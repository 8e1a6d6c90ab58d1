#pragma once

#include "CVT/BConstraintEntry.h"
#include "CVT/BRqHndlrEntry.h"
#include "CVT/BVarBind.h"

namespace CVT {

/// The toolkit's checks of the value that a SET offers for a column: access, type, length, range and enumeration, in
/// that order. `column` is null for a column that is not served. Returns noError, notWritable, wrongType, wrongLength
/// or wrongValue. `moduleConventions` may be null.
int CheckOfferedValue(const BRqHndlrEntry* column, const BConstraintEntry* constraints,
                      const BConstraintEntry* moduleConventions, const BVarBind& offered);

}  // namespace CVT
