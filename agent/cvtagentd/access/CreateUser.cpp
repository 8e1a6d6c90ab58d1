#include "agent/cvtagentd/access/CreateUser.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/PassPhrase.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateLock.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kLongestName = 32;  // SnmpAdminString (SIZE(1..32))
constexpr std::size_t kSha256Octets = 32;
constexpr std::size_t kAesOctets = 16;

/// Memory that the library frees later.
struct Block {
    u_char* data;
    std::size_t size;
};

Block CopyOf(const void* data, std::size_t size) {
    auto* const copy = static_cast<u_char*>(std::malloc(size + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy, data, size);
    copy[size] = 0;
    return {copy, size};
}

/// Returns this agent's engine identifier; the library has made one if the directory had none.
class EngineId {
public:
    EngineId() : m_data(::snmpv3_generate_engineID(&m_size), &std::free) {
        if (m_data == nullptr || m_size == 0) {
            throw StartError("the SNMP library has no engine identifier; check engineID in the configuration");
        }
    }
    const u_char* Data() const { return m_data.get(); }
    std::size_t Size() const { return m_size; }

private:
    std::size_t m_size = 0;
    const std::unique_ptr<u_char, void (*)(void*)> m_data;
};

/// Returns a key that is valid only for this engine, cut to `size` octets.
Block LocalisedKey(const PassPhrase& phrase, const EngineId& engine, std::size_t size) {
    std::array<u_char, USM_LENGTH_KU_HASHBLOCK> key{};
    std::array<u_char, USM_LENGTH_KU_HASHBLOCK> localised{};
    std::size_t keySize = key.size();
    std::size_t localisedSize = localised.size();
    const auto hashLength = static_cast<u_int>(OID_LENGTH(usmHMAC192SHA256AuthProtocol));
    const bool made = ::generate_Ku(usmHMAC192SHA256AuthProtocol, hashLength, phrase.Data(), phrase.Size(), key.data(),
                                    &keySize) == SNMPERR_SUCCESS &&
                      ::generate_kul(usmHMAC192SHA256AuthProtocol, hashLength, engine.Data(), engine.Size(), key.data(),
                                     keySize, localised.data(), &localisedSize) == SNMPERR_SUCCESS &&
                      localisedSize >= size;
    const Block block = made ? CopyOf(localised.data(), size) : Block{};
    ::explicit_bzero(key.data(), key.size());
    ::explicit_bzero(localised.data(), localised.size());
    if (!made) {
        throw StartError(
            "the SNMP library cannot make keys, because it was built without cryptography; "
            "install one that was built with it");
    }
    return block;
}

template <std::size_t Length>
oid* CopyOf(const oid (&protocol)[Length]) {
    return ::snmp_duplicate_objid(protocol, Length);
}

/// The library owns the user afterwards.
void Add(const std::string& name, const PassPhrase& authentication, const PassPhrase& privacy) {
    const EngineId engine;
    const Block authKey = LocalisedKey(authentication, engine, kSha256Octets);
    const Block privKey = LocalisedKey(privacy, engine, kAesOctets);
    usmUser* const user = ::usm_create_user();
    if (user == nullptr) {
        throw std::bad_alloc();
    }
    const Block id = CopyOf(engine.Data(), engine.Size());
    user->engineID = id.data;
    user->engineIDLen = id.size;
    user->name = reinterpret_cast<char*>(CopyOf(name.data(), name.size()).data);
    user->secName = reinterpret_cast<char*>(CopyOf(name.data(), name.size()).data);
    // A new user starts with protocols that do nothing.
    std::free(user->authProtocol);
    std::free(user->privProtocol);
    user->authProtocol = CopyOf(usmHMAC192SHA256AuthProtocol);
    user->authProtocolLen = OID_LENGTH(usmHMAC192SHA256AuthProtocol);
    user->privProtocol = CopyOf(usmAESPrivProtocol);
    user->privProtocolLen = OID_LENGTH(usmAESPrivProtocol);
    user->authKey = authKey.data;
    user->authKeyLen = authKey.size;
    user->privKey = privKey.data;
    user->privKeyLen = privKey.size;
    user->userStatus = SNMP_ROW_ACTIVE;
    user->userStorageType = SNMP_STORAGE_NONVOLATILE;
    ::usm_add_user(user);
}

/// For root: another user's state is read and written as that user. The files stay that user's, and root neither obeys
/// them nor follows a link that the user may have placed there.
void BecomeOwnerOfState() {
    struct stat folder {};
    if (::geteuid() == 0 && ::stat(".", &folder) == 0 && folder.st_uid != 0) {
        StateDir::GiveTo(folder.st_uid, folder.st_gid);
        Privileges::Become({{}, folder.st_uid, folder.st_gid});
        Privileges::GiveUpPorts();
    }
}

}  // namespace

int CreateUser::Run() const {
    CheckName();
    StateDir::Enter(m_request.stateDir);
    BecomeOwnerOfState();
    ReadableFile::Require(m_request.configFile);
    StateDir::CheckUsable();
    const StateLock lock;
    AddToState();
    std::printf(
        "added the user %s (SHA-256, AES); to give it read access, add this line to the configuration and start the "
        "agent: rouser %s authpriv\n",
        m_request.name.c_str(), m_request.name.c_str());
    return EXIT_SUCCESS;
}

void CreateUser::AddToState() const {
    AccessConfig::RequireTrusted(m_request.configFile);
    AccessConfig::RequireTrustedState();
    // The first user may be added before any access is granted. That is not a fault here, hence the built-in access.
    const SnmpLibrary library({m_request.configFile, SnmpLibrary::State::kWorkingDirectory, AccessConfig::BuiltIn(),
                               m_request.beforeConfiguration});
    AccessConfig::RequireFaultless(m_request.configFile, library.Messages());
    RefuseExisting();
    const PassPhrase authentication = PassPhrase::Read("authentication");
    const PassPhrase privacy = PassPhrase::Read("privacy");
    Add(m_request.name, authentication, privacy);
    SnmpLibrary::Store();
}

/// Accepts a name that the configuration's directives can hold, too.
void CreateUser::CheckName() const {
    const std::string& name = m_request.name;
    const bool plain = std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return c > ' ' && c < 0x7F && c != '"' && c != '\'' && c != '\\' && c != '#';
    });
    if (!plain || name.size() > kLongestName || name.front() == '-') {
        throw StartError(
            "the name of an SNMPv3 user has 1 to 32 letters, digits or signs, with no space, quote, "
            "backslash or #, and no leading -; \"" +
            name + "\" is not such a name");
    }
}

void CreateUser::RefuseExisting() const {
    const EngineId engine;
    if (::usm_get_user(engine.Data(), engine.Size(), m_request.name.c_str()) != nullptr) {
        throw StartError("the user " + m_request.name + " already exists; nothing is changed (choose another name)");
    }
}

}  // namespace cvtagentd
