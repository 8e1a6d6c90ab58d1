#include "CVT/BMapOid2Ptr.h"

#include <algorithm>
#include <iterator>

namespace CVT {

BMapOid2Ptr::Place BMapOid2Ptr::Find(const BObjectIdentifier& key) const {
    const std::size_t last = m_last.load(std::memory_order_relaxed);
    if (HoldsAt(last, key)) {
        return {last, true};
    }
    if (HoldsAt(last + 1, key)) {
        m_last.store(last + 1, std::memory_order_relaxed);
        return {last + 1, true};
    }
    if (m_entries.empty() || m_entries.back().key < key) {
        return {m_entries.size(), false};  // most rows arrive in ascending order
    }
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), key,
                                     [](const Entry& entry, const BObjectIdentifier& k) { return entry.key < k; });
    const auto position = static_cast<std::size_t>(at - m_entries.begin());
    m_last.store(position, std::memory_order_relaxed);
    return {position, at->key == key};
}

bool BMapOid2Ptr::Insert(const BObjectIdentifier& key, void* data) {
    const Place place = Find(key);
    if (place.isKey) {
        return false;
    }
    m_entries.insert(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(place.position)), Entry{key, data});
    return true;
}

void* BMapOid2Ptr::GetData(const BObjectIdentifier& key) const {
    const Place place = Find(key);
    return place.isKey ? m_entries[place.position].data : nullptr;
}

bool BMapOid2Ptr::Remove(const BObjectIdentifier& key) {
    const Place place = Find(key);
    if (place.isKey) {
        m_entries.erase(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(place.position)));
    }
    return place.isKey;
}

bool BMapOid2Ptr::Next(const BObjectIdentifier& key, BObjectIdentifier& next) const {
    const Place place = Find(key);
    const std::size_t behind = place.isKey ? place.position + 1 : place.position;
    if (behind >= m_entries.size()) {
        return false;
    }
    next.Set(m_entries[behind].key);
    return true;
}

}  // namespace CVT
