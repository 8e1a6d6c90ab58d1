#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <memory>
#include <span>
#include <string_view>

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// An object identifier: 0 to 128 arcs of 32 bits, ordered arc by arc, a prefix before what it begins.
///
/// Up to kInlineArcs arcs lie in the object itself; only longer ones use the heap. A plain value: distinct objects may be
/// used from distinct threads. What would make it longer than kMaxArcs is refused and leaves it as it was.
class CVT_API BObjectIdentifier {
public:
    static constexpr unsigned int kMaxArcs = 128;
    static constexpr unsigned int kInlineArcs = 32;

    BObjectIdentifier() = default;
    /// The one-arc identifier {arc}: the index of a table with a single integer index.
    explicit BObjectIdentifier(unsigned int arc) : m_count(1) { m_inline[0] = arc; }
    /// From dotted decimal text; empty when the text is bad.
    explicit BObjectIdentifier(const BString& dotted) { Parse(dotted.View()); }
    explicit BObjectIdentifier(std::span<const unsigned int> arcs) { Set(arcs); }
    BObjectIdentifier(const BObjectIdentifier& other) { Set(other); }
    BObjectIdentifier(BObjectIdentifier&& other) noexcept { Take(other); }
    BObjectIdentifier& operator=(const BObjectIdentifier& other) {
        Set(other);
        return *this;
    }
    BObjectIdentifier& operator=(BObjectIdentifier&& other) noexcept {
        if (this != &other) {
            Take(other);
        }
        return *this;
    }
    ~BObjectIdentifier() = default;

    /// Decimal arcs separated by single dots ("1.3.6"). Bad text (null, empty, an empty arc, another character, more than
    /// 128 arcs, an arc over 4294967295) leaves the value empty and gives false.
    bool AssignFromDottedDecimalStr(const char* text);

    void Set(const BObjectIdentifier& other) {
        if (this != &other) {
            Set(other.Arcs());
        }
    }
    /// False, and unchanged, when there are more than kMaxArcs.
    bool Set(std::span<const unsigned int> arcs) {
        if (arcs.size() > kInlineArcs || m_heap) {
            return SetLong(arcs);
        }
        std::copy(arcs.begin(), arcs.end(), m_inline.begin());  // the arcs may be our own
        m_count = static_cast<unsigned int>(arcs.size());
        return true;
    }

    /// False, and unchanged, when it would have more than kMaxArcs.
    bool Append(unsigned int arc) {
        if (m_count >= kInlineArcs || m_heap) {
            return Append(std::span(&arc, 1));
        }
        m_inline[m_count++] = arc;
        return true;
    }
    bool Append(const BObjectIdentifier& other) { return Append(other.Arcs()); }
    bool Append(std::span<const unsigned int> arcs);

    void Clear() { m_count = 0; }

    /// Keeps the first `count` arcs; does nothing when there are no more.
    void Truncate(unsigned int count) {
        if (count < m_count) {
            m_count = count;
        }
    }

    /// Negative, 0 or positive, in the order that a walk visits.
    int Compare(const BObjectIdentifier& other) const;

    /// True also when both are equal.
    bool StartsWith(const BObjectIdentifier& prefix) const {
        return m_count >= prefix.m_count && AreEqual(prefix.Data(), Data(), prefix.m_count);
    }

    /// Dotted decimal text; the empty text when there are no arcs.
    BString ToString() const;

    unsigned int NumArcs() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    /// `position` must be below NumArcs().
    unsigned int operator[](unsigned int position) const { return Data()[position]; }
    /// Valid until the next change of this object.
    std::span<const unsigned int> Arcs() const { return {Data(), m_count}; }

    friend bool operator==(const BObjectIdentifier& a, const BObjectIdentifier& b) {
        return a.m_count == b.m_count && AreEqual(a.Data(), b.Data(), a.m_count);
    }
    friend std::strong_ordering operator<=>(const BObjectIdentifier& a, const BObjectIdentifier& b) {
        return a.Compare(b) <=> 0;
    }

private:
    using HeapArcs = std::array<unsigned int, kMaxArcs>;

    /// From the end, where names of one table differ. Mostly too short for a call of memcmp to pay.
    static bool AreEqual(const unsigned int* a, const unsigned int* b, unsigned int count) {
        while (count > 0 && a[count - 1] == b[count - 1]) {
            --count;
        }
        return count == 0;
    }
    bool Parse(std::string_view dotted);
    bool SetLong(std::span<const unsigned int> arcs);
    const unsigned int* Data() const { return m_heap ? m_heap->data() : m_inline.data(); }
    unsigned int* Room(unsigned int count);
    void Take(BObjectIdentifier& other) noexcept;

    unsigned int m_count = 0;
    std::array<unsigned int, kInlineArcs> m_inline;  // the first m_count arcs have a value, unless m_heap holds them
    std::unique_ptr<HeapArcs> m_heap;
};

}  // namespace CVT
