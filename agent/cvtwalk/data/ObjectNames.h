#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ServedObject.h"

namespace cvtwalk {

/// The names of what an engine serves, and the object identifiers that they stand for: groups, tables, and their
/// columns.
///
/// Built from the groups that the engine has at that moment; they must outlive it. Constant afterwards.
class ObjectNames {
public:
    explicit ObjectNames(const CVT::BMibEngine& engine);

    /// What an argument stands for: an OID ("1.3.6", ".1.3.6"), or a name, optionally qualified by its module
    /// ("hrStorageTable", "HOST-RESOURCES-MIB.hrStorage", "HOST-RESOURCES-MIB::hrStorageDescr"), each with an optional
    /// ".instance". A table's entry has the table's name with "Entry" for "Table". A branch under which something is
    /// served ("hrDevice") works too. Returns nothing, with a one-line message in `error`, when the text is neither, or
    /// no object of that name is served.
    std::optional<CVT::BObjectIdentifier> Resolve(std::string_view text, std::string& error) const;

    /// Whether a column is served at or under `root`, with or without instances at the moment.
    bool IsServedUnder(const CVT::BObjectIdentifier& root) const;

    /// The object that the instance `name` belongs to.
    ServedObject ObjectOf(const CVT::BObjectIdentifier& name) const;

private:
    struct Entry {
        std::string module;  // before the dot of the group's registered name
        std::string name;
        CVT::BObjectIdentifier oid;
    };

    void AddGroup(CVT::BMibImpl& group);
    void AddBranches();
    const Entry* Find(std::string_view module, std::string_view name) const;
    std::string Unknown(std::string_view name) const;

    std::vector<CVT::BMibImpl*> m_groups;  // in the order of their OIDs
    std::vector<Entry> m_entries;
};

}  // namespace cvtwalk
