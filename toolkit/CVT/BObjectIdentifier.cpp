#include "CVT/BObjectIdentifier.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

namespace CVT {

/// Returns room to write `count` arcs; existing arcs are kept.
unsigned int* BObjectIdentifier::Room(unsigned int count) {
    if (count > kInlineArcs && !m_heap) {
        auto heap = std::make_unique<HeapArcs>();
        std::copy_n(m_inline.begin(), m_count, heap->begin());
        m_heap = std::move(heap);
    }
    return m_heap ? m_heap->data() : m_inline.data();
}

void BObjectIdentifier::Take(BObjectIdentifier& other) noexcept {
    m_count = other.m_count;
    m_heap = std::move(other.m_heap);
    if (!m_heap) {
        std::copy_n(other.m_inline.begin(), m_count, m_inline.begin());
    }
    other.m_count = 0;
}

bool BObjectIdentifier::AssignFromDottedDecimalStr(const char* text) {
    if (text == nullptr) {
        Clear();
        return false;
    }
    return Parse(text);
}

bool BObjectIdentifier::Parse(std::string_view dotted) {
    Clear();
    const char* const end = dotted.data() + dotted.size();
    BObjectIdentifier parsed;
    for (const char* at = dotted.data();; ++at) {
        unsigned int arc = 0;
        const auto [stop, error] = std::from_chars(at, end, arc);
        if (error != std::errc() || !parsed.Append(arc)) {
            return false;
        }
        at = stop;
        if (at == end) {
            break;
        }
        if (*at != '.') {
            return false;
        }
    }
    Take(parsed);
    return true;
}

bool BObjectIdentifier::SetLong(std::span<const unsigned int> arcs) {
    if (arcs.size() > kMaxArcs) {
        return false;
    }
    if (arcs.empty()) {
        Clear();
        return true;
    }
    const auto count = static_cast<unsigned int>(arcs.size());
    unsigned int* const room = Room(count);
    std::memmove(room, arcs.data(), arcs.size_bytes());  // `arcs` may point into this object
    m_count = count;
    return true;
}

bool BObjectIdentifier::Append(std::span<const unsigned int> arcs) {
    if (arcs.size() > kMaxArcs - m_count) {
        return false;
    }
    if (arcs.empty()) {
        return true;
    }
    // A change of storage would invalidate `arcs` if it points into this object.
    const unsigned int* const before = Data();
    const bool own = arcs.data() >= before && arcs.data() < before + m_count;
    const std::size_t offset = own ? static_cast<std::size_t>(arcs.data() - before) : 0;
    const auto count = static_cast<unsigned int>(arcs.size());
    unsigned int* const room = Room(m_count + count);
    const unsigned int* const source = own ? room + offset : arcs.data();
    std::memmove(room + m_count, source, arcs.size_bytes());
    m_count += count;
    return true;
}

int BObjectIdentifier::Compare(const BObjectIdentifier& other) const {
    const unsigned int* const mine = Data();
    const unsigned int* const theirs = other.Data();
    const unsigned int common = std::min(m_count, other.m_count);
    for (unsigned int i = 0; i < common; ++i) {
        if (mine[i] != theirs[i]) {
            return mine[i] < theirs[i] ? -1 : 1;
        }
    }
    if (m_count == other.m_count) {
        return 0;
    }
    return m_count < other.m_count ? -1 : 1;
}

BString BObjectIdentifier::ToString() const {
    std::string text;
    for (const unsigned int arc : Arcs()) {
        if (!text.empty()) {
            text += '.';
        }
        text += std::to_string(arc);
    }
    return BString(std::move(text));
}

}  // namespace CVT
