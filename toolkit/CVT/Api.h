#pragma once

/// Marks what libCVT.so.1 exports. Everything else in the library has hidden visibility.
#define CVT_API __attribute__((visibility("default")))

namespace CVT {

/// A wait without limit, for every operation of the toolkit that takes a time in milliseconds.
inline constexpr unsigned int kWaitForever = 0xFFFFFFFFU;

/// The result of a wait: the awaited event happened, or the time ran out first.
enum EWaitResult : unsigned int {
    kWaitSignalled = 0,
    kWaitTimeout = 0x102,
};

}  // namespace CVT
