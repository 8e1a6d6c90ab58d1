#include "agent/cvtagentd/snmp/SnmpLibrary.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/AuthFailures.h"
#include "agent/cvtagentd/access/ConfigReview.h"
#include "agent/cvtagentd/agentx/ConnectTimeout.h"
#include "agent/cvtagentd/agentx/MasterConnection.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/process/CrashMessage.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/requests/ResponseBudget.h"
#include "agent/cvtagentd/snmp/DescriptorSet.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// The name under which the library keeps its persistent data.
constexpr const char* kApplication = "cvtagentd";

/// A folder in which no file can ever be: the library looks for its usual configuration files there.
constexpr const char* kNoFolder = "/dev/null";

/// What a UDP message can hold over IPv4; a longer response would never leave. A GETBULK is cut short to it.
constexpr int kLongestMessage = 65507;

/// How many instances one GETBULK may bring: 50 columns of 50 rows. maxGetbulkResponses in the configuration overrides it.
constexpr int kMostBulkResponses = 2500;

constexpr const char* kBuiltInAccess[] = {
    "rocommunity public 127.0.0.1",
    "rocommunity6 public ::1",
};

void SetFlag(int flag) { ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1); }

void SetText(int name, const char* text) { ::netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, name, text); }

/// In words that help, why an address cannot be listened on.
std::string Advice(int error) {
    switch (error) {
        case 0: return "no such address; write it as udp:HOST:PORT, tcp:HOST:PORT, udp6:[HOST]:PORT or unix:FILE";
        case EADDRINUSE: return "the port is in use; stop the program that uses it, or choose another port";
        case EADDRNOTAVAIL: return "this host has no such address; choose one of its own";
        case EACCES: return "not permitted; choose a port above 1023, or start it with more rights";
        default: return std::generic_category().message(error);
    }
}

/// Whether a directive says as whom to run. By then it has been decided: what can say it may be that user's own.
bool IsNamedUser() {
    return ::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_USERID) != 0 ||
           ::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_GROUPID) != 0;
}

/// Whether the address of a socket in the file system names something that is none.
bool IsOtherFile(const std::string& address) {
    constexpr std::string_view kPrefix = "unix:";
    if (!address.starts_with(kPrefix)) {
        return false;
    }
    struct stat status {};
    return ::lstat(address.c_str() + kPrefix.size(), &status) == 0 && !S_ISSOCK(status.st_mode);
}

/// What a module starts must not keep the agent's sockets open.
void KeepSocketsFromChildren() {
    DescriptorSet sockets;
    int count = 0;
    int block = 1;
    timeval timeout{};
    ::snmp_select_info2(&count, sockets.Get(), &timeout, &block);
    for (int fd = 0; fd < count; ++fd) {
        if (sockets.Has(fd)) {
            ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

}  // namespace

SnmpLibrary::SnmpLibrary(std::string configFile, Use use, const MasterConnection* master)
    : m_configFile(std::move(configFile)) {
    SetUp(use, master != nullptr);
    const LibraryLog::Collector collector;
    const CrashMessage onCrash(
        "cvtagentd: " + m_configFile +
        ": crashes the SNMP library; look for an unfinished line, such as a createUser with a type "
        "but no passphrase behind it");
    ::init_agent(kApplication);
    SystemConfig::Register();
    std::optional<ConnectTimeout> limit;  // init_snmp connects
    if (master != nullptr) {
        master->SetDefaults();
        limit.emplace().Set(true);
    }
    ::init_snmp(kApplication);
    limit.reset();
    AuthFailures::Watch();
    SetFlag(NETSNMP_DS_LIB_DONT_PERSIST_STATE);  // or else an end before Store would write, too
    m_faults = AccessConfig::Faults(m_configFile, collector.Messages());
    if (master != nullptr) {
        m_ignored = AccessConfig::TakeUnknownDirectives(m_faults);
    } else {
        const std::vector<std::string> more = ConfigReview::Of(m_configFile).faults;
        m_faults.insert(m_faults.end(), more.begin(), more.end());
    }
    if (IsNamedUser()) {
        m_faults.push_back(m_configFile +
                           ": agentuser and agentgroup come too late: take them out, and name the user with --user");
    }
}

void SnmpLibrary::SetUp(Use use, bool hasMaster) {
    // These would override what is set below.
    for (const char* const name : {"SNMPCONFPATH", "SNMP_PERSISTENT_DIR", "SNMP_PERSISTENT_FILE"}) {
        ::unsetenv(name);  // NOLINT(concurrency-mt-unsafe): there is no second thread yet
    }
    for (const char* const name : {"MIBS", "MIBDIRS"}) {
        ::setenv(name, "", 1);  // NOLINT(concurrency-mt-unsafe): there is no second thread yet
    }
    LibraryLog::Install();
    ResponseBudget::Install();
    SetFlag(NETSNMP_DS_LIB_ALARM_DONT_USE_SIG);
    SetFlag(NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    ::netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, kLongestMessage);
    ::netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, kMostBulkResponses);
    SetText(NETSNMP_DS_LIB_CONFIGURATION_DIR, kNoFolder);
    if (use == Use::kCheck || hasMaster) {  // in either role the library would not keep the users of the other one
        SetText(NETSNMP_DS_LIB_PERSISTENT_DIR, kNoFolder);
        SetFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD);
        SetFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE);
    } else {
        SetText(NETSNMP_DS_LIB_PERSISTENT_DIR, StateDir::Path().c_str());  // "." would also mean a folder in "/"
    }
    if (!m_configFile.empty()) {
        SetText(NETSNMP_DS_LIB_OPTIONALCONFIG, m_configFile.c_str());
        if (use != Use::kAddUser) {  // whoever adds the first user has given no access yet, and nobody is served
            return;
        }
    }
    if (hasMaster) {
        return;
    }
    for (std::string line : kBuiltInAccess) {
        ::netsnmp_config_remember(line.data());
    }
}

SnmpLibrary::~SnmpLibrary() {
    m_endpoints.reset();
    ::snmp_shutdown(kApplication);
    ::shutdown_agent();
}

std::vector<std::string> SnmpLibrary::ConfiguredAddresses() const {
    std::vector<std::string> addresses;
    const char* const list = ::netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS);
    std::istringstream in(list == nullptr ? "" : list);
    for (std::string address; std::getline(in, address, ',');) {
        addresses.push_back(address);
    }
    return addresses;
}

void SnmpLibrary::Store() {
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 0);
    ::snmp_store(kApplication);
}

void SnmpLibrary::Listen(const std::string& address) {
    if (IsOtherFile(address)) {  // the library would delete it
        throw StartError("cannot listen on " + address + ": that file is no socket; choose another name");
    }
    const LibraryLog::Collector collector;
    errno = 0;
    // The empty address would mean port 161 on all of the host's.
    if (address.empty() || !m_endpoints->Open(address)) {
        const int error = collector.Messages().empty() ? errno : collector.Messages().back().systemError;
        throw StartError("cannot listen on " + address + ": " + Advice(error));
    }
    KeepSocketsFromChildren();
}

void SnmpLibrary::Reload() {
    if (m_configFile.empty()) {
        Log::Info("there is no configuration file to read again");
        return;
    }
    std::vector<std::string> faults;
    if (const std::string why = AccessConfig::WhyUnreadable(m_configFile); !why.empty()) {
        faults.push_back(why);
    } else {
        faults = AccessConfig::FaultsFoundByChild(m_configFile);
    }
    if (!faults.empty()) {
        Log::Error("the configuration stays as it was: " + AccessConfig::Summary(m_configFile, faults));
        return;
    }
    ::update_config();
    Log::Info("read the configuration " + m_configFile + " again");
}

}  // namespace cvtagentd
