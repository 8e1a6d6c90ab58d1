#pragma once

#include "CVT/BObjectIdentifier.h"

/// The last arc of the hrFSType of a file system, by the magic number that statfs(2) gives as `f_type`: pass that cut to 32
/// bits, unsigned. 1, other, for a number that is not known. Thread-safe.
unsigned int ui32GetFSType(unsigned int magic);

/// The whole hrFSType: hrFSTypes with that arc.
CVT::BObjectIdentifier FSTypeOid(unsigned int magic);
