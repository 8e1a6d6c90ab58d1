#include "agent/cvtwalk/program/Printer.h"

#include <algorithm>

#include "CVT/BRequest.h"
#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/data/Walk.h"

namespace cvtwalk {

Printer::Printer(const Options& options, CVT::BMibEngine& engine, const Display& display, Clock::time_point ready)
    : m_options(options), m_engine(engine), m_display(display), m_ready(ready), m_names(engine) {}

bool Printer::Resolve(std::string& error) {
    m_roots.clear();
    for (const std::string& object : m_options.objects) {
        const auto resolved = m_names.Resolve(object, error);
        if (!resolved) {
            return false;
        }
        m_roots.push_back(*resolved);
    }
    if (m_roots.empty()) {
        m_roots.emplace_back();
    }
    if (m_options.join || m_options.format == Options::Format::kTable) {
        for (CVT::BMibImpl* const partner : Partners()) {
            m_roots.push_back(partner->Oid());
        }
    }
    return true;
}

/// The other tables of the joined pairs of which only one was requested.
std::vector<CVT::BMibImpl*> Printer::Partners() const {
    const auto find = [&](std::string_view name) -> CVT::BMibImpl* {
        const auto& groups = m_engine.Groups();
        const auto found = std::find_if(groups.begin(), groups.end(),
                                        [=](CVT::BMibImpl* group) { return group->Name().View() == name; });
        return found == groups.end() ? nullptr : *found;
    };
    std::vector<CVT::BMibImpl*> partners;
    for (const KnownObjects::JoinedTables& pair : KnownObjects::Joins()) {
        CVT::BMibImpl* const first = find(pair.first);
        CVT::BMibImpl* const second = find(pair.second);
        if (first != nullptr && second != nullptr && Covers(*first) != Covers(*second)) {
            partners.push_back(Covers(*first) ? second : first);
        }
    }
    return partners;
}

/// Whether all of the group was requested.
bool Printer::Covers(const CVT::BMibImpl& group) const {
    return std::any_of(m_roots.begin(), m_roots.end(),
                       [&](const CVT::BObjectIdentifier& root) { return group.Oid().StartsWith(root); });
}

bool Printer::WantsTheLoad() const {
    for (CVT::BMibImpl* const group : m_engine.Groups()) {
        for (const CVT::BRqHndlrEntry& column : group->GetIMibInfo()->Columns()) {
            CVT::BObjectIdentifier oid = group->Oid();
            oid.Append(column.subId);
            const bool asked = std::any_of(m_roots.begin(), m_roots.end(), [&](const CVT::BObjectIdentifier& root) {
                return oid.StartsWith(root) || root.StartsWith(oid);
            });
            if (asked && column.name != nullptr && KnownObjects::SecondsToFirstSample(column.name)) {
                return true;
            }
        }
    }
    return false;
}

bool Printer::IsMeasured() {
    Sections sections;
    std::string ignored;
    const CVT::BRequest request;
    Walk walk(m_engine, m_names, request.Id());
    const auto visitor = [&](const CVT::BVarBind& instance, const ServedObject& object) {
        if (KnownObjects::SecondsToFirstSample(object.Name())) {
            sections.Add(instance, object);
        }
        return true;
    };
    for (CVT::BMibImpl* const group : m_engine.Groups()) {
        for (const CVT::BRqHndlrEntry& column : group->GetIMibInfo()->Columns()) {
            if (column.name != nullptr && KnownObjects::SecondsToFirstSample(column.name)) {
                CVT::BObjectIdentifier oid = group->Oid();
                oid.Append(column.subId);
                walk.Run(oid, visitor, ignored);
            }
        }
    }
    sections.MarkUnmeasured(SecondsReady());
    for (const Section& section : sections.All()) {
        for (const Section::Row& row : section.Rows()) {
            if (std::any_of(row.cells.begin(), row.cells.end(),
                            [](const auto& cell) { return cell && !cell->measured; })) {
                return false;
            }
        }
    }
    return true;
}

double Printer::SecondsReady() const { return std::chrono::duration<double>(Clock::now() - m_ready).count(); }

bool Printer::Print(std::string& text, std::string& error) {
    m_remarks.clear();
    Sections sections;
    const bool good = Collect(sections, error);
    sections.MarkUnmeasured(SecondsReady());
    const Options::Format format = m_options.format;
    if (m_options.join || format == Options::Format::kTable || format == Options::Format::kPrometheus ||
        format == Options::Format::kHtml) {
        sections.Join();
    }
    sections.DeriveUse();
    Selection selection = m_options.selection;
    selection.fold = format == Options::Format::kTable && !m_options.all;
    if (good && !selection.Apply(sections, error)) {
        for (CVT::BMibImpl* const partner : Partners()) {
            const std::string_view name = partner->Name().View();
            error.append("; --join adds those of ").append(name.substr(name.find('.') + 1));
        }
        return false;
    }
    WriteAll(sections, text);
    return good;
}

bool Printer::Collect(Sections& sections, std::string& error) {
    const CVT::BRequest whole;  // one request, so that it sees one consistent snapshot
    Walk walk(m_engine, m_names, whole.Id());
    bool good = true;
    for (std::size_t place = 0; place < m_roots.size() && good; ++place) {
        const unsigned long long before = walk.Instances();
        good = walk.Run(
            m_roots[place],
            [&](const CVT::BVarBind& instance, const ServedObject& object) {
                sections.Add(instance, object);
                return true;
            },
            error);
        if (good && walk.Instances() == before && place < std::max<std::size_t>(1, m_options.objects.size())) {
            m_remarks.push_back((m_options.objects.empty() ? "what the modules serve" : m_options.objects[place]) +
                                " is empty: no instance at the moment");
        }
    }
    return good;
}

void Printer::WriteAll(const Sections& sections, std::string& text) {
    const auto format = OutputFormat::Make(m_options.format, m_display);
    bool anyRow = false;
    format->Begin(text);
    for (const Section& section : sections.All()) {
        if (!section.Rows().empty() || !section.notes.empty()) {
            anyRow = true;
            format->Write(section, text);
        }
    }
    format->End(text);
    if (!anyRow && !sections.All().empty()) {
        m_remarks.emplace_back("no row has what --filter asks for");
    }
}

}  // namespace cvtwalk
