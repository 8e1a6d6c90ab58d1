#pragma once

#include <array>

#include "CVT/Api.h"
#include "CVT/BIpAddress.h"
#include "CVT/BObjectIdentifier.h"
#include "CVT/BOctetString.h"

namespace CVT {

/// A module's default values, for hosts and extensions that create rows and need a value for each column. The module
/// fills the record in its InitDefVals; afterwards it is only read.
struct CVT_API BMibDefVal {
    BMibDefVal() = default;
    ~BMibDefVal() = default;

    int integer = 0;
    BOctetString octets;
    BOctetString opaque;
    BOctetString displayString;
    BObjectIdentifier objectIdentifier;
    std::array<unsigned int, 3> numbers{};  ///< counter, gauge and time-ticks
    BIpAddress ipAddress;
};

}  // namespace CVT
