#pragma once

#include <cxxabi.h>

/// For a function that catches abi::__forced_unwind, by which a cancelled thread unwinds: there is no such object, and the
/// undefined-behaviour sanitizer would take the reference for a mistake. Inlined it would lose the attribute.
#define CVT_CATCHES_FORCED_UNWIND __attribute__((noinline, no_sanitize("null")))
