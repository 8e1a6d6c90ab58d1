#include "agent/cvtagentd/snmp/ResponseBuilder.h"

#include <cstring>

#include "CVT/SnmpTypes.h"
#include "agent/cvtagentd/snmp/AskedNames.h"
#include "agent/cvtagentd/snmp/MessageSize.h"
#include "agent/cvtagentd/snmp/RequestTrace.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// A flag of a request and of its response: it is a GETBULK. The library has no such flag; its own
/// UCD_MSG_FLAG_BULK_TOOBIG is also set for a GETNEXT, whose response must have all varbinds.
constexpr u_long kIsBulk = 0x40000000;
/// The same for a SET.
constexpr u_long kIsSet = 0x20000000;

/// A message with the varbinds that are to be sent. The destructor restores the message that the library made, so that
/// the library frees all of it.
class Fitted {
public:
    explicit Fitted(snmp_pdu& message) : m_message(message), m_original(message) {
        const std::size_t limit = MessageSize::Limit(message);
        const std::size_t empty = MessageSize::WithoutVarBinds(message);
        if (!FitsForSure(message, empty, limit)) {
            Fit(empty, limit);
        }
        message.flags &= ~static_cast<u_long>(UCD_MSG_FLAG_FORWARD_ENCODE | UCD_MSG_FLAG_BULK_TOOBIG);
        if (message.version == SNMP_VERSION_3) {
            message.msgMaxSize = static_cast<long>(MessageSize::kLongest);
        }
    }
    ~Fitted() {
        m_message.variables = m_original.variables;
        m_message.errstat = m_original.errstat;
        m_message.errindex = m_original.errindex;
        m_message.flags = m_original.flags;
        m_message.msgMaxSize = m_original.msgMaxSize;
        if (m_last != nullptr) {
            m_last->next_variable = m_rest;
        }
    }
    Fitted(const Fitted&) = delete;
    Fitted& operator=(const Fitted&) = delete;

private:
    static bool FitsForSure(const snmp_pdu& message, std::size_t octets, std::size_t limit) {
        for (const variable_list* next = message.variables; next != nullptr; next = next->next_variable) {
            octets += MessageSize::AtMost(*next);
        }
        return octets <= limit;
    }

    void Fit(std::size_t octets, std::size_t limit) {
        variable_list* last = nullptr;
        for (variable_list* next = m_message.variables; next != nullptr; next = next->next_variable) {
            octets += MessageSize::Of(*next);
            if (octets > limit) {
                break;
            }
            last = next;
        }
        if (octets > limit) {
            Shorten(last);
        }
    }

    void Shorten(variable_list* last) {
        const bool mayLoseSome = (m_message.flags & kIsBulk) != 0 && m_message.errstat == CVT::noError;
        if (mayLoseSome && last != nullptr) {
            m_last = last;
            m_rest = last->next_variable;
            last->next_variable = nullptr;
            return;
        }
        m_message.variables = nullptr;
        if (m_message.command == SNMP_MSG_RESPONSE) {
            m_message.errstat = CVT::tooBig;
            m_message.errindex = 0;
            ::snmp_increment_statistic(STAT_SNMPOUTTOOBIGS);
        }
    }

    snmp_pdu& m_message;
    const snmp_pdu m_original;
    variable_list* m_last = nullptr;  // the last one sent, where some are left out
    variable_list* m_rest = nullptr;
};

/// What the library does not count: reports, and the varbinds of a SET, which it takes for those of a GET.
void Count(const snmp_pdu& message) {
    if (message.command == SNMP_MSG_REPORT) {
        ::snmp_increment_statistic(STAT_SNMPOUTPKTS);
    } else if ((message.flags & kIsSet) != 0 && message.errstat == CVT::noError) {
        int count = 0;
        for (const variable_list* next = message.variables; next != nullptr; next = next->next_variable) {
            ++count;
        }
        ::snmp_increment_statistic_by(STAT_SNMPINTOTALREQVARS, -count);
        ::snmp_increment_statistic_by(STAT_SNMPINTOTALSETVARS, count);
    }
}

}  // namespace

void ResponseBuilder::Expect(snmp_pdu& request) {
    if (request.command == SNMP_MSG_GETBULK) {
        request.flags |= kIsBulk;
        AskedNames::Keep(request);
    } else if (request.command == SNMP_MSG_SET) {
        request.flags |= kIsSet;
    }
    if (request.version == SNMP_VERSION_3) {
        MessageSize::KeepFromLibrary(request);
    }
}

int ResponseBuilder::Build(snmp_session* session, snmp_pdu* message, unsigned char** packet, std::size_t* length,
                           std::size_t* offset) {
    Count(*message);
    if ((message->flags & kIsBulk) != 0) {
        AskedNames::Restore(*message);
    }
    const Fitted fitted(*message);
    RequestTrace::End(*message);
    // Whatever the configuration says: encoding forwards, the library would write into a block of fixed size.
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_REVERSE_ENCODE, 1);
    const int failed = ::snmp_build(packet, length, offset, session, message);
    // The library encodes from the end of the block to its start, but expects the finished message at the start.
    if (failed == 0) {
        std::memmove(*packet, *packet + *length - *offset, *offset);
    }
    return failed;
}

}  // namespace cvtagentd
