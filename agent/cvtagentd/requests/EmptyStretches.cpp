#include "agent/cvtagentd/requests/EmptyStretches.h"

#include <algorithm>
#include <iterator>

namespace cvtagentd {

void EmptyStretches::Skip(CVT::BObjectIdentifier& name) const {
    const auto after = m_lasts.upper_bound(name);
    if (after != m_lasts.begin() && name < std::prev(after)->second) {
        name.Set(std::prev(after)->second);
    }
}

void EmptyStretches::Add(const CVT::BObjectIdentifier& begin, const CVT::BObjectIdentifier& last) {
    auto stretch = m_lasts.upper_bound(begin);
    if (stretch != m_lasts.begin() && begin <= std::prev(stretch)->second) {
        stretch = std::prev(stretch);
        stretch->second.Set(std::max(stretch->second, last));
    } else {
        stretch = m_lasts.emplace_hint(stretch, begin, last);
    }
    for (auto next = std::next(stretch); next != m_lasts.end() && next->first <= stretch->second;) {
        stretch->second.Set(std::max(stretch->second, next->second));
        next = m_lasts.erase(next);
    }
}

}  // namespace cvtagentd
