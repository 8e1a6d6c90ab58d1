#pragma once

#include <cxxabi.h>

/// For a function that catches abi::__forced_unwind, which unwinds a cancelled thread. No such object exists, so the
/// undefined-behaviour sanitizer would report the reference as an error. If the function were inlined, the attribute
/// would be lost.
#define CVT_CATCHES_FORCED_UNWIND __attribute__((noinline, no_sanitize("null")))
