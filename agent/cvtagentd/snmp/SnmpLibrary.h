#pragma once

#include <memory>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/Listeners.h"

namespace cvtagentd {

class MasterConnection;

/// The SNMP library at work in this process: protocol, transports, access control. It is initialised once, by the
/// constructor, and shut down by the destructor; it cannot be had a second time in one process. Its persistent data lie in
/// the working directory. Not synchronised: one thread runs it.
class SnmpLibrary {
public:
    enum class Use {
        kServe,    ///< through a master if there is a MasterConnection; touches no file before Store
        kCheck,    ///< reads the configuration, and touches no file
        kAddUser,  ///< reads configuration and state, and touches no file before Store
    };

    /// `configFile` may be empty: then community "public" may read, from this host.
    /// `master`: null without a master; it must outlive this.
    SnmpLibrary(std::string configFile, Use use, const MasterConnection* master = nullptr);
    ~SnmpLibrary();
    SnmpLibrary(const SnmpLibrary&) = delete;
    SnmpLibrary& operator=(const SnmpLibrary&) = delete;

    /// What is wrong with the configuration; a line each.
    const std::vector<std::string>& Faults() const { return m_faults; }

    /// The directives that mean nothing with a master, for people; empty when there is none.
    const std::string& IgnoredDirectives() const { return m_ignored; }

    /// The addresses that the configuration names by agentaddress.
    std::vector<std::string> ConfiguredAddresses() const;

    /// Stores what must outlive a crash; from now on the end stores, too. Called when the agent is going to serve, as the
    /// user who is to own the state.
    void Store();

    /// Answers on this address from now on. Throws StartError.
    void Listen(const std::string& address);
    Listeners& OpenEndpoints() { return *m_endpoints; }

    /// Reads the access configuration again. When it has faults everything stays as it was. Logs what it did.
    void Reload();

private:
    void SetUp(Use use, bool hasMaster);

    const std::string m_configFile;
    std::vector<std::string> m_faults;
    std::unique_ptr<Listeners> m_endpoints = std::make_unique<Listeners>();
    std::string m_ignored;
};

}  // namespace cvtagentd
