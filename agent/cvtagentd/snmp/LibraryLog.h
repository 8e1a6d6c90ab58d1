#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {

/// What the SNMP library says: it all goes to the Log, but for what a Collector takes, and for more than a few of a kind in a
/// minute, which are counted. State of the process, used by the
/// thread that runs the library.
namespace LibraryLog {

struct Message {
    std::string text;
    int systemError = 0;  ///< errno as it stood when the library spoke
};

/// Called before the library is initialised.
void Install();

/// Messages that begin so are details from now on, whatever the library thinks of them, and `listener` hears of each,
/// until ForgetDemoted. `beginning` is kept. A Collector takes them all the same.
void Demote(const char* beginning, std::function<void(const std::string&)> listener = {});
void ForgetDemoted();

/// Logs a message that whoever sends a packet can cause: a few of its kind in a minute, then their number.
void WriteLimited(LogLevel level, const std::string& kind, const std::string& text);

/// While one exists, the library's warnings and errors are collected instead of logged. At most one exists at a time.
class Collector {
public:
    Collector();
    ~Collector();
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;

    const std::vector<Message>& Messages() const { return m_messages; }
    void Take(Message message) { m_messages.push_back(std::move(message)); }

private:
    std::vector<Message> m_messages;
};

}  // namespace LibraryLog

}  // namespace cvtagentd
