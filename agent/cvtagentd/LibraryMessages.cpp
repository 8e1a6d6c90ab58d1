#include "agent/cvtagentd/LibraryMessages.h"

#include <algorithm>
#include <cerrno>

#include "agent/cvtagentd/SnmpHeaders.h"

namespace agent {
namespace {

LibraryMessages::Collector* s_collector = nullptr;
std::vector<const char*> s_demoted;

/// What the library finds worth a notice, such as a folder that it has made, is a detail here.
LogLevel LevelOf(int priority) {
    if (priority <= LOG_ERR) {
        return LogLevel::kError;
    }
    return priority == LOG_WARNING ? LogLevel::kWarning : LogLevel::kDebug;
}

bool IsDemoted(const std::string& text) {
    return std::any_of(s_demoted.begin(), s_demoted.end(), [&](const char* start) { return text.starts_with(start); });
}

}  // namespace

void LibraryMessages::Install() {
    ::snmp_disable_stderrlog();
    ::snmp_enable_calllog();
    ::snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, &LibraryMessages::OnMessage, nullptr);
}

int LibraryMessages::OnMessage(int /*majorId*/, int /*minorId*/, void* message, void* /*unused*/) {
    const int systemError = errno;
    const auto* const said = static_cast<const snmp_log_message*>(message);
    std::string text = said->msg;
    text.resize(text.find_last_not_of(". \n") + 1);
    const LogLevel level = LevelOf(said->priority);
    if (s_collector != nullptr && level <= LogLevel::kWarning) {
        s_collector->m_messages.push_back({std::move(text), systemError});
    } else {
        Log::Write(IsDemoted(text) ? LogLevel::kDebug : level, "SNMP library: " + text);
    }
    return SNMP_ERR_NOERROR;
}

void LibraryMessages::Demote(const char* beginning) { s_demoted.push_back(beginning); }

LibraryMessages::Collector::Collector() { s_collector = this; }

LibraryMessages::Collector::~Collector() { s_collector = nullptr; }

}  // namespace agent
