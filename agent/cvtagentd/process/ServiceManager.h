#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cvtagentd {

/// Reports the state of this process to the service manager that started it (systemd, or another that speaks its
/// protocol). Without one every call does nothing. Used by one thread.
///
/// The protocol is a datagram of "NAME=value" lines to the socket that $NOTIFY_SOCKET names, which sd_notify(3)
/// promises to keep. Speaking it takes less code than a library would add.
class ServiceManager {
public:
    using Clock = std::chrono::steady_clock;

    /// Takes the manager's variables out of the environment: they are not meant for the programs that modules start.
    /// Made before the first thread starts, and before a change of user, since the new user may not be able to reach
    /// the socket.
    ServiceManager();
    ~ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    /// What the agent is busy with, as the manager's status line shows it.
    void Status(const std::string& text);
    void Ready(const std::string& status);
    void Reloading();
    void Stopping();

    /// Sends a keep-alive if one is due. Returns the time until the next one is due; no value when the manager expects
    /// none.
    std::optional<std::chrono::milliseconds> FeedWatchdog();

private:
    std::chrono::milliseconds TimeToWatchdog() const;
    void Connect(const std::string& address);
    void Send(const std::string& lines);

    int m_socket = -1;
    Clock::duration m_watchdogInterval{};  ///< half of what the manager allows; zero when it expects none
    Clock::time_point m_watchdogDue;
};

}  // namespace cvtagentd
