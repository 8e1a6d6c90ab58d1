#include "agent/cvtwalk/data/ObjectNames.h"

#include <algorithm>

#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/text/NearNames.h"

namespace cvtwalk {
namespace {

constexpr std::string_view kTable = "Table";
constexpr std::string_view kEntry = "Entry";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The parts of an argument that is not an OID.
struct Words {
    std::string module;
    std::string name;
    std::string instance;  // dotted arcs
};

std::optional<Words> Split(std::string_view text) {
    std::string dotted(text);
    if (const auto colons = dotted.find("::"); colons != std::string::npos) {
        dotted.replace(colons, 2, ".");
    }
    Words words;
    std::string_view rest = dotted;
    for (int count = 0; !rest.empty() && IsLetter(rest.front()); ++count) {
        if (count == 2) {
            return std::nullopt;
        }
        const std::string_view word = rest.substr(0, rest.find('.'));
        words.module = std::move(words.name);
        words.name = word;
        rest.remove_prefix(word.size());
        if (!rest.empty()) {
            rest.remove_prefix(1);
            if (rest.empty()) {
                return std::nullopt;  // a dot at the end
            }
        }
    }
    words.instance = rest;
    return words;
}

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

}  // namespace

ObjectNames::ObjectNames(const CVT::BMibEngine& engine) : m_groups(engine.Groups()) {
    for (CVT::BMibImpl* const group : m_groups) {
        AddGroup(*group);
    }
    AddBranches();
}

void ObjectNames::AddGroup(CVT::BMibImpl& group) {
    const CVT::IMibInfo& info = *group.GetIMibInfo();
    const std::string_view registered = info.Name().View();
    const auto dot = registered.rfind('.');
    const std::string module(dot == std::string_view::npos ? std::string_view() : registered.substr(0, dot));
    const std::string name(dot == std::string_view::npos ? registered : registered.substr(dot + 1));
    CVT::BObjectIdentifier oid = info.Oid();
    if (info.IsTable()) {
        if (name.ends_with(kTable)) {
            m_entries.push_back({module, name.substr(0, name.size() - kTable.size()) + std::string(kEntry), oid});
        }
        oid.Truncate(oid.NumArcs() - 1);
    }
    m_entries.push_back({module, name, oid});
    for (const CVT::BRqHndlrEntry& column : info.Columns()) {
        CVT::BObjectIdentifier columnOid = info.Oid();
        columnOid.Append(column.subId);
        m_entries.push_back({module, column.name == nullptr ? "" : column.name, columnOid});
    }
}

void ObjectNames::AddBranches() {
    for (const KnownObjects::Node& branch : KnownObjects::Branches()) {
        CVT::BObjectIdentifier oid(CVT::BString(branch.oid));
        if (IsServedUnder(oid) && Find(branch.module, branch.name) == nullptr) {
            m_entries.push_back({branch.module, branch.name, std::move(oid)});
        }
    }
}

bool ObjectNames::IsServedUnder(const CVT::BObjectIdentifier& root) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const Entry& entry) { return entry.oid.StartsWith(root); });
}

std::optional<CVT::BObjectIdentifier> ObjectNames::Resolve(std::string_view text, std::string& error) const {
    const std::string_view bare = text.starts_with('.') ? text.substr(1) : text;
    CVT::BObjectIdentifier oid;
    if (oid.AssignFromDottedDecimalStr(std::string(bare).c_str())) {
        return oid;
    }
    const std::optional<Words> words = Split(bare);
    if (!words || words->name.empty()) {
        error = Quoted(text) + " is neither an object identifier nor an object name";
        return std::nullopt;
    }
    const Entry* const entry = Find(words->module, words->name);
    if (entry == nullptr) {
        error = Unknown(words->module.empty() ? words->name : words->module + "." + words->name);
        return std::nullopt;
    }
    CVT::BObjectIdentifier instance;
    if (!words->instance.empty() && !instance.AssignFromDottedDecimalStr(words->instance.c_str())) {
        error = Quoted(words->instance) + " after " + words->name +
                " is not an instance: write numbers with dots between them";
        return std::nullopt;
    }
    oid.Set(entry->oid);
    if (!oid.Append(instance)) {
        error = Quoted(text) + " has more than 128 arcs";
        return std::nullopt;
    }
    return oid;
}

const ObjectNames::Entry* ObjectNames::Find(std::string_view module, std::string_view name) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return entry.name == name && (module.empty() || entry.module == module);
    });
    return found == m_entries.end() ? nullptr : &*found;
}

std::string ObjectNames::Unknown(std::string_view name) const {
    std::vector<std::string> known;
    for (const Entry& entry : m_entries) {
        known.push_back(entry.name);
    }
    // After a module's name, or else before a wrong instance.
    const auto dot = name.rfind('.');
    std::vector<std::string> near = NearNames(known, dot == std::string_view::npos ? name : name.substr(dot + 1));
    if (near.empty() && dot != std::string_view::npos) {
        near = NearNames(known, name.substr(0, dot));
    }
    std::string line = "no object is called " + Quoted(name);
    const char* separator = "; near it: ";
    for (const std::string& candidate : near) {
        line += separator + candidate;
        separator = ", ";
    }
    return line;
}

ServedObject ObjectNames::ObjectOf(const CVT::BObjectIdentifier& name) const {
    // The innermost subtree that holds the name comes last of those that do.
    auto group = std::upper_bound(
        m_groups.begin(), m_groups.end(), name,
        [](const CVT::BObjectIdentifier& oid, CVT::BMibImpl* candidate) { return oid < candidate->Oid(); });
    while (group != m_groups.begin()) {
        --group;
        const CVT::IMibInfo& info = *(*group)->GetIMibInfo();
        const unsigned int root = info.Oid().NumArcs();
        if (name.NumArcs() > root && name.StartsWith(info.Oid())) {
            if (const CVT::BRqHndlrEntry* const column = info.FindColumn(name[root]); column != nullptr) {
                return {**group, *column, CVT::BObjectIdentifier(name.Arcs().subspan(root + 1))};
            }
        }
    }
    return {};
}

}  // namespace cvtwalk
