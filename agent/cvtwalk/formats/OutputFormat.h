#pragma once

#include <memory>
#include <string>

#include "agent/cvtwalk/data/Section.h"
#include "agent/cvtwalk/text/Display.h"

namespace cvtwalk {

/// Writes what was walked. Each operation appends to `out`: Begin, then Write for each section, then End. The output
/// from Begin to End is well-formed, whatever the sections hold.
class OutputFormat {
public:
    enum class Kind { kText, kJson, kTable, kCsv, kPrometheus, kHtml };

    /// Only tables use `display`.
    static std::unique_ptr<OutputFormat> Make(Kind kind, const Display& display);

    OutputFormat() = default;
    OutputFormat(const OutputFormat&) = delete;
    OutputFormat& operator=(const OutputFormat&) = delete;
    virtual ~OutputFormat() = default;

    virtual void Begin(std::string& /*out*/) {}
    virtual void Write(const Section& section, std::string& out) = 0;
    virtual void End(std::string& /*out*/) {}
};

}  // namespace cvtwalk
