#include "CVT/TextualConventions.h"

#include <string_view>

namespace CVT {

const char cszDateAndTime[] = "DateAndTime";
const char cszDisplayString[] = "DisplayString";
const char cszTruthValue[] = "TruthValue";

namespace {

constexpr BConstraintEntry kToolkitConventions[] = {
    {kRange, 0, cszDateAndTime, 8, 11},
    {kRange, 0, cszDisplayString, 0, 255},
    {kRange, 0, cszTruthValue, 1, 2},
    {},
};

const BConstraintEntry* Find(std::string_view name, const BConstraintEntry* conventions) {
    for (; conventions->kind != kEndOfConstraints; ++conventions) {
        if (conventions->label != nullptr && name == conventions->label) {
            return conventions;
        }
    }
    return nullptr;
}

}  // namespace

const BConstraintEntry* FindConvention(const char* name, const BConstraintEntry* moduleConventions) {
    if (name == nullptr) {
        return nullptr;
    }
    const BConstraintEntry* found = moduleConventions == nullptr ? nullptr : Find(name, moduleConventions);
    return found != nullptr ? found : Find(name, kToolkitConventions);
}

}  // namespace CVT
