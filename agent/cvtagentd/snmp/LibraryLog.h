#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {

/// The SNMP library's messages. They all go to the Log, except those that a Collector takes; of one kind a few are
/// logged in a minute, the others are counted. State of the process, used by the thread that runs the library.
namespace LibraryLog {

struct Message {
    std::string text;
    int systemError = 0;  ///< errno when the library logged this
};

/// Called before the library is initialised.
void Install();

/// Until ForgetDemoted, messages that begin like this are logged as debug messages, whatever level the library gives
/// them, and `listener` is called with each. Keeps the pointer `beginning`. A Collector still takes such messages.
void Demote(const char* beginning, std::function<void(const std::string&)> listener = {});
void ForgetDemoted();

/// Logs a message that anyone can cause by sending a packet: a few of its kind in a minute, then their number.
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
