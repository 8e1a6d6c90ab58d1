#include "agent/cvtagentd/builtin/SystemConfig.h"

#include <charconv>
#include <string_view>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

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

void ForgetAll() { s_values = {}; }

}  // namespace

void SystemConfig::Register() {
    for (const TextDirective& entry : kTexts) {
        ::snmpd_register_config_handler(entry.name, &TakeText, &ForgetAll, "TEXT");
    }
    ::snmpd_register_config_handler("sysServices", &TakeServices, &ForgetAll, "NUMBER");
}

const SystemConfig::Values& SystemConfig::Get() { return s_values; }

}  // namespace cvtagentd
