#include "agent/cvtagentd/snmp/StateStore.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// While one exists, the library stores its state when told to, in this folder.
class StoringInto {
public:
    explicit StoringInto(const std::string& folder) { Set(folder, 0); }
    ~StoringInto() { Set(StateDir::Path(), 1); }
    StoringInto(const StoringInto&) = delete;
    StoringInto& operator=(const StoringInto&) = delete;

private:
    static void Set(const std::string& folder, int isOff) {
        ::netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, folder.c_str());
        ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, isOff);
    }
};

}  // namespace

StateContent::Users StateStore::Users() {
    StateContent::Users users;
    for (const usmUser* user = ::usm_get_userList(); user != nullptr; user = user->next) {
        if (user->userStorageType == SNMP_STORAGE_NONVOLATILE && user->name != nullptr) {
            users.insert({{reinterpret_cast<const char*>(user->engineID), user->engineIDLen}, user->name});
        }
    }
    return users;
}

std::string StateStore::EngineId() {
    std::size_t size = 0;
    const std::unique_ptr<u_char, void (*)(void*)> id(::snmpv3_generate_engineID(&size), &std::free);
    return id == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(id.get()), size);
}

void StateStore::Write(const char* name, const StateContent::Users& removed) {
    StateFile::Staging staging;
    {
        const LibraryLog::Collector saysLess;  // than a check of the file does
        const StoringInto folder(staging.Folder());
        ::snmp_store(name);
    }
    staging.Commit(Users(), EngineId(), removed);
}

}  // namespace cvtagentd
