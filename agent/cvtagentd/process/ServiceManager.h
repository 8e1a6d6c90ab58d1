#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cvtagentd {

/// Tells the service manager that started this process (systemd, or what speaks its protocol) how it is doing. Without one
/// every call does nothing. Used by one thread.
///
/// The protocol is a datagram of "NAME=value" lines to the socket that $NOTIFY_SOCKET names, promised to stay so by
/// sd_notify(3). That is less than a library to depend on, and to map, for it.
class ServiceManager {
public:
    using Clock = std::chrono::steady_clock;

    /// Takes the manager's variables out of the environment: they are not meant for what modules start. Comes before the
    /// first thread, and before a change of user, who may not be able to reach the socket any more.
    ServiceManager();
    ~ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    /// What it is busy with, for people who ask the manager.
    void Status(const std::string& text);
    void Ready(const std::string& status);
    void Reloading();
    void Stopping();

    /// Sends a sign of life if one is due. Returns the time until the next is; no value when the manager wants none.
    std::optional<std::chrono::milliseconds> FeedWatchdog();

private:
    std::chrono::milliseconds TimeToWatchdog() const;
    void Connect(const std::string& address);
    void Send(const std::string& lines);

    int m_socket = -1;
    Clock::duration m_watchdogInterval{};  ///< half of what the manager allows; zero when it wants none
    Clock::time_point m_watchdogDue;
};

}  // namespace cvtagentd
