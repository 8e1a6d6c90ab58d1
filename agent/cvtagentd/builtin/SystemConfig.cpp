#include "agent/cvtagentd/builtin/SystemConfig.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "CVT/BObjectIdentifier.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_trap.h>

namespace cvtagentd {
namespace {

constexpr int kMaxServices = 127;

SystemConfig::Values s_values;

struct TextDirective {
    const char* name;
    std::string SystemConfig::Values::*value;
};

constexpr TextDirective kTexts[] = {
    {"sysDescr", &SystemConfig::Values::descr},
    {"sysContact", &SystemConfig::Values::contact},
    {"sysName", &SystemConfig::Values::name},
    {"sysLocation", &SystemConfig::Values::location},
};

void Report(const char* directive, const std::string& what) {
    ::config_perror((std::string(directive) + " " + what).c_str());
}

void TakeText(const char* directive, char* rest) {
    const std::string_view text(rest);
    if (text.size() > SystemConfig::kMaxOctets) {
        Report(directive, "holds at most " + std::to_string(SystemConfig::kMaxOctets) + " octets, not " +
                              std::to_string(text.size()));
        return;
    }
    for (const TextDirective& entry : kTexts) {
        if (::strcasecmp(directive, entry.name) == 0) {
            s_values.*entry.value = text;
        }
    }
}

void TakeServices(const char* directive, char* rest) {
    const std::string_view text(rest);
    int services = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), services);
    if (error != std::errc() || end != text.data() + text.size() || services < 0 || services > kMaxServices) {
        Report(directive, "needs a number from 0 to " + std::to_string(kMaxServices));
        return;
    }
    s_values.services = services;
}

/// What BER can encode: at least two arcs, the first 0 to 2, and the second below 40 unless the first is 2.
void TakeObjectId(const char* directive, char* rest) {
    std::string text(rest);
    text.erase(0, text.starts_with('.') ? 1 : 0);
    text.erase(text.find_last_not_of(" \t\r") + 1);
    CVT::BObjectIdentifier id;
    constexpr unsigned int kJoint = 2;
    constexpr unsigned int kMostSecond = 39;
    if (!id.AssignFromDottedDecimalStr(text.c_str()) || id.NumArcs() < 2 || id[0] > kJoint ||
        (id[0] < kJoint && id[1] > kMostSecond)) {
        Report(directive, "needs an object identifier in numbers, such as 1.3.6.1.4.1.8072.3.2.10");
        return;
    }
    s_values.objectId = text;
}

void PassOnAuthenTraps(bool enabled) {
    std::string value = enabled ? "1" : "2";
    ::snmpd_parse_config_authtrap("authtrapenable", value.data());
}

/// The library's own handler, which checks the value, does not say what it has taken, and keeps it when the directive
/// is removed.
void TakeAuthenTraps(const char* directive, char* rest) {
    const std::string text(rest);
    ::snmpd_parse_config_authtrap(directive, rest);
    s_values.authenTraps = ::strcasecmp(text.c_str(), "enable") == 0 || std::atoi(text.c_str()) == 1;
}

void ForgetAll() {
    s_values = {};
    PassOnAuthenTraps(s_values.authenTraps);
}

}  // namespace

void SystemConfig::Register() {
    for (const TextDirective& entry : kTexts) {
        ::snmpd_register_config_handler(entry.name, &TakeText, &ForgetAll, "TEXT");
    }
    ::snmpd_register_config_handler("sysServices", &TakeServices, &ForgetAll, "NUMBER");
    ::snmpd_register_config_handler("sysObjectID", &TakeObjectId, &ForgetAll, "OID");
    ::snmpd_register_config_handler("authtrapenable", &TakeAuthenTraps, &ForgetAll, "1 | 2");
}

const SystemConfig::Values& SystemConfig::Get() { return s_values; }

void SystemConfig::SetAuthenTraps(bool enabled) {
    s_values.authenTraps = enabled;
    PassOnAuthenTraps(enabled);
}

}  // namespace cvtagentd
