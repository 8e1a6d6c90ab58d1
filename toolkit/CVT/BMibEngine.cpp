#include "CVT/BMibEngine.h"

#include <algorithm>
#include <deque>
#include <set>

#include "CVT/BSetCell.h"

namespace CVT {
namespace {

/// Returns the first name after the whole subtree `root`; empty when there is none.
BObjectIdentifier EndOf(const BObjectIdentifier& root) {
    BObjectIdentifier end;
    for (unsigned int count = root.NumArcs(); count > 0; --count) {
        if (root[count - 1] != 0xFFFFFFFFU) {
            end.Set(root.Arcs().first(count - 1));
            end.Append(root[count - 1] + 1);
            break;
        }
    }
    return end;
}

/// Whether the group's next instance after `name` lies at or after the range's end. A failure to read that instance
/// does not matter here.
bool NextLiesBehind(const BMibEngine::Range& range, unsigned int requestId, BVarBind name) {
    return range.group->NextInstance(requestId, name) == noError && range.EndsBefore(name.name);
}

}  // namespace

bool BMibEngine::Add(BMibImplGroup& module) {
    std::vector<BMibImpl*> groups = m_groups;
    for (int place = 0; place < module.NumHandlers(); ++place) {
        if (BMibImpl* const group = module.HandlerAt(place); group != nullptr) {
            groups.push_back(group);
        }
    }
    std::sort(groups.begin(), groups.end(), [](BMibImpl* a, BMibImpl* b) { return a->Oid() < b->Oid(); });
    const auto same = [](BMibImpl* a, BMibImpl* b) { return a->Oid() == b->Oid(); };
    if (std::adjacent_find(groups.begin(), groups.end(), same) != groups.end() ||
        (!groups.empty() && groups.front()->Oid().IsEmpty())) {
        return false;
    }
    for (int place = 0; place < module.NumHandlers(); ++place) {
        if (BMibImpl* const group = module.HandlerAt(place); group != nullptr) {
            group->SetModuleConventions(module.GetTCConstraintMap());
        }
    }
    m_groups = std::move(groups);
    BuildRanges();
    return true;
}

void BMibEngine::Remove(BMibImplGroup& module) {
    std::set<BMibImpl*> gone;
    for (int place = 0; place < module.NumHandlers(); ++place) {
        gone.insert(module.HandlerAt(place));
    }
    std::erase_if(m_groups, [&](BMibImpl* group) { return gone.contains(group); });
    BuildRanges();
}

void BMibEngine::BuildRanges() {
    m_ranges.clear();
    std::vector<BMibImpl*> open;  // the subtrees that contain `at`, the innermost last
    BObjectIdentifier at;         // everything before it has been assigned to a range
    const auto close = [&] {
        const BObjectIdentifier end = EndOf(open.back()->Oid());
        if (at != end) {
            m_ranges.push_back({at, end, open.back()});
        }
        at = end;
        open.pop_back();
    };
    for (BMibImpl* const group : m_groups) {
        while (!open.empty() && !group->Oid().StartsWith(open.back()->Oid())) {
            close();
        }
        if (!open.empty() && at < group->Oid()) {
            m_ranges.push_back({at, group->Oid(), open.back()});
        }
        at = group->Oid();
        open.push_back(group);
    }
    while (!open.empty()) {
        close();
    }
}

std::span<const BMibEngine::Range> BMibEngine::RangesAfter(const BObjectIdentifier& name) const {
    const auto first = std::partition_point(m_ranges.begin(), m_ranges.end(),
                                            [&](const Range& range) { return range.EndsBefore(name); });
    return {first, m_ranges.end()};
}

BMibImpl* BMibEngine::GroupOf(const BObjectIdentifier& name) const {
    const auto ranges = RangesAfter(name);
    return !ranges.empty() && ranges.front().begin <= name ? ranges.front().group : nullptr;
}

BObjectIdentifier BMibEngine::JustBefore(const BObjectIdentifier& name) {
    BObjectIdentifier before = name;
    const unsigned int last = name[name.NumArcs() - 1];
    before.Truncate(name.NumArcs() - 1);
    if (last > 0) {
        before.Append(last - 1);
        while (before.Append(0xFFFFFFFFU)) {
        }
    }
    return before;
}

int BMibEngine::Get(unsigned int requestId, BVarBind& varBind) {
    BMibImpl* const group = GroupOf(varBind.name);
    if (group == nullptr) {
        varBind.type = kNoSuchObject;
        return noError;
    }
    return group->Get(requestId, varBind);
}

int BMibEngine::GetNext(unsigned int requestId, BVarBind& varBind) {
    BVarBind next;
    for (const Range& range : RangesAfter(varBind.name)) {
        next.name = varBind.name < range.begin ? JustBefore(range.begin) : varBind.name;
        const int status = range.group->GetNext(requestId, next);
        if (status == noError) {
            if (!range.EndsBefore(next.name)) {
                varBind = std::move(next);
                return noError;
            }
        } else if (status != noSuchName && !NextLiesBehind(range, requestId, next)) {
            return status;
        }
    }
    varBind.type = kEndOfMibView;
    return noError;
}

int BMibEngine::Set(unsigned int requestId, const BVarBindList& varBinds, int& errorIndex) {
    std::deque<BSetCell> cells;  // released by their destructors
    errorIndex = 0;
    int place = 0;
    for (const BVarBind& varBind : varBinds) {
        ++place;
        BMibImpl* const group = GroupOf(varBind.name);
        const int status = group == nullptr ? notWritable : cells.emplace_back(*group, requestId, varBind).Check();
        if (status != noError) {
            errorIndex = place;
            return status;
        }
    }
    place = 0;
    for (BSetCell& cell : cells) {
        ++place;
        int status = cell.Commit();
        if (status == noError) {
            continue;
        }
        errorIndex = place;
        for (auto done = cells.rbegin(); done != cells.rend(); ++done) {
            if (done->Undo() != noError) {
                status = undoFailed;
                errorIndex = 0;
            }
        }
        return status;
    }
    return noError;
}

}  // namespace CVT
