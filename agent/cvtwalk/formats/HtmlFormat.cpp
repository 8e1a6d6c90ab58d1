#include "agent/cvtwalk/formats/HtmlFormat.h"

#include "agent/cvtwalk/formats/HtmlPage.h"

namespace cvtwalk {

void HtmlFormat::Write(const Section& section, std::string& /*out*/) { m_sections.All().push_back(section); }

void HtmlFormat::End(std::string& out) { out += HtmlPage(m_sections).Text(); }

}  // namespace cvtwalk
