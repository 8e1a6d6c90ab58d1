#include "agent/cvtagentd/process/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {
namespace {

constexpr std::int64_t kLongestWatchdogMicroseconds = 24LL * 60 * 60 * 1'000'000;
constexpr timeval kPatience{1, 0};  // with a manager that does not read

/// Returns the variable's value and removes it. There is no second thread yet.
std::string Taken(const char* variable) {
    const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): no second thread
    std::string copy = value == nullptr ? "" : value;
    ::unsetenv(variable);  // NOLINT(concurrency-mt-unsafe): no second thread
    return copy;
}

/// A whole number above 0, or 0.
std::int64_t Number(const std::string& text) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end && number > 0 ? number : 0;
}

/// As the manager's clock shows it.
std::int64_t MonotonicMicroseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

}  // namespace

ServiceManager::ServiceManager() {
    const std::string address = Taken("NOTIFY_SOCKET");
    const std::int64_t microseconds = std::min(Number(Taken("WATCHDOG_USEC")), kLongestWatchdogMicroseconds);
    const std::string pid = Taken("WATCHDOG_PID");
    if (address.empty()) {
        return;
    }
    Connect(address);
    if (m_socket >= 0 && (pid.empty() || Number(pid) == ::getpid())) {
        m_watchdogInterval = std::chrono::microseconds(microseconds / 2);
        m_watchdogDue = Clock::now();
    }
}

ServiceManager::~ServiceManager() {
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

/// A path, or a name in the abstract namespace with "@" in place of the leading null.
void ServiceManager::Connect(const std::string& address) {
    sockaddr_un target{};
    target.sun_family = AF_UNIX;
    const bool valid = (address[0] == '/' || address[0] == '@') && address.size() < sizeof target.sun_path;
    if (valid) {
        std::memcpy(target.sun_path, address.data(), address.size());
        if (address[0] == '@') {
            target.sun_path[0] = '\0';
        }
        m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    if (!valid || ::connect(m_socket, reinterpret_cast<const sockaddr*>(&target), length) != 0) {
        const int error = valid ? errno : EINVAL;
        Log::Warning("cannot reach the service manager at $NOTIFY_SOCKET, " + address + ": " +
                     std::generic_category().message(error));
        if (m_socket >= 0) {
            ::close(m_socket);
            m_socket = -1;
        }
    }
}

/// A manager that has gone is no reason to end.
void ServiceManager::Send(const std::string& lines) {
    if (m_socket >= 0 && ::send(m_socket, lines.data(), lines.size(), MSG_NOSIGNAL) < 0) {
        Log::Write(LogLevel::kDebug, "cannot tell the service manager: " + std::generic_category().message(errno));
    }
}

void ServiceManager::Status(const std::string& text) { Send("STATUS=" + text); }

void ServiceManager::Ready(const std::string& status) { Send("READY=1\nSTATUS=" + status); }

void ServiceManager::Reloading() {
    Send("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(MonotonicMicroseconds()) +
         "\nSTATUS=reading the configuration again");
}

void ServiceManager::Stopping() { Send("STOPPING=1\nSTATUS=closing the modules"); }

std::chrono::milliseconds ServiceManager::TimeToWatchdog() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_watchdogDue - Clock::now());
    return std::max(left, std::chrono::milliseconds::zero());
}

std::optional<std::chrono::milliseconds> ServiceManager::FeedWatchdog() {
    if (m_watchdogInterval == Clock::duration::zero()) {
        return std::nullopt;
    }
    if (TimeToWatchdog() == std::chrono::milliseconds::zero()) {
        Send("WATCHDOG=1");
        m_watchdogDue = Clock::now() + m_watchdogInterval;
    }
    return TimeToWatchdog();
}

}  // namespace cvtagentd
