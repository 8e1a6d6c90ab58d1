#pragma once

#include <string>

namespace cvtwalk {

/// Amounts of storage as text, from figures that may have wrapped at 32 bits.
namespace AmountText {

/// "0 B", "512 B", "4.0 KiB", "251.9 GiB" for a number of units and the octets per unit. "?" where one of them is
/// negative, since the real size is then unknown. Neither may exceed 2^32.
std::string Size(long long units, long long octetsPerUnit);

inline constexpr int kBarPlaces = 10;
inline constexpr int kShortBarPlaces = 5;

/// A bar of the share in use, with the percentage: "[####------]  38%", in block characters if wanted. Empty where the
/// share is unknown: no size, or figures that contradict each other.
std::string UseBar(long long used, long long size, int places, bool utf8);

}  // namespace AmountText

}  // namespace cvtwalk
