#include "CVT/BMapOid2Ptr.h"

#include <algorithm>
#include <iterator>

namespace CVT {

BMapOid2Ptr::Entry::Entry(const BObjectIdentifier& key, void* value) : data(value), m_count(key.NumArcs()) {
    if (m_count > 0) {
        m_first = key[0];
    }
    if (m_count > 1) {
        const auto rest = key.Arcs().subspan(1);
        m_rest = std::make_unique<unsigned int[]>(rest.size());
        std::copy(rest.begin(), rest.end(), m_rest.get());
    }
}

std::span<const unsigned int> BMapOid2Ptr::Entry::Rest() const {
    return {m_rest.get(), m_rest == nullptr ? 0 : m_count - 1};
}

/// `key` has as many arcs, and at least one.
bool BMapOid2Ptr::Entry::HasRest(const BObjectIdentifier& key) const {
    return std::ranges::equal(Rest(), key.Arcs().subspan(1));
}

bool BMapOid2Ptr::Entry::IsBefore(const BObjectIdentifier& key) const {
    if (m_count == 0 || key.IsEmpty()) {
        return m_count < key.NumArcs();
    }
    if (m_first != key[0]) {
        return m_first < key[0];
    }
    return std::ranges::lexicographical_compare(Rest(), key.Arcs().subspan(1));
}

void BMapOid2Ptr::Entry::ReadKey(BObjectIdentifier& key) const {
    key.Clear();
    if (m_count > 0) {
        key.Append(m_first);
    }
    if (m_rest != nullptr) {
        key.Append(Rest());
    }
}

BObjectIdentifier BMapOid2Ptr::KeyAt(unsigned int position) const {
    BObjectIdentifier key;
    m_entries[position].ReadKey(key);
    return key;
}

BMapOid2Ptr::Place BMapOid2Ptr::Find(const BObjectIdentifier& key) const {
    const std::size_t last = m_last.load(std::memory_order_relaxed);
    if (HoldsAt(last, key)) {
        return {last, true};
    }
    if (HoldsAt(last + 1, key)) {
        m_last.store(last + 1, std::memory_order_relaxed);
        return {last + 1, true};
    }
    if (m_entries.empty() || m_entries.back().IsBefore(key)) {
        return {m_entries.size(), false};  // most rows arrive in ascending order
    }
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), key,
                                     [](const Entry& entry, const BObjectIdentifier& k) { return entry.IsBefore(k); });
    const auto position = static_cast<std::size_t>(at - m_entries.begin());
    m_last.store(position, std::memory_order_relaxed);
    return {position, at->IsKey(key)};
}

bool BMapOid2Ptr::Insert(const BObjectIdentifier& key, void* data) {
    const Place place = Find(key);
    if (place.isKey) {
        return false;
    }
    m_entries.insert(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(place.position)), Entry(key, data));
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
    m_last.store(behind, std::memory_order_relaxed);  // what a walk asks for next
    m_entries[behind].ReadKey(next);
    return true;
}

}  // namespace CVT
