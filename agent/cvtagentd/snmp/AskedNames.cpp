#include "agent/cvtagentd/snmp/AskedNames.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

using Name = std::span<const oid>;

Name NameOf(const variable_list& varBind) { return {varBind.name, varBind.name_length}; }

/// Reads the names one after the other, each with its length before it.
class Reader {
public:
    explicit Reader(Name kept) : m_left(kept) {}

    bool IsAtEnd() const { return m_left.empty(); }
    Name Next() {
        const std::size_t length = m_left.front();
        const Name name = m_left.subspan(1, length);
        m_left = m_left.subspan(1 + length);
        return name;
    }

private:
    Name m_left;
};

bool HasEnd(const snmp_pdu& response) {
    for (const variable_list* next = response.variables; next != nullptr; next = next->next_variable) {
        if (next->type == SNMP_ENDOFMIBVIEW) {
            return true;
        }
    }
    return false;
}

/// Leaves the name as it is when there is no memory.
void Correct(variable_list& varBind, Name name) {
    if (varBind.type == SNMP_ENDOFMIBVIEW && !std::ranges::equal(NameOf(varBind), name)) {
        ::snmp_set_var_objid(&varBind, name.data(), name.size());
    }
}

}  // namespace

/// The library has a field for an OID in each message, copies it from a request to its response and frees it with
/// either, and uses it only for traps. It holds the number of non-repeaters, and then the names.
void AskedNames::Keep(snmp_pdu& request) {
    if (request.command != SNMP_MSG_GETBULK || request.non_repeaters <= 0 || request.enterprise != nullptr) {
        return;
    }
    std::size_t words = 1;
    for (const variable_list* next = request.variables; next != nullptr; next = next->next_variable) {
        words += 1 + next->name_length;
    }
    auto* const kept = static_cast<oid*>(std::malloc(words * sizeof(oid)));  // the library frees it
    if (kept == nullptr) {
        return;
    }
    oid* word = kept;
    *word++ = static_cast<oid>(request.non_repeaters);
    for (const variable_list* next = request.variables; next != nullptr; next = next->next_variable) {
        *word++ = next->name_length;
        word = std::copy_n(next->name, next->name_length, word);
    }
    request.enterprise = kept;
    request.enterprise_length = words;
}

void AskedNames::Restore(snmp_pdu& response) {
    if (response.enterprise_length == 0 || response.errstat != SNMP_ERR_NOERROR || !HasEnd(response)) {
        return;
    }
    const Name kept(response.enterprise, response.enterprise_length);
    const oid nonRepeaters = kept.front();
    Reader asked(kept.subspan(1));
    const variable_list* before = nullptr;  // in the same column, one repetition earlier
    oid place = 0;
    for (variable_list* next = response.variables; next != nullptr; next = next->next_variable, ++place) {
        if (place == nonRepeaters) {
            before = next;
        }
        if (!asked.IsAtEnd()) {
            Correct(*next, asked.Next());
        } else if (before != nullptr) {
            Correct(*next, NameOf(*before));
            before = before->next_variable;
        }
    }
}

}  // namespace cvtagentd
