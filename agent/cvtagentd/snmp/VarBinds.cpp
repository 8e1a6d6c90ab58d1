#include "agent/cvtagentd/snmp/VarBinds.h"

#include <algorithm>
#include <array>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

static_assert(std::is_same_v<oid, unsigned long>);
static_assert(MAX_OID_LEN == CVT::BObjectIdentifier::kMaxArcs);

/// The library keeps an arc in a word, the toolkit in 32 bits.
struct WideOid {
    explicit WideOid(const CVT::BObjectIdentifier& from) : length(from.NumArcs()) {
        std::copy_n(from.Arcs().data(), length, arcs.data());
    }

    std::array<oid, MAX_OID_LEN> arcs;  // the first `length` have a value
    std::size_t length;
};

}  // namespace

void VarBinds::Narrow(const unsigned long* arcs, std::size_t count, CVT::BObjectIdentifier& to) {
    std::array<unsigned int, CVT::BObjectIdentifier::kMaxArcs> narrow;
    count = std::min(count, narrow.size());
    std::transform(arcs, arcs + count, narrow.begin(), [](oid arc) { return static_cast<unsigned int>(arc); });
    to.Set(std::span(narrow.data(), count));
}

void VarBinds::ReadName(const variable_list& from, CVT::BObjectIdentifier& name) {
    Narrow(from.name, from.name_length, name);
}

CVT::BVarBind VarBinds::ReadOffer(const variable_list& from) {
    CVT::BVarBind to;
    ReadName(from, to.name);
    switch (from.type) {
        case ASN_INTEGER:
            to.type = CVT::kInteger;
            to.integer = static_cast<int>(*from.val.integer);
            break;
        case ASN_COUNTER:
        case ASN_GAUGE:
        case ASN_TIMETICKS:
            to.type = static_cast<CVT::ESnmpType>(from.type);
            to.number = static_cast<unsigned int>(*from.val.integer);
            break;
        case ASN_OCTET_STR:
            to.type = CVT::kOctetString;
            to.octets.Assign({reinterpret_cast<const char*>(from.val.string), from.val_len});
            break;
        case ASN_OBJECT_ID:
            to.type = CVT::kObjectIdentifier;
            Narrow(from.val.objid, from.val_len / sizeof(oid), to.identifier);
            break;
        default: break;
    }
    return to;
}

/// Most names go where the library would copy them to, without a copy in between.
bool VarBinds::WriteName(const CVT::BObjectIdentifier& name, variable_list& to) {
    if (oid* const room = to.name_loc; to.name == nullptr || to.name == room) {
        const auto arcs = name.Arcs();
        std::copy(arcs.begin(), arcs.end(), room);
        to.name = room;
        to.name_length = arcs.size();
        return true;
    }
    const WideOid wide(name);
    return ::snmp_set_var_objid(&to, wide.arcs.data(), wide.length) == 0;
}

bool VarBinds::WriteValue(const CVT::BVarBind& from, variable_list& to) {
    switch (from.type) {
        case CVT::kInteger: return ::snmp_set_var_typed_integer(&to, ASN_INTEGER, from.integer) == 0;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return ::snmp_set_var_typed_integer(&to, from.type, from.number) == 0;
        case CVT::kOctetString:
            return ::snmp_set_var_typed_value(&to, ASN_OCTET_STR, from.octets.Data(), from.octets.Length()) == 0;
        case CVT::kObjectIdentifier: {
            WideOid wide(from.identifier);
            if (wide.length == 0) {
                wide.arcs[0] = wide.arcs[1] = 0;
                wide.length = 2;
            }
            return ::snmp_set_var_typed_value(&to, ASN_OBJECT_ID, wide.arcs.data(), wide.length * sizeof(oid)) == 0;
        }
        default: return false;
    }
}

bool VarBinds::IsIn(const CVT::BObjectIdentifier& subtree, const unsigned long* arcs, unsigned long length) {
    const auto root = subtree.Arcs();
    return length >= root.size() && std::equal(root.begin(), root.end(), arcs);
}

bool VarBinds::IsInView(const CVT::BObjectIdentifier& name, snmp_pdu& message) {
    WideOid wide(name);
    return ::in_a_view(wide.arcs.data(), &wide.length, &message, ASN_NULL) == VACM_SUCCESS;
}

void VarBinds::Refuse(netsnmp_request_info& request, int status) {
    const bool known = status > CVT::noError && status <= CVT::inconsistentName;
    ::netsnmp_request_set_error(&request, known ? status : SNMP_ERR_GENERR);
}

}  // namespace cvtagentd
