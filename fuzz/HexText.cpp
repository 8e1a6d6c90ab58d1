// Arbitrary octets, parsed as hexadecimal text into an octet string.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "CVT/BOctetString.h"

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CVT::BOctetString octets("before", 6);
    const bool good = octets.AssignFromHexString(text.c_str());
    Require(good || octets.IsEmpty());
    Require(octets.Length() <= text.size() / 2);

    static constexpr char kDigits[] = "0123456789abcdef";
    std::string written;
    for (unsigned int i = 0; i < octets.Length(); ++i) {
        written += kDigits[octets[i] / 16];
        written += kDigits[octets[i] % 16];
        written += i % 2 == 0 ? ":" : " ";
    }
    CVT::BOctetString again;
    Require(again.AssignFromHexString(written.c_str()));
    Require(again == octets);
    return 0;
}
