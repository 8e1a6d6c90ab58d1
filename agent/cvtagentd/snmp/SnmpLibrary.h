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
        kWorkingDirectory,  ///< read by the constructor; written by Store, and from then on by the destructor
    };

    struct Setup {
        std::string configFile;  ///< in the library's directives; empty: none is read
        State state = State::kNone;
        std::vector<std::string> directives = {};  ///< read after the file, as further lines of it
        /// Called when the library knows its own defaults, before it reads any configuration: for further directives and
        /// callbacks.
        std::function<void()> beforeConfiguration = {};
    };

    explicit SnmpLibrary(const Setup& setup);
    ~SnmpLibrary();
    SnmpLibrary(const SnmpLibrary&) = delete;
    SnmpLibrary& operator=(const SnmpLibrary&) = delete;

    /// What the library said of the configuration, warnings and errors.
    const std::vector<LibraryLog::Message>& Messages() const { return m_messages; }

    /// The addresses that the configuration names by agentaddress.
    static std::vector<std::string> ConfiguredAddresses();

    /// Stores what must outlive a crash. Called when the agent is about to serve, as the user who is to own the state.
    static void Store();

private:
    static void SetUp(const Setup& setup);

    std::vector<LibraryLog::Message> m_messages;
};

}  // namespace cvtagentd
