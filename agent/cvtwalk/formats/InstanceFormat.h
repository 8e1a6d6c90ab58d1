#pragma once

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// A format that writes each instance by itself: column by column, as in a walk, in the order of the rows.
class InstanceFormat : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) final;

protected:
    /// `measured` is false for a placeholder, whose value is meaningless.
    virtual void Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) = 0;
};

}  // namespace cvtwalk
