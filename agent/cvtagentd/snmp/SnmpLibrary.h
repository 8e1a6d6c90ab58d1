#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {

/// The SNMP library at work in this process: protocol and access control. It is initialised once, by the constructor, and
/// shut down by the destructor; it cannot be had a second time in one process. Not synchronised: one thread runs it.
class SnmpLibrary {
public:
    /// Where users' keys, the engine identifier and the number of starts are kept.
    enum class State {
        kNone,              ///< nowhere: no file is touched
        kWorkingDirectory,  ///< read by the constructor; written by Store
    };

    struct Setup {
        std::string configFile;  ///< in the library's directives; empty: none is read
        State state = State::kNone;
        std::vector<std::string> directives = {};  ///< read after the file, as further lines of it
        /// Called when the library knows its own defaults, before it reads any configuration: for further directives and
        /// callbacks.
        std::function<void()> beforeConfiguration = {};
    };

    /// Throws StartError when the state is damaged and no backup can take its place.
    explicit SnmpLibrary(const Setup& setup);
    ~SnmpLibrary();
    SnmpLibrary(const SnmpLibrary&) = delete;
    SnmpLibrary& operator=(const SnmpLibrary&) = delete;

    /// What the library said of the configuration, warnings and errors.
    const std::vector<LibraryLog::Message>& Messages() const { return m_messages; }

    /// The addresses that the configuration names by agentaddress.
    static std::vector<std::string> ConfiguredAddresses();

    /// Stores what must outlive this process, a crash of it included; nothing else does. Called as the user who is to own
    /// the state: before the agent serves, since it must not serve twice with the same boots, and at its end. Throws
    /// StateNotStored, with what was stored before still there.
    static void Store();

    /// Whether there is an SNMPv3 user: a message to it that is sent again could do harm after a start that was not
    /// counted.
    static bool HasUsers();

private:
    static void SetUp(const Setup& setup);

    std::vector<LibraryLog::Message> m_messages;
};

}  // namespace cvtagentd
