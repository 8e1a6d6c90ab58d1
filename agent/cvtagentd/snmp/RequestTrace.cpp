#include "agent/cvtagentd/snmp/RequestTrace.h"

#include <chrono>
#include <map>
#include <string>

#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/snmp/MessageOrigin.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/library/snmpUDPDomain.h>
#include <net-snmp/library/snmpUDPIPv6Domain.h>
#include <net-snmp/library/snmpUnixDomain.h>

namespace cvtagentd {
namespace {

using Clock = std::chrono::steady_clock;

struct Begun {
    Clock::time_point at;
    std::string text;
};

/// A request that is dropped never ends; the oldest are forgotten.
constexpr std::size_t kMostBegun = 4096;

bool s_isOn = false;
std::map<long, Begun> s_begun;  // by the library's number of the message, which grows

const char* CommandOf(const snmp_pdu& request) {
    switch (request.command) {
        case SNMP_MSG_GET: return "GET";
        case SNMP_MSG_GETNEXT: return "GETNEXT";
        case SNMP_MSG_GETBULK: return "GETBULK";
        case SNMP_MSG_SET: return "SET";
        default: return "another PDU";
    }
}

std::string VarBindsOf(const snmp_pdu& message) {
    std::size_t count = 0;
    for (const variable_list* next = message.variables; next != nullptr; next = next->next_variable) {
        ++count;
    }
    return std::to_string(count) + (count == 1 ? " varbind" : " varbinds");
}

/// The name that com2sec, or what rocommunity makes of it, assigns to the community; null when it is unknown.
const char* SecurityNameOf(const snmp_pdu& request, const char*& context) {
    const char* name = nullptr;
    const auto* const community = reinterpret_cast<const char*>(request.community);
    const auto peer = MessageOrigin::PeerOf(request);
    const int family = peer ? peer->ss_family : AF_UNIX;
    if (family == AF_INET) {
        ::netsnmp_udp_getSecName(request.transport_data, request.transport_data_length, community,
                                 request.community_len, &name, &context);
    } else if (family == AF_INET6) {
        ::netsnmp_udp6_getSecName(request.transport_data, request.transport_data_length, community,
                                  static_cast<int>(request.community_len), &name, &context);
    } else {
        ::netsnmp_unix_getSecName(request.transport_data, request.transport_data_length, community,
                                  request.community_len, &name, &context);
    }
    return name;
}

std::string ViewOf(const snmp_pdu& request) {
    constexpr int kModelOfVersion1 = 1;
    constexpr int kModelOfVersion2c = 2;
    const int model = request.version == SNMP_VERSION_1 ? kModelOfVersion1 : kModelOfVersion2c;
    const char* context = nullptr;
    const char* const name = SecurityNameOf(request, context);
    const vacm_groupEntry* const group = name == nullptr ? nullptr : ::vacm_getGroupEntry(model, name);
    const vacm_accessEntry* const access =
        group == nullptr
            ? nullptr
            : ::vacm_getAccessEntry(group->groupName, context == nullptr ? "" : context, model, SNMP_SEC_LEVEL_NOAUTH);
    if (access == nullptr) {
        return "no view";
    }
    const char* const view = access->views[request.command == SNMP_MSG_SET ? VACM_VIEW_WRITE : VACM_VIEW_READ];
    return *view == '\0' ? "no view" : std::string("view ") + view;
}

/// "noError", "noSuchName": the library has it in brackets before a longer text.
std::string StatusOf(const snmp_pdu& response) {
    const std::string text = ::snmp_errstring(static_cast<int>(response.errstat));
    const std::size_t end = text.find(')');
    return text.starts_with('(') && end != std::string::npos ? text.substr(1, end - 1) : text;
}

}  // namespace

void RequestTrace::Start() { s_isOn = true; }

bool RequestTrace::IsOn() { return s_isOn; }

void RequestTrace::Begin(snmp_pdu& request) {
    if (!s_isOn) {
        return;
    }
    const std::string user = MessageOrigin::UserOf(request);
    std::string text = "request from " + MessageOrigin::AddressOf(request) + ": " + MessageOrigin::VersionOf(request) +
                       ", " + (request.version == SNMP_VERSION_3 ? "user " + user : ViewOf(request)) + ", " +
                       CommandOf(request) + ", " + VarBindsOf(request);
    if (s_begun.size() >= kMostBegun) {
        s_begun.erase(s_begun.begin());
    }
    s_begun[request.transid] = {Clock::now(), std::move(text)};
}

void RequestTrace::End(const snmp_pdu& response) {
    if (!s_isOn || response.command != SNMP_MSG_RESPONSE) {
        return;
    }
    const auto begun = s_begun.find(response.transid);
    if (begun == s_begun.end()) {
        return;
    }
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begun->second.at).count();
    Log::Write(LogLevel::kDebug, begun->second.text + ": " + StatusOf(response) + " with " + VarBindsOf(response) +
                                     " after " + std::to_string(took) + " us");
    s_begun.erase(begun);
}

}  // namespace cvtagentd
