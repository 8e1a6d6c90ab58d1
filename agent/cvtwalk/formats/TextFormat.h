#pragma once

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// A line for each instance, as SNMP clients print it: "hrMemorySize.0 = INTEGER: 1234".
class TextFormat final : public OutputFormat {
public:
    void Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) override;
};

}  // namespace cvtwalk
