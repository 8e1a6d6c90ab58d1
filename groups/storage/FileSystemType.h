#pragma once

#include <sys/statfs.h>

#include "CVT/BObjectIdentifier.h"

/// Returns the last arc of the hrFSType of a file system, from the magic number that statfs(2) returns in `f_type`, cut
/// to 32 bits. 1 (other) for an unknown number. Thread-safe.
unsigned int ui32GetFSType(unsigned int magic);

/// Returns the complete hrFSType, below hrFSTypes.
CVT::BObjectIdentifier FSTypeOid(const struct statfs& fileSystem);
