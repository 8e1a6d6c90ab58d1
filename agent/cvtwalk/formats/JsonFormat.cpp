#include "agent/cvtwalk/formats/JsonFormat.h"

#include "agent/cvtwalk/data/ValueText.h"
#include "agent/cvtwalk/text/JsonText.h"

namespace cvtwalk {
namespace {

std::string NotMeasured() {
    return R"("type":"INTEGER","value":null,"note":)" + JsonText::Quoted(Section::kNotMeasured);
}

}  // namespace

void JsonFormat::Begin(std::string& out) { out += '['; }

void JsonFormat::Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) {
    out += m_first ? "\n" : ",\n";
    m_first = false;
    out += R"({"oid":")";
    out += instance.name.ToString().View();
    out += R"(","name":)" + JsonText::Quoted(object.Name()) + R"(,"instance":")";
    out += object.Index().ToString().View();
    out += "\"," + (measured ? ValueText(instance, object).JsonMembers() : NotMeasured()) + "}";
}

void JsonFormat::End(std::string& out) { out += m_first ? "]\n" : "\n]\n"; }

}  // namespace cvtwalk
