#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateContent.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {

/// The running SNMP library: protocol and access control. The constructor initialises it and the destructor shuts it
/// down, once in the life of a process. Not synchronised: one thread runs it.
class SnmpLibrary {
public:
    /// Where users' keys, the engine identifier and the number of starts are kept.
    enum class State {
        kNone,              ///< nowhere: no file is touched
        kSearched,          ///< nowhere, but includeSearch finds files in the working directory
        kWorkingDirectory,  ///< read by the constructor; written by Store
    };

    struct Setup {
        std::string configFile;  ///< in the library's directives; empty: none is read
        State state = State::kNone;
        std::vector<std::string> directives = {};  ///< read after the file, as if they were its last lines
        /// Called after the library has set its defaults and before it reads any configuration: to add directives and
        /// callbacks.
        std::function<void()> beforeConfiguration = {};
        int crashStatus = ExitStatus::kConfig;  ///< of this process, if the configuration crashes the library
        bool isAgent = true;                    ///< otherwise the library only reads the configuration
    };

    /// Throws StartError when the state is damaged and no backup can take its place.
    explicit SnmpLibrary(const Setup& setup);
    ~SnmpLibrary();
    SnmpLibrary(const SnmpLibrary&) = delete;
    SnmpLibrary& operator=(const SnmpLibrary&) = delete;

    /// The library's warnings and errors about the configuration.
    const std::vector<LibraryLog::Message>& Messages() const { return m_messages; }

    /// The addresses that the configuration names by agentaddress.
    static std::vector<std::string> ConfiguredAddresses();

    /// Stores what must survive this process, even a crash; nothing else stores it. Called as the user who is to own
    /// the state: before the agent serves, since it must not serve twice with the same engineBoots, when its users
    /// change, and at its end. Users in `removed` are gone on purpose; a state that lacks another one is not stored.
    /// Throws StateNotStored, with the previous state still in place.
    static void Store(const StateContent::Users& removed = {});

    /// The SNMPv3 users that the library keeps. Their messages could be replayed after a start that was not counted.
    static StateContent::Users Users();

private:
    static void SetUp(const Setup& setup);

    const bool m_isAgent;
    std::vector<LibraryLog::Message> m_messages;
};

}  // namespace cvtagentd
