// Arbitrary octets, parsed as dotted decimal text into an object identifier and an address.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "CVT/BIpAddress.h"
#include "CVT/BObjectIdentifier.h"

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    CVT::BObjectIdentifier oid(1U);
    const bool good = oid.AssignFromDottedDecimalStr(text.c_str());
    Require(good != oid.IsEmpty());
    Require(oid.NumArcs() <= CVT::BObjectIdentifier::kMaxArcs);
    CVT::BObjectIdentifier again;
    Require(again.AssignFromDottedDecimalStr(oid.ToString().c_str()) == good);
    Require(again == oid);

    // Counted text is read to its end: a NUL in it is an error.
    const CVT::BObjectIdentifier counted(CVT::BString(text.data(), static_cast<unsigned int>(text.size())));
    Require(counted == (text.find('\0') == std::string::npos ? oid : CVT::BObjectIdentifier()));

    CVT::BIpAddress address;
    const bool isAddress = address.AssignFromDottedDecimalStr(text.c_str());
    Require(isAddress != address.IsEmpty());
    Require(!isAddress || (good && oid.NumArcs() == 4 && oid[0] == address.Octets()[0] && oid[3] <= 255));
    return 0;
}
