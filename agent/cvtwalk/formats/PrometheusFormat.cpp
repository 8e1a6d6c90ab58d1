#include "agent/cvtwalk/formats/PrometheusFormat.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <vector>

#include "agent/cvtwalk/data/KnownObjects.h"

namespace cvtwalk {
namespace {

constexpr int kMostEnumerated = 64;  // looks up names of enumerated values below this

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLowerOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

/// How a column's numbers become a metric's values.
struct Metric {
    std::string name;
    bool counter = false;
    double factor = 1;
    const char* unit = "";  ///< as text for the help line
    bool octets = false;    ///< negative numbers are meaningless
    bool byRow = false;     ///< times the row's allocation units
};

bool IsNumberType(unsigned int type) {
    return type == CVT::kInteger || type == CVT::kCounter32 || type == CVT::kGauge32 || type == CVT::kTimeTicks;
}

/// The type of the first cell that is present.
CVT::ESnmpType TypeOf(const Section& section, std::size_t column) {
    for (const Section::Row& row : section.Rows()) {
        if (row.cells[column]) {
            return row.cells[column]->type;
        }
    }
    return CVT::kNull;
}

bool IsAmount(const Section& section, const std::string& name) {
    const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
    return amounts != nullptr && section.Find(amounts->units) && (name == amounts->size || name == amounts->used);
}

Metric MetricOf(const Section& section, std::size_t column) {
    const std::string& object = section.Columns()[column].name;
    const CVT::ESnmpType type = TypeOf(section, column);
    const KnownObjects::Unit unit = type == CVT::kTimeTicks ? KnownObjects::Unit::kTicks : KnownObjects::UnitOf(object);
    const auto scale = static_cast<double>(KnownObjects::ScaleOf(unit));
    Metric metric{PrometheusFormat::SnakeCase(object)};
    metric.counter = type == CVT::kCounter32 || KnownObjects::OnlyGrows(object);
    switch (unit) {
        case KnownObjects::Unit::kOctets:
        case KnownObjects::Unit::kKibioctets:
        case KnownObjects::Unit::kPages:
            metric.name += "_bytes";
            metric.factor = scale;
            metric.unit = ", in bytes";
            metric.octets = true;
            break;
        case KnownObjects::Unit::kClockTicks:
        case KnownObjects::Unit::kTicks:
            metric.name += "_seconds";
            metric.factor = 1 / scale;
            metric.unit = ", in seconds";
            metric.octets = true;
            break;
        case KnownObjects::Unit::kPercent:
            metric.name += "_ratio";
            metric.factor = 0.01;
            metric.unit = ", from 0 to 1";
            break;
        case KnownObjects::Unit::kNone: break;
    }
    if (IsAmount(section, object)) {
        metric.name += "_bytes";
        metric.unit = ", in bytes";
        metric.octets = true;
        metric.byRow = true;
    }
    metric.name += metric.counter ? "_total" : "";
    return metric;
}

std::string Enumeration(const Section::Column& column) {
    std::string values;
    for (int value = 0; value < kMostEnumerated; ++value) {
        const char* const name = column.group->GetIMibInfo()->EnumerationName(column.declared->subId, value);
        if (name != nullptr) {
            values += (values.empty() ? ": " : ", ") + std::string(name) + "(" + std::to_string(value) + ")";
        }
    }
    return values;
}

bool IsVaried(const Section& section, std::size_t column) {
    std::set<std::string> values;
    for (const Section::Row& row : section.Rows()) {
        values.insert(row.cells[column] ? row.cells[column]->octets : std::string());
        if (values.size() > 1) {
            return true;
        }
    }
    return section.Rows().size() == 1;
}

/// The columns that become labels: the first text that differs from row to row, and identifiers with known names. Never
/// all texts: a process's arguments may be secret, and their number is unbounded.
std::vector<std::size_t> LabelColumns(const Section& section) {
    std::vector<std::size_t> labels;
    bool named = false;
    for (std::size_t column = 0; column < section.Columns().size(); ++column) {
        const CVT::ESnmpType type = TypeOf(section, column);
        if (type == CVT::kOctetString && !named && IsVaried(section, column)) {
            named = true;
            labels.push_back(column);
        }
        const bool known = type == CVT::kObjectIdentifier &&
                           std::any_of(section.Rows().begin(), section.Rows().end(), [&](const Section::Row& row) {
                               return row.cells[column] &&
                                      !KnownObjects::ValueName(section.InstanceAt(row, column).identifier).empty();
                           });
        if (known) {
            labels.push_back(column);
        }
    }
    return labels;
}

std::string LabelsOf(const Section& section, const Section::Row& row, const std::vector<std::size_t>& columns) {
    if (!section.IsTable()) {
        return {};
    }
    std::string labels = "{index=\"" + std::string(row.index.ToString().View()) + '"';
    for (const std::size_t column : columns) {
        if (row.cells[column]) {
            labels += "," + PrometheusFormat::SnakeCase(section.ShortName(section.Columns()[column])) + "=\"" +
                      PrometheusFormat::Escaped(section.TextAt(row, column)) + '"';
        }
    }
    return labels + '}';
}

std::optional<double> ValueOf(const Section& section, const Section::Row& row, std::size_t column,
                              const Metric& metric) {
    const auto number = row.cells[column] ? row.cells[column]->Number() : std::nullopt;
    if (!number || (metric.octets && *number < 0)) {
        return std::nullopt;
    }
    double factor = metric.factor;
    if (metric.byRow) {
        const auto& units = row.cells[*section.Find(KnownObjects::AmountsOf(section.Name())->units)];
        if (!units || units->number <= 0) {
            return std::nullopt;
        }
        factor = static_cast<double>(units->number);
    }
    return static_cast<double>(*number) * factor;
}

bool RepeatsTheIndex(const Section& section, std::size_t column) {
    return section.IsTable() && std::all_of(section.Rows().begin(), section.Rows().end(), [&](const Section::Row& row) {
               const auto number = row.cells[column] ? row.cells[column]->Number() : std::nullopt;
               return number && row.index.NumArcs() == 1 && *number == row.index[0];
           });
}

}  // namespace

std::string PrometheusFormat::SnakeCase(std::string_view name) {
    std::string snake;
    for (std::size_t place = 0; place < name.size(); ++place) {
        const char c = name[place];
        if (!IsUpper(c)) {
            snake += IsLowerOrDigit(c) ? c : '_';
            continue;
        }
        const bool afterWord = place > 0 && IsLowerOrDigit(name[place - 1]);
        const bool beforeWord = place > 0 && place + 1 < name.size() && IsLowerOrDigit(name[place + 1]);
        if ((afterWord || beforeWord) && snake.back() != '_') {
            snake += '_';
        }
        snake += static_cast<char>(c - 'A' + 'a');
    }
    return snake;
}

std::string PrometheusFormat::Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '\\' || c == '"' ? "\\" : "";
        escaped += c;
    }
    return escaped;
}

void PrometheusFormat::Write(const Section& section, std::string& out) {
    const std::vector<std::size_t> labels = LabelColumns(section);
    for (std::size_t column = 0; column < section.Columns().size(); ++column) {
        const Section::Column& origin = section.Columns()[column];
        if (origin.declared == nullptr || origin.hidden || !IsNumberType(TypeOf(section, column)) ||
            KnownObjects::IsCut(origin.name) || RepeatsTheIndex(section, column)) {
            continue;
        }
        const Metric metric = MetricOf(section, column);
        std::string samples;
        for (const Section::Row& row : section.Rows()) {
            if (const auto value = ValueOf(section, row, column, metric)) {
                std::array<char, 40> number{};
                std::snprintf(number.data(), number.size(), " %.15g\n", *value);
                samples += metric.name + LabelsOf(section, row, labels) + number.data();
            }
        }
        if (samples.empty() || !m_written.insert(metric.name).second) {
            continue;
        }
        const std::string_view group = origin.group->Name().View();
        out += "# HELP " + metric.name + " " + origin.name + " of " + std::string(group.substr(0, group.rfind('.'))) +
               metric.unit + Enumeration(origin) + ".\n# TYPE " + metric.name +
               (metric.counter ? " counter\n" : " gauge\n") + samples;
    }
}

}  // namespace cvtwalk
