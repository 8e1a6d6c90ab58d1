#include "agent/cvtagentd/access/UserLine.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kSha256Octets = 32;
constexpr std::size_t kAesOctets = 16;

constexpr const char* kSha256 = ".1.3.6.1.6.3.10.1.1.5";
constexpr const char* kAes = ".1.3.6.1.6.3.10.1.2.4";
constexpr const char* kNoAuthentication = ".1.3.6.1.6.3.10.1.1.1";
constexpr const char* kNoPrivacy = ".1.3.6.1.6.3.10.1.2.1";

/// Returns a key that is valid only for this engine, cut to `size` octets.
std::string LocalisedKey(const PassPhrase& phrase, const std::string& engine, std::size_t size) {
    std::array<u_char, USM_LENGTH_KU_HASHBLOCK> key{};
    std::array<u_char, USM_LENGTH_KU_HASHBLOCK> localised{};
    std::size_t keySize = key.size();
    std::size_t localisedSize = localised.size();
    const auto hashLength = static_cast<u_int>(OID_LENGTH(usmHMAC192SHA256AuthProtocol));
    const bool made =
        ::generate_Ku(usmHMAC192SHA256AuthProtocol, hashLength, phrase.Data(), phrase.Size(), key.data(), &keySize) ==
            SNMPERR_SUCCESS &&
        ::generate_kul(usmHMAC192SHA256AuthProtocol, hashLength, reinterpret_cast<const u_char*>(engine.data()),
                       engine.size(), key.data(), keySize, localised.data(), &localisedSize) == SNMPERR_SUCCESS &&
        localisedSize >= size;
    std::string octets(reinterpret_cast<const char*>(localised.data()), made ? size : 0);
    ::explicit_bzero(key.data(), key.size());
    ::explicit_bzero(localised.data(), localised.size());
    if (!made) {
        throw StartError(
            "the SNMP library cannot make keys, because it was built without cryptography; "
            "install one that was built with it");
    }
    return octets;
}

/// The beginning of a line for a user that is active and kept: the library's RowStatus 1 and StorageType 3.
std::string Begin(const StateContent::User& user) {
    const std::string name = UserLine::Hex(user.name);
    return "usmUser 1 3 " + UserLine::Hex(user.engine) + " " + name + " " + name + " NULL ";
}

}  // namespace

std::string UserLine::Hex(const std::string& octets) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "0x";
    text.reserve(2 + 2 * octets.size());
    for (const char octet : octets) {
        const auto value = static_cast<unsigned char>(octet);
        text += kDigits[value / 16];
        text += kDigits[value % 16];
    }
    return text;
}

std::string UserLine::For(const StateContent::User& user, const PassPhrase& authentication, const PassPhrase& privacy) {
    std::string authKey = LocalisedKey(authentication, user.engine, kSha256Octets);
    std::string privKey = LocalisedKey(privacy, user.engine, kAesOctets);
    std::string line = Begin(user) + kSha256 + " " + Hex(authKey) + " " + kAes + " " + Hex(privKey) + " \"\"";
    ::explicit_bzero(authKey.data(), authKey.size());
    ::explicit_bzero(privKey.data(), privKey.size());
    return line;
}

std::string UserLine::Without(const StateContent::User& user) {
    return Begin(user) + kNoAuthentication + " \"\" " + kNoPrivacy + " \"\" \"\"";
}

}  // namespace cvtagentd
