#pragma once

/// Marks the six names that libCVHost.so.1 exports.
#define CVHOST_API __attribute__((visibility("default")))
