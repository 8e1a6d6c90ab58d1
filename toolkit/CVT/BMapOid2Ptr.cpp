#include "CVT/BMapOid2Ptr.h"

#include <algorithm>
#include <iterator>

namespace CVT {

/// The position of the first key not less than `key`.
std::size_t BMapOid2Ptr::LowerBound(const BObjectIdentifier& key) const {
    if (m_entries.empty() || m_entries.back().key < key) {
        return m_entries.size();  // rows mostly arrive in ascending order
    }
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), key,
                                     [](const Entry& entry, const BObjectIdentifier& k) { return entry.key < k; });
    return static_cast<std::size_t>(at - m_entries.begin());
}

bool BMapOid2Ptr::Insert(const BObjectIdentifier& key, void* data) {
    const std::size_t at = LowerBound(key);
    if (at < m_entries.size() && m_entries[at].key == key) {
        return false;
    }
    m_entries.insert(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(at)), Entry{key, data});
    return true;
}

void* BMapOid2Ptr::GetData(const BObjectIdentifier& key) const {
    const std::size_t at = LowerBound(key);
    return at < m_entries.size() && m_entries[at].key == key ? m_entries[at].data : nullptr;
}

bool BMapOid2Ptr::Remove(const BObjectIdentifier& key) {
    const std::size_t at = LowerBound(key);
    if (at >= m_entries.size() || m_entries[at].key != key) {
        return false;
    }
    m_entries.erase(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(at)));
    return true;
}

bool BMapOid2Ptr::Next(const BObjectIdentifier& key, BObjectIdentifier& next) const {
    std::size_t at = LowerBound(key);
    if (at < m_entries.size() && m_entries[at].key == key) {
        ++at;
    }
    if (at >= m_entries.size()) {
        return false;
    }
    next.Set(m_entries[at].key);
    return true;
}

}  // namespace CVT
