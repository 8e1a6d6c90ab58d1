#include "agent/cvtagentd/agentx/MasterConfig.h"

#include <charconv>
#include <string_view>

#include "agent/cvtagentd/agentx/MasterAddress.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

constexpr int kLongestPingInterval = 3600;

MasterConfig::Values s_values;

void TakeSocket(const char* directive, char* rest) {
    if (const std::string why = MasterAddress(rest).WhyMalformed(); !why.empty()) {
        ::config_perror((std::string(directive) + " " + rest + ": " + why).c_str());
        return;
    }
    s_values.address = rest;
}

void TakePingInterval(const char* directive, char* rest) {
    const std::string_view text(rest);
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 1 || seconds > kLongestPingInterval) {
        ::config_perror(
            (std::string(directive) + " needs a number of seconds from 1 to " + std::to_string(kLongestPingInterval))
                .c_str());
        return;
    }
    s_values.pingInterval = std::chrono::seconds(seconds);
}

}  // namespace

void MasterConfig::Register() {
    ::snmpd_register_config_handler("agentXSocket", &TakeSocket, nullptr, "ADDRESS");
    ::snmpd_register_config_handler("agentXPingInterval", &TakePingInterval, nullptr, "SECONDS");
}

const MasterConfig::Values& MasterConfig::Get() { return s_values; }

}  // namespace cvtagentd
