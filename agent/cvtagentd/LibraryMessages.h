#pragma once

#include <string>
#include <vector>

#include "agent/cvtagentd/Log.h"

namespace agent {

/// What the SNMP library says: it all goes to the Log, but for what a Collector takes. State of the process, used by the
/// thread that runs the library.
class LibraryMessages {
public:
    struct Message {
        std::string text;
        int systemError = 0;  ///< errno as it stood when the library spoke
    };

    /// Called before the library is initialised.
    static void Install();

    /// Messages that begin so are details from now on, whatever the library thinks of them. `beginning` is kept. A Collector
    /// takes them all the same.
    static void Demote(const char* beginning);

    /// While one exists, the library's warnings and errors are collected instead of logged. At most one exists at a time.
    class Collector {
    public:
        Collector();
        ~Collector();
        Collector(const Collector&) = delete;
        Collector& operator=(const Collector&) = delete;

        const std::vector<Message>& Messages() const { return m_messages; }

    private:
        friend class LibraryMessages;

        std::vector<Message> m_messages;
    };

private:
    static int OnMessage(int majorId, int minorId, void* message, void* unused);
};

}  // namespace agent
