#include "agent/cvtwalk/formats/CsvFormat.h"

#include "agent/cvtwalk/data/ValueText.h"

namespace cvtwalk {
namespace {

std::string FieldOf(const Section& section, const Section::Row& row, std::size_t column) {
    const auto& cell = row.cells[column];
    if (!cell || !cell->measured) {
        return {};
    }
    const CVT::BVarBind instance = section.InstanceAt(row, column);
    if (instance.type == CVT::kTimeTicks) {
        return std::to_string(instance.number);
    }
    return CsvFormat::Quoted(ValueText(instance, section.ObjectAt(row, column)).Bare());
}

}  // namespace

std::string CsvFormat::Quoted(std::string_view field) {
    const bool plain = field.find_first_of(",\"") == std::string_view::npos &&
                       (field.empty() || (field.front() != ' ' && field.back() != ' '));
    if (plain) {
        return std::string(field);
    }
    std::string quoted = "\"";
    for (const char c : field) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

void CsvFormat::Write(const Section& section, std::string& out) {
    if (m_any) {
        out += '\n';
    }
    m_any = true;
    const bool indexed = section.IsTable() || section.Group() == nullptr;
    const char* const first = section.Group() == nullptr ? "oid" : "index";
    const auto writeLine = [&](const std::string& index, const auto& fieldOf) {
        std::string line = indexed ? index : std::string();
        bool any = indexed;
        for (std::size_t column = 0; column < section.Columns().size(); ++column) {
            if (!section.Columns()[column].derived && !section.Columns()[column].hidden) {
                line += any ? "," : "";
                line += fieldOf(column);
                any = true;
            }
        }
        out += line + '\n';
    };
    writeLine(first, [&](std::size_t column) {
        return section.Group() == nullptr ? "value" : section.Columns()[column].name;
    });
    for (const Section::Row& row : section.Rows()) {
        writeLine(row.index.ToString().c_str(), [&](std::size_t column) { return FieldOf(section, row, column); });
    }
}

}  // namespace cvtwalk
