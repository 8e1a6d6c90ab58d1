#include "tests/agent/V3User.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace agent_test {
namespace {

u_char* Octets(std::string& text) { return reinterpret_cast<u_char*>(text.data()); }
const u_char* Octets(std::string_view text) { return reinterpret_cast<const u_char*>(text.data()); }

struct Algorithm {
    const oid* arcs;
    std::size_t length;
};

Algorithm AlgorithmOf(V3User::Digest digest) {
    int type = NETSNMP_USMAUTH_HMACMD5;
    switch (digest) {
        case V3User::Digest::kSha1: type = NETSNMP_USMAUTH_HMACSHA1; break;
        case V3User::Digest::kSha256: type = NETSNMP_USMAUTH_HMAC192SHA256; break;
        case V3User::Digest::kSha512: type = NETSNMP_USMAUTH_HMAC384SHA512; break;
        default: break;
    }
    Algorithm algorithm{nullptr, 0};
    algorithm.arcs = ::sc_get_auth_oid(type, &algorithm.length);
    return algorithm;
}

Algorithm AlgorithmOf(V3User::Cipher cipher) {
    Algorithm algorithm{nullptr, 0};
    algorithm.arcs = ::sc_get_priv_oid(
        cipher == V3User::Cipher::kDes ? USM_CREATE_USER_PRIV_DES : USM_CREATE_USER_PRIV_AES, &algorithm.length);
    return algorithm;
}

std::string BigEndian(std::uint32_t number) {
    std::string octets;
    for (int shift = 24; shift >= 0; shift -= 8) {
        octets += static_cast<char>(number >> static_cast<unsigned int>(shift) & 0xFFU);
    }
    return octets;
}

}  // namespace

V3User::V3User(std::string name, Digest digest, Cipher cipher)
    : m_name(std::move(name)), m_digest(digest), m_cipher(cipher) {}

std::string V3User::CreateUser() const {
    constexpr const char* kDigests[] = {"", " MD5", " SHA", " SHA-256", " SHA-512"};
    constexpr const char* kCiphers[] = {"", " DES", " AES"};
    const std::string phrase = " \"" + std::string(kPassPhrase) + "\"";
    std::string line = "createUser " + m_name;
    if (HasDigest()) {
        line += kDigests[static_cast<int>(m_digest)] + phrase;
    }
    if (HasCipher()) {
        line += kCiphers[static_cast<int>(m_cipher)] + phrase;
    }
    return line + "\n";
}

void V3User::Localize(const std::string& engineId) {
    if (!HasDigest()) {
        return;
    }
    const Algorithm digest = AlgorithmOf(m_digest);
    const std::string_view phrase = kPassPhrase;
    std::string general(USM_AUTH_KU_LEN, '\0');
    std::string local(USM_AUTH_KU_LEN, '\0');
    std::size_t generalLength = general.size();
    std::size_t localLength = local.size();
    const auto nameLength = static_cast<u_int>(digest.length);
    if (::generate_Ku(digest.arcs, nameLength, Octets(phrase), phrase.size(), Octets(general), &generalLength) !=
            SNMPERR_SUCCESS ||
        ::generate_kul(digest.arcs, nameLength, Octets(std::string_view(engineId)), engineId.size(), Octets(general),
                       generalLength, Octets(local), &localLength) != SNMPERR_SUCCESS) {
        throw std::runtime_error("no keys for " + m_name);
    }
    m_key = local.substr(0, localLength);
}

std::size_t V3User::DigestLength() const {
    constexpr std::array<std::size_t, 5> kLengths = {0, 12, 12, 24, 48};
    return kLengths.at(static_cast<std::size_t>(m_digest));
}

std::string V3User::DigestOf(std::string_view message) const {
    const Algorithm algorithm = AlgorithmOf(m_digest);
    std::string digest(64, '\0');
    std::size_t length = digest.size();
    if (::sc_generate_keyed_hash(algorithm.arcs, algorithm.length, Octets(std::string_view(m_key)),
                                 static_cast<u_int>(m_key.size()), Octets(message), static_cast<u_int>(message.size()),
                                 Octets(digest), &length) != SNMPERR_SUCCESS) {
        throw std::runtime_error("no digest");
    }
    return digest.substr(0, DigestLength());
}

std::string V3User::InitialVector(std::uint32_t boots, std::uint32_t time, const std::string& salt) const {
    if (m_cipher == Cipher::kAes) {
        return BigEndian(boots) + BigEndian(time) + salt;
    }
    std::string vector = m_key.substr(8, 8);
    for (std::size_t i = 0; i < vector.size(); ++i) {
        vector[i] = static_cast<char>(vector[i] ^ salt[i]);
    }
    return vector;
}

std::string V3User::Encrypt(std::string plain, std::uint32_t boots, std::uint32_t time, const std::string& salt) const {
    const Algorithm algorithm = AlgorithmOf(m_cipher);
    if (plain.empty()) {
        return {};  // the library would not accept it
    }
    if (m_cipher == Cipher::kDes) {
        plain.resize((plain.size() + 7) / 8 * 8);
    }
    std::string vector = InitialVector(boots, time, salt);
    std::string key = m_key.substr(0, m_cipher == Cipher::kDes ? 8 : 16);
    std::string sealed(plain.size() + 64, '\0');
    std::size_t length = sealed.size();
    if (::sc_encrypt(algorithm.arcs, algorithm.length, Octets(key), static_cast<u_int>(key.size()), Octets(vector),
                     static_cast<u_int>(vector.size()), Octets(std::string_view(plain)),
                     static_cast<u_int>(plain.size()), Octets(sealed), &length) != SNMPERR_SUCCESS) {
        throw std::runtime_error("cannot encrypt");
    }
    return sealed.substr(0, plain.size());
}

std::string V3User::Decrypt(std::string sealed, std::uint32_t boots, std::uint32_t time,
                            const std::string& salt) const {
    const Algorithm algorithm = AlgorithmOf(m_cipher);
    std::string vector = InitialVector(boots, time, salt);
    std::string key = m_key.substr(0, m_cipher == Cipher::kDes ? 8 : 16);
    std::string plain(sealed.size() + 64, '\0');
    std::size_t length = plain.size();
    if (salt.size() != 8 ||
        ::sc_decrypt(algorithm.arcs, algorithm.length, Octets(key), static_cast<u_int>(key.size()), Octets(vector),
                     static_cast<u_int>(vector.size()), Octets(sealed), static_cast<u_int>(sealed.size()),
                     Octets(plain), &length) != SNMPERR_SUCCESS) {
        return {};
    }
    return plain.substr(0, length);
}

}  // namespace agent_test
