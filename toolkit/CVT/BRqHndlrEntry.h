#pragma once

#include <type_traits>
#include <variant>

#include "CVT/BObjectIdentifier.h"
#include "CVT/BOctetString.h"
#include "CVT/SnmpTypes.h"

namespace CVT {

class BMibImpl;

// The signatures of handlers. The result is an ESnmpStatus; T is the type for the column's value kind.

template <class T>
using BScalarGet = int (BMibImpl::*)(unsigned int requestId, T& value);
template <class T>
using BScalarSet = int (BMibImpl::*)(ESnmpSetOpCode phase, unsigned int requestId, const T& value, void** undo);
template <class T>
using BTableGet = int (BMibImpl::*)(const BObjectIdentifier& index, unsigned int requestId, T& value);
template <class T>
using BTableSet = int (BMibImpl::*)(const BObjectIdentifier& index, ESnmpSetOpCode phase, unsigned int requestId,
                                    const T& value, void** undo);

/// The operation that reads a column, and the one that writes it: a member function with its own type, or none. The
/// type says whether it belongs to a scalar or a table, and what it exchanges, so that a wrong entry is detected and
/// not called.
using BGetOperation = std::variant<std::monostate, BScalarGet<int>, BScalarGet<unsigned int>, BScalarGet<BOctetString>,
                                   BScalarGet<BObjectIdentifier>, BTableGet<int>, BTableGet<unsigned int>,
                                   BTableGet<BOctetString>, BTableGet<BObjectIdentifier>>;
using BSetOperation = std::variant<std::monostate, BScalarSet<int>, BScalarSet<unsigned int>, BScalarSet<BOctetString>,
                                   BScalarSet<BObjectIdentifier>, BTableSet<int>, BTableSet<unsigned int>,
                                   BTableSet<BOctetString>, BTableSet<BObjectIdentifier>>;

/// One column of a group: its declaration, and the operations that read and write it. A group's table is an array in
/// ascending order of sub-identifiers that ends with an all-zero entry, named s_rqhndlrEntries.
struct BRqHndlrEntry {
    unsigned int subId = 0;      ///< under the group's OID (scalars) or the table's entry OID
    const char* name = nullptr;  ///< the MIB object name, such as "hrSystemUptime"
    unsigned int type = 0;       ///< the ASN.1 tag, an ESnmpType
    unsigned int access = 0;     ///< an EAccess
    unsigned int valueKind = 0;  ///< an EValueKind: with the group's kind it determines both handlers' signatures
    unsigned int reserved = 0;
    BGetOperation get;
    BSetOperation set;  ///< none if and only if the column is read-only

    constexpr bool IsEnd() const { return subId == 0; }
    constexpr bool IsWritable() const { return access == kReadWrite && set.index() != 0; }
};

namespace detail {

template <class T>
struct HandlerTraits;
template <class G, class T>
struct HandlerTraits<int (G::*)(unsigned int, T&)> {
    using Value = T;
    using Base = BScalarGet<T>;
};
template <class G, class T>
struct HandlerTraits<int (G::*)(const BObjectIdentifier&, unsigned int, T&)> {
    using Value = T;
    using Base = BTableGet<T>;
};
template <class G, class T>
struct HandlerTraits<int (G::*)(ESnmpSetOpCode, unsigned int, const T&, void**)> {
    using Value = T;
    using Base = BScalarSet<T>;
};
template <class G, class T>
struct HandlerTraits<int (G::*)(const BObjectIdentifier&, ESnmpSetOpCode, unsigned int, const T&, void**)> {
    using Value = T;
    using Base = BTableSet<T>;
};

template <class T>
constexpr bool FitsKind(EValueKind kind) {
    switch (kind) {
        case kIntValue: return std::is_same_v<T, int>;
        case kOctetStringValue:
        case kDisplayStringValue: return std::is_same_v<T, BOctetString>;
        case kObjectIdentifierValue: return std::is_same_v<T, BObjectIdentifier>;
        case kUnsignedValue: return std::is_same_v<T, unsigned int>;
    }
    return false;
}

/// The handler as the toolkit calls it: as a member of the base class.
template <class Handler>
constexpr auto AsBaseMember(Handler handler) {
    return static_cast<typename HandlerTraits<Handler>::Base>(handler);
}

}  // namespace detail

/// Declares a read-only column. A handler whose value type does not match `Kind` does not compile.
template <EValueKind Kind, class Get>
constexpr BRqHndlrEntry Column(unsigned int subId, const char* name, ESnmpType type, Get get) {
    static_assert(detail::FitsKind<typename detail::HandlerTraits<Get>::Value>(Kind));
    return {subId, name, type, kReadOnly, Kind, 0, detail::AsBaseMember(get), {}};
}

/// Declares a read-write column.
template <EValueKind Kind, class Get, class Set>
constexpr BRqHndlrEntry Column(unsigned int subId, const char* name, ESnmpType type, Get get, Set set) {
    static_assert(detail::FitsKind<typename detail::HandlerTraits<Get>::Value>(Kind));
    static_assert(detail::FitsKind<typename detail::HandlerTraits<Set>::Value>(Kind));
    return {subId, name, type, kReadWrite, Kind, 0, detail::AsBaseMember(get), detail::AsBaseMember(set)};
}

}  // namespace CVT
