#pragma once

#include <mntent.h>

/// Whether a mount entry is none of the host's storage: pseudo file systems, swap, what is mounted without a device, and
/// remote file systems. Told by its device name and type. Thread-safe.
bool bIgnore(const mntent* entry);
