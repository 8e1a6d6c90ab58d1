#pragma once

#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/formats/OutputFormat.h"

namespace cvtwalk {

/// One page about the host, in one file that needs nothing else: no server, no network, no other file. See HtmlPage for
/// its contents. Written after the last section.
class HtmlFormat final : public OutputFormat {
public:
    void Write(const Section& section, std::string& out) override;
    void End(std::string& out) override;

private:
    Sections m_sections;
};

}  // namespace cvtwalk
