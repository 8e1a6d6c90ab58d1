#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace cvtagentd {

/// What the reader and the writer of AgentX messages must agree on (RFC 2741, 5 and 6.1).
namespace PduFormat {

inline constexpr std::uint8_t kVersion = 1;
inline constexpr std::size_t kLengthAt = 16;  ///< in the header
inline constexpr std::size_t kCounter64Size = 8;
inline constexpr std::size_t kAddressSize = 4;

/// Names that begin with these arcs and one from 1 to 255 have a short form.
inline constexpr std::array<unsigned int, 4> kInternet{1, 3, 6, 1};
inline constexpr unsigned int kLastPrefix = 255;

/// Octet strings take up whole words.
constexpr std::size_t Padded(std::size_t size) { return (size + 3) & ~std::size_t{3}; }

/// Reads sizeof(T) octets.
template <class T>
T Read(const char* at, bool isNetworkOrder) {
    T value = 0;
    for (std::size_t octet = 0; octet < sizeof(T); ++octet) {
        const std::size_t place = isNetworkOrder ? sizeof(T) - 1 - octet : octet;
        value = static_cast<T>(value | static_cast<T>(T{static_cast<unsigned char>(at[octet])} << (8U * place)));
    }
    return value;
}

/// Writes sizeof(T) octets.
template <class T>
void Write(char* at, T value, bool isNetworkOrder) {
    for (std::size_t octet = 0; octet < sizeof(T); ++octet) {
        const std::size_t place = isNetworkOrder ? sizeof(T) - 1 - octet : octet;
        at[octet] = static_cast<char>(static_cast<unsigned char>(value >> (8U * place)));
    }
}

}  // namespace PduFormat

}  // namespace cvtagentd
