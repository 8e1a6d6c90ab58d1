#pragma once

#include <mntent.h>

#include <string>

/// How a local mount entry is called among the devices: by its device name. One without a device is called by the device
/// that its options name ("dev=/dev/hdc"), and without that by its mount directory.
std::string MountDescription(const mntent& entry);
