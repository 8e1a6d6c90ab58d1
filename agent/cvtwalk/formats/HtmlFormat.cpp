#include "agent/cvtwalk/formats/HtmlFormat.h"

namespace cvtwalk {

void HtmlFormat::Write(const Section& section, std::string& /*out*/) { m_sections.All().push_back(section); }

void HtmlFormat::End(std::string& out) { out += "<!doctype html>\n"; }

}  // namespace cvtwalk
