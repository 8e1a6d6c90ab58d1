#pragma once

#include <sys/statfs.h>

#include "CVT/BObjectIdentifier.h"

/// The last arc of the hrFSType of a file system, by the magic number that statfs(2) gives as `f_type`, cut to 32 bits. 1,
/// other, for a number that is not known. Thread-safe.
unsigned int ui32GetFSType(unsigned int magic);

/// The whole hrFSType, below hrFSTypes.
CVT::BObjectIdentifier FSTypeOid(const struct statfs& fileSystem);
