#pragma once

#include <memory>
#include <string>

#include "CVT/BVarBind.h"
#include "agent/cvtwalk/text/Display.h"
#include "agent/cvtwalk/program/Options.h"
#include "agent/cvtwalk/data/ServedObject.h"

namespace cvtwalk {

/// How a walk is written. Each operation appends to `out` what can be written by then: Begin, Add for each instance in
/// the order of the walk, End. Whatever was added, what stands between Begin and End is complete output of its kind.
class OutputFormat {
public:
    /// `display` matters to tables only.
    static std::unique_ptr<OutputFormat> Make(Options::Format format, const Display& display);

    OutputFormat() = default;
    OutputFormat(const OutputFormat&) = delete;
    OutputFormat& operator=(const OutputFormat&) = delete;
    virtual ~OutputFormat() = default;

    virtual void Begin(std::string& /*out*/) {}
    virtual void Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) = 0;
    virtual void End(std::string& /*out*/) {}
};

}  // namespace cvtwalk
