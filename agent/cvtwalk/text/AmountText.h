#pragma once

#include <string>

namespace cvtwalk {

/// Amounts of storage for people, from figures that may have wrapped on their way through 32 bits.
namespace AmountText {

/// "0 B", "512 B", "4.0 KiB", "251.9 GiB" for so many units of so many octets; "?" where one of both is negative,
/// which says nothing of the real size. Neither is over 2^32.
std::string Size(long long units, long long octetsPerUnit);

inline constexpr int kBarPlaces = 10;
inline constexpr int kShortBarPlaces = 5;

/// A bar of the share in use, with the percentage: "[####------]  38%", in block characters if wanted. Empty where
/// there is none to tell: no size, or figures that cannot belong together.
std::string UseBar(long long used, long long size, int places, bool utf8);

}  // namespace AmountText

}  // namespace cvtwalk
