#include "agent/cvtwalk/formats/TextFormat.h"

#include "agent/cvtwalk/data/ValueText.h"

namespace cvtwalk {

void TextFormat::Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) {
    if (object.Name().empty()) {
        out += instance.name.ToString().View();
    } else {
        out += object.Name();
        if (!object.Index().IsEmpty()) {
            out += '.';
            out += object.Index().ToString().View();
        }
    }
    out += " = ";
    out += measured ? ValueText(instance, object).Typed() : Section::kNotMeasured;
    out += '\n';
}

}  // namespace cvtwalk
