#include "agent/cvtwalk/TableFormat.h"

#include <algorithm>

#include "agent/cvtwalk/Utf8.h"
#include "agent/cvtwalk/ValueText.h"

namespace agent {
namespace {

constexpr const char* kAbsent = "-";
constexpr const char* kGap = "  ";
constexpr const char* kIndex = "index";

void AppendPadded(std::string& out, std::string_view text, std::size_t width, bool toTheRight) {
    const std::size_t used = Utf8::Width(text);
    const std::size_t blanks = width > used ? width - used : 0;
    if (toTheRight) {
        out.append(blanks, ' ');
    }
    out += text;
    if (!toTheRight) {
        out.append(blanks, ' ');
    }
}

void EndLine(std::string& out) {
    out.erase(out.find_last_not_of(' ') + 1);
    out += '\n';
}

}  // namespace

void TableFormat::Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) {
    if (object.Group() != m_group) {
        WriteSection(out);
        m_group = object.Group();
    }
    Collect(instance, object);
}

void TableFormat::End(std::string& out) { WriteSection(out); }

void TableFormat::Collect(const CVT::BVarBind& instance, const ServedObject& object) {
    if (m_columns.empty() || m_columns.back().subId != object.SubId()) {
        Column column;
        column.name = object.Name();
        column.subId = object.SubId();
        column.width = Utf8::Width(object.Name());
        m_columns.push_back(std::move(column));
    }
    const ValueText text(instance, object);
    std::string cell = text.Bare();
    Column& column = m_columns.back();
    column.numeric = column.numeric && text.IsNumber();
    column.width = std::max(column.width, Utf8::Width(cell));
    Row& row = m_rows[object.Index()];
    row.resize(m_columns.size(), kAbsent);
    row.back() = std::move(cell);
}

void TableFormat::WriteSection(std::string& out) {
    if (m_columns.empty()) {
        return;
    }
    if (m_any) {
        out += '\n';
    }
    m_any = true;
    if (m_group != nullptr) {
        out += m_group->Name().View();
        out += '\n';
    }
    if (m_group != nullptr && m_group->GetIMibInfo()->IsTable()) {
        WriteTable(out);
    } else {
        WriteScalars(out);
    }
    m_columns.clear();
    m_rows.clear();
}

void TableFormat::WriteTable(std::string& out) const {
    std::size_t indexWidth = std::string_view(kIndex).size();
    bool oneArc = true;
    for (const auto& [index, row] : m_rows) {
        indexWidth = std::max<std::size_t>(indexWidth, index.ToString().Strlen());
        oneArc = oneArc && index.NumArcs() == 1;
    }
    AppendPadded(out, kIndex, indexWidth, oneArc);
    for (const Column& column : m_columns) {
        out += kGap;
        AppendPadded(out, column.name, column.width, column.numeric);
    }
    EndLine(out);
    for (const auto& [index, row] : m_rows) {
        AppendPadded(out, index.ToString().View(), indexWidth, oneArc);
        for (std::size_t place = 0; place < m_columns.size(); ++place) {
            out += kGap;
            AppendPadded(out, place < row.size() ? std::string_view(row[place]) : kAbsent, m_columns[place].width,
                         m_columns[place].numeric);
        }
        EndLine(out);
    }
}

void TableFormat::WriteScalars(std::string& out) const {
    std::size_t nameWidth = 0;
    for (const Column& column : m_columns) {
        nameWidth = std::max(nameWidth, Utf8::Width(column.name));
    }
    for (const auto& [index, row] : m_rows) {
        for (std::size_t place = 0; place < row.size(); ++place) {
            AppendPadded(out, m_columns[place].name, nameWidth, false);
            out += kGap;
            out += row[place];
            EndLine(out);
        }
    }
}

}  // namespace agent
