#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// An object identifier: 0 to 128 arcs of 32 bits, compared arc by arc, a prefix before any name that it begins.
///
/// Up to kInlineArcs arcs are stored in the object itself; only longer ones use the heap. A plain value: distinct
/// objects may be used from distinct threads. An operation that would exceed kMaxArcs is refused and leaves the value
/// unchanged.
class CVT_API BObjectIdentifier {
public:
    static constexpr unsigned int kMaxArcs = 128;
    static constexpr unsigned int kInlineArcs = 32;

    BObjectIdentifier() = default;
    /// The one-arc identifier {arc}: the index of a table with a single integer index.
    explicit BObjectIdentifier(unsigned int arc) : m_count(1) { m_inline[0] = arc; }
    /// From dotted decimal text; empty when the text is malformed.
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

    /// Parses decimal arcs separated by single dots ("1.3.6"). Returns false and leaves the value empty when the text
    /// is malformed: null, empty, an empty arc, another character, more than 128 arcs, or an arc over 4294967295.
    bool AssignFromDottedDecimalStr(const char* text);

    void Set(const BObjectIdentifier& other) {
        if (this != &other) {
            Set(other.Arcs());
        }
    }
    /// Returns false and changes nothing when there are more than kMaxArcs.
    bool Set(std::span<const unsigned int> arcs) {
        if (arcs.size() > kInlineArcs || m_heap) {
            return SetLong(arcs);
        }
        std::copy(arcs.begin(), arcs.end(), m_inline.begin());  // `arcs` may point into this object
        m_count = static_cast<unsigned int>(arcs.size());
        return true;
    }

    /// Returns false and changes nothing when the result would have more than kMaxArcs.
    bool Append(unsigned int arc) {
        if (m_count >= kInlineArcs || m_heap) {
            return Append(std::span(&arc, 1));
        }
        m_inline[m_count++] = arc;
        return true;
    }
    bool Append(const BObjectIdentifier& other) {
        return other.m_count == 1 ? Append(other.Data()[0]) : Append(other.Arcs());
    }
    bool Append(std::span<const unsigned int> arcs);

    void Clear() { m_count = 0; }

    /// Keeps the first `count` arcs; does nothing when there are fewer.
    void Truncate(unsigned int count) {
        if (count < m_count) {
            m_count = count;
        }
    }

    /// Negative, 0 or positive, in the order of a walk.
    int Compare(const BObjectIdentifier& other) const;

    /// Also true when both are equal.
    bool StartsWith(const BObjectIdentifier& prefix) const {
        return m_count >= prefix.m_count && std::memcmp(prefix.Data(), Data(), prefix.m_count * sizeof(int)) == 0;
    }

    /// Dotted decimal text; the empty text when there are no arcs.
    BString ToString() const;

    unsigned int NumArcs() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    /// `position` must be below NumArcs().
    unsigned int operator[](unsigned int position) const { return Data()[position]; }
    /// Valid until this object next changes.
    std::span<const unsigned int> Arcs() const { return {Data(), m_count}; }

    friend bool operator==(const BObjectIdentifier& a, const BObjectIdentifier& b) {
        return a.m_count == b.m_count && AreEqual(a.Data(), b.Data(), a.m_count);
    }
    friend std::strong_ordering operator<=>(const BObjectIdentifier& a, const BObjectIdentifier& b) {
        return a.Compare(b) <=> 0;
    }

private:
    using HeapArcs = std::array<unsigned int, kMaxArcs>;

    /// Compares from the end, where the names of one table differ, which is quicker than memcmp.
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
    std::array<unsigned int, kInlineArcs> m_inline;  // the first m_count arcs are set, unless m_heap is used
    std::unique_ptr<HeapArcs> m_heap;
};

}  // namespace CVT
