#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace agent_test {

/// A user of the user-based security model, with its keys for one engine. The SNMP library computes digests and
/// ciphers; the tests write the messages around them.
class V3User {
public:
    enum class Digest { kNone, kMd5, kSha1, kSha256, kSha512 };
    enum class Cipher { kNone, kDes, kAes };

    /// The pass phrase of every user.
    static constexpr const char* kPassPhrase = "long enough";

    V3User(std::string name, Digest digest, Cipher cipher);

    const std::string& Name() const { return m_name; }
    bool HasDigest() const { return m_digest != Digest::kNone; }
    bool HasCipher() const { return m_cipher != Cipher::kNone; }
    /// The line of the configuration that creates it.
    std::string CreateUser() const;

    /// Makes the keys. Called before the functions below.
    void Localize(const std::string& engineId);

    /// The size of a digest in a message, in octets.
    std::size_t DigestLength() const;
    /// The digest of a message that has zeros in its place.
    std::string DigestOf(std::string_view message) const;

    /// `salt`: 8 octets.
    std::string Encrypt(std::string plain, std::uint32_t boots, std::uint32_t time, const std::string& salt) const;
    /// Returns an empty string on failure.
    std::string Decrypt(std::string sealed, std::uint32_t boots, std::uint32_t time, const std::string& salt) const;

private:
    std::string InitialVector(std::uint32_t boots, std::uint32_t time, const std::string& salt) const;

    std::string m_name;
    Digest m_digest;
    Cipher m_cipher;
    std::string m_key;  // for both: the pass phrases are the same
};

}  // namespace agent_test
