#include "agent/cvtagentd/snmp/LibraryLog.h"

#include <algorithm>
#include <cerrno>

#include "agent/cvtagentd/process/RateLimit.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

LibraryLog::Collector* s_collector = nullptr;
RateLimit s_guard;
unsigned int s_alarm = 0;  // the library's, for reporting messages held back; 0 when there are none

void OnAlarm(unsigned int id, void* unused);

void SetAlarm() {
    if (s_alarm == 0 && s_guard.IsHolding()) {
        s_alarm = ::snmp_alarm_register(static_cast<unsigned int>(RateLimit::kWindow.count()), 0, &OnAlarm, nullptr);
    }
}

struct Demoted {
    const char* beginning;
    std::function<void(const std::string&)> listener;
};

std::vector<Demoted> s_demoted;

/// What the library logs as a notice, such as a folder that it has made, is a debug message here.
LogLevel LevelOf(int priority) {
    if (priority <= LOG_ERR) {
        return LogLevel::kError;
    }
    return priority == LOG_WARNING ? LogLevel::kWarning : LogLevel::kDebug;
}

/// Whether the message is a demoted one; if so, calls its listener.
bool IsDemoted(const std::string& text) {
    const auto found = std::find_if(s_demoted.begin(), s_demoted.end(),
                                    [&](const Demoted& demoted) { return text.starts_with(demoted.beginning); });
    if (found == s_demoted.end()) {
        return false;
    }
    if (found->listener) {
        found->listener(text);
    }
    return true;
}

/// The first two words: what follows them names a user or an address.
std::string KindOf(const std::string& text) {
    const std::size_t first = text.find(' ');
    return first == std::string::npos ? text : text.substr(0, text.find(' ', first + 1));
}

void WriteHeld() {
    for (const RateLimit::Held& held : s_guard.TakeHeld(RateLimit::Clock::now())) {
        Log::Warning(std::to_string(held.count) + " more messages that begin with \"" + held.kind +
                     "\" within a minute were not logged");
    }
}

void OnAlarm(unsigned int /*id*/, void* /*unused*/) {
    s_alarm = 0;
    WriteHeld();
    SetAlarm();
}

int OnMessage(int /*majorId*/, int /*minorId*/, void* message, void* /*unused*/) {
    const int systemError = errno;
    const auto* const said = static_cast<const snmp_log_message*>(message);
    std::string text = said->msg;
    text.resize(text.find_last_not_of(". \n") + 1);
    const LogLevel level = LevelOf(said->priority);
    if (s_collector != nullptr && level <= LogLevel::kWarning) {
        s_collector->Take({std::move(text), systemError});
    } else {
        LibraryLog::WriteLimited(IsDemoted(text) ? LogLevel::kDebug : level, KindOf(text), "SNMP library: " + text);
    }
    return SNMP_ERR_NOERROR;
}

}  // namespace

void LibraryLog::Install() {
    ::snmp_disable_stderrlog();
    ::snmp_enable_calllog();
    ::snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, &OnMessage, nullptr);
}

void LibraryLog::WriteLimited(LogLevel level, const std::string& kind, const std::string& text) {
    if (level > LogLevel::kInfo) {
        Log::Write(level, text);
        return;
    }
    WriteHeld();
    if (s_guard.Admit(kind, RateLimit::Clock::now())) {
        Log::Write(level, text);
    } else {
        SetAlarm();
    }
}

void LibraryLog::Demote(const char* beginning, std::function<void(const std::string&)> listener) {
    s_demoted.push_back({beginning, std::move(listener)});
}

void LibraryLog::ForgetDemoted() { s_demoted.clear(); }

LibraryLog::Collector::Collector() { s_collector = this; }

LibraryLog::Collector::~Collector() { s_collector = nullptr; }

}  // namespace cvtagentd
