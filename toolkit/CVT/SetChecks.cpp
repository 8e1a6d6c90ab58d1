#include "CVT/SetChecks.h"

#include <string_view>

#include "CVT/TextualConventions.h"

namespace CVT {
namespace {

/// The offered number, wide enough for both signed and unsigned types.
long long NumberOf(const BVarBind& offered) {
    return offered.type == kInteger ? static_cast<long long>(offered.integer) : static_cast<long long>(offered.number);
}

/// `low`..`high` bounds the length of an octet string or the value of a number; an identifier has no such bounds.
int CheckRange(const BVarBind& offered, int low, int high) {
    switch (offered.type) {
        case kOctetString: {
            const auto length = static_cast<long long>(offered.octets.Length());
            return length < low || length > high ? wrongLength : noError;
        }
        case kObjectIdentifier: return noError;
        default: {
            const long long number = NumberOf(offered);
            return number < low || number > high ? wrongValue : noError;
        }
    }
}

int CheckConvention(const BVarBind& offered, const BConstraintEntry& use, const BConstraintEntry* moduleConventions) {
    const BConstraintEntry* const convention = FindConvention(use.label, moduleConventions);
    int status = noError;
    if (convention != nullptr) {
        status = CheckRange(offered, convention->low, convention->high);
        if (status == wrongLength && std::string_view(use.label) == cszDateAndTime) {
            status = wrongValue;  // an invalid date, rather than text of a wrong length
        }
    }
    if (status == noError && use.high != 0 && offered.type == kOctetString) {
        status = CheckRange(offered, 0, use.high);
    }
    return status;
}

/// `list` points to the entry after the enumeration's own.
int CheckEnumeration(const BVarBind& offered, const BConstraintEntry* list) {
    for (; list->kind == kEnumValue; ++list) {
        if (NumberOf(offered) == list->low) {
            return noError;
        }
    }
    return wrongValue;
}

}  // namespace

int CheckOfferedValue(const BRqHndlrEntry* column, const BConstraintEntry* constraints,
                      const BConstraintEntry* moduleConventions, const BVarBind& offered) {
    if (column == nullptr || !column->IsWritable()) {
        return notWritable;
    }
    if (offered.type != column->type) {
        return wrongType;
    }
    int status = noError;
    for (const BConstraintEntry* entry = constraints; entry->kind != kEndOfConstraints && status == noError; ++entry) {
        if (entry->column != column->subId) {
            continue;
        }
        switch (entry->kind) {
            case kEnumeration: status = CheckEnumeration(offered, entry + 1); break;
            case kRange: status = CheckRange(offered, entry->low, entry->high); break;
            case kEnumConvention:
            case kConvention: status = CheckConvention(offered, *entry, moduleConventions); break;
            default: break;
        }
    }
    return status;
}

}  // namespace CVT
