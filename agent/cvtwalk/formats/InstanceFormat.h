#pragma once

#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// A format with something for each instance: column by column, as a walk goes, in the order of the rows.
class InstanceFormat : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) final;

protected:
    /// `measured` is false for a stand-in, whose value says nothing.
    virtual void Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) = 0;
};

}  // namespace cvtwalk
