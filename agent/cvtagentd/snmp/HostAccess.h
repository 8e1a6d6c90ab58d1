#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

struct sockaddr;

namespace cvtagentd {

/// Caches the verdict of hosts.allow and hosts.deny (hosts_access(5)) for each source address. The SNMP library would
/// read both files again for every packet, which takes a fifth of the time of a walk.
///
/// All verdicts are dropped within a second after a change to either file, and each after a minute in any case, because
/// the files may name other files, and hosts whose addresses change. Used by one thread.
class HostAccess {
public:
    using Clock = std::chrono::steady_clock;

    /// The files are checked for a change at most this often.
    static constexpr std::chrono::seconds kLookInterval{1};
    /// How long a verdict is kept.
    static constexpr std::chrono::seconds kLifetime{60};
    /// How many addresses are kept. Forged addresses make the agent ask again, and do no other harm.
    static constexpr std::size_t kMostAddresses = 1024;

    /// An internet address without the port.
    class Address {
    public:
        /// No value when it is not an internet address: the files do not apply to it.
        static std::optional<Address> Of(const sockaddr& source);

        bool operator<(const Address& other) const {
            return std::tie(m_family, m_scope, m_octets) < std::tie(other.m_family, other.m_scope, other.m_octets);
        }

    private:
        std::uint32_t m_family = 0;
        std::uint32_t m_scope = 0;
        std::array<unsigned char, 16> m_octets{};
    };

    explicit HostAccess(std::vector<std::string> files = {"/etc/hosts.allow", "/etc/hosts.deny"});

    /// Whether the source may ask; no value when no verdict is cached.
    std::optional<bool> Verdict(const Address& source, Clock::time_point now);
    void Remember(const Address& source, bool isAdmitted, Clock::time_point now);

private:
    struct Entry {
        bool isAdmitted;
        Clock::time_point end;
    };
    /// What shows that a file has changed; all 0 when it is missing.
    using Version = std::array<std::uint64_t, 5>;

    std::vector<Version> Versions() const;

    const std::vector<std::string> m_files;
    std::vector<Version> m_versions;
    Clock::time_point m_nextLook;
    std::map<Address, Entry> m_entries;
};

}  // namespace cvtagentd
