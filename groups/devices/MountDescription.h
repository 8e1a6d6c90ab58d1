#pragma once

#include <mntent.h>

#include <string>

/// The description of a local mount entry among the devices: its device name. An entry without a device is described by
/// the device in its options ("dev=/dev/hdc"), or else by its mount directory.
std::string MountDescription(const mntent& entry);
