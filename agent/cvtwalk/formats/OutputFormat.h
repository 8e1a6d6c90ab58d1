#pragma once

#include <memory>
#include <string>

#include "agent/cvtwalk/data/Section.h"
#include "agent/cvtwalk/text/Display.h"

namespace cvtwalk {

/// How what was walked is written. Each operation appends to `out`: Begin, Write for each section, End. Whatever was
/// written, what stands between Begin and End is complete output of its kind.
class OutputFormat {
public:
    enum class Kind { kText, kJson, kTable, kCsv, kPrometheus, kHtml };

    /// `display` matters to tables only.
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
