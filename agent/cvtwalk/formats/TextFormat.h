#pragma once

#include "agent/cvtwalk/formats/InstanceFormat.h"

namespace cvtwalk {

/// A line for each instance, as SNMP clients print it: "hrMemorySize.0 = INTEGER: 1234".
class TextFormat final : public InstanceFormat {
protected:
    void Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) override;
};

}  // namespace cvtwalk
