#pragma once

#include <mntent.h>

/// Whether a mount entry is not storage of this host: pseudo file systems, swap, mounts without a device, and remote
/// file systems. Determined from its device name and type. Thread-safe.
bool bIgnore(const mntent* entry);
