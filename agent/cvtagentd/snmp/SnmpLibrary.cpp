#include "agent/cvtagentd/snmp/SnmpLibrary.h"

#include <cstdlib>
#include <sstream>

#include "agent/cvtagentd/process/CrashMessage.h"
#include "agent/cvtagentd/process/Descriptors.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/StateStore.h"

namespace cvtagentd {
namespace {

/// The name under which the library keeps its persistent data.
constexpr const char* kApplication = "cvtagentd";

/// A folder that can never hold a file: the library looks for its usual configuration files there.
constexpr const char* kNoFolder = "/dev/null";

/// The most that a UDP message over IPv4 can hold; a longer response would never leave the host. The response to a
/// GETBULK is cut to it.
constexpr int kLongestMessage = 65507;

/// How many instances one GETBULK may return: 50 columns of 50 rows. maxGetbulkResponses in the configuration overrides
/// it.
constexpr int kMostBulkResponses = 2500;

void SetFlag(int flag) { ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1); }

void SetText(int name, const char* text) { ::netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, name, text); }

}  // namespace

SnmpLibrary::SnmpLibrary(const Setup& setup) : m_isAgent(setup.isAgent) {
    SetUp(setup);
    const LibraryLog::Collector collector;
    const CrashMessage onCrash(
        setup.configFile +
            ": this file crashes the SNMP library; look for an unfinished line, such as a createUser with a type "
            "but no passphrase after it",
        setup.crashStatus);
    if (m_isAgent) {
        ::init_agent(kApplication);
    } else {
        ::init_agent_read_config(kApplication);
    }
    if (setup.beforeConfiguration) {
        setup.beforeConfiguration();
    }
    for (std::string line : setup.directives) {
        ::netsnmp_config_remember(line.data());
    }
    ::init_snmp(kApplication);
    Descriptors::KeepFromChildren();             // the library leaves a pipe open in child processes
    SetFlag(NETSNMP_DS_LIB_DONT_PERSIST_STATE);  // otherwise it would overwrite the state at its end
    m_messages = collector.Messages();
}

void SnmpLibrary::SetUp(const Setup& setup) {
    // These would override what is set below.
    for (const char* const name : {"SNMPCONFPATH", "SNMP_PERSISTENT_DIR", "SNMP_PERSISTENT_FILE"}) {
        ::unsetenv(name);  // NOLINT(concurrency-mt-unsafe): there is no second thread yet
    }
    for (const char* const name : {"MIBS", "MIBDIRS"}) {
        ::setenv(name, "", 1);  // NOLINT(concurrency-mt-unsafe): there is no second thread yet
    }
    LibraryLog::Install();
    SetFlag(NETSNMP_DS_LIB_ALARM_DONT_USE_SIG);
    SetFlag(NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    ::netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, kLongestMessage);
    ::netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, kMostBulkResponses);
    SetText(NETSNMP_DS_LIB_CONFIGURATION_DIR, kNoFolder);
    if (setup.state != State::kWorkingDirectory) {
        SetText(NETSNMP_DS_LIB_PERSISTENT_DIR, setup.state == State::kSearched ? StateDir::Path().c_str() : kNoFolder);
        SetFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD);
        SetFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE);
    } else {
        StateFile::Recover();
        SetText(NETSNMP_DS_LIB_PERSISTENT_DIR, StateDir::Path().c_str());  // "." would also mean a folder in "/"
    }
    if (!setup.configFile.empty()) {
        SetText(NETSNMP_DS_LIB_OPTIONALCONFIG, setup.configFile.c_str());
    }
}

SnmpLibrary::~SnmpLibrary() {
    ::snmp_shutdown(kApplication);
    if (m_isAgent) {
        ::shutdown_agent();
    }
}

std::vector<std::string> SnmpLibrary::ConfiguredAddresses() {
    std::vector<std::string> addresses;
    const char* const list = ::netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS);
    std::istringstream in(list == nullptr ? "" : list);
    for (std::string address; std::getline(in, address, ',');) {
        addresses.push_back(address);
    }
    return addresses;
}

void SnmpLibrary::Store(const StateContent::Users& removed) { StateStore::Write(kApplication, removed); }

StateContent::Users SnmpLibrary::Users() { return StateStore::Users(); }

}  // namespace cvtagentd
