#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct sockaddr;

namespace cvtagentd {

/// Remembers for each source address what hosts.allow and hosts.deny (hosts_access(5)) say of it. The SNMP library would read
/// both files again for every packet, which takes a fifth of the time of a walk.
///
/// Every verdict is forgotten within a second of a change to either file, and after a minute in any case: the files may name
/// hosts, whose addresses change, and further files. Used by one thread.
class HostAccess {
public:
    using Clock = std::chrono::steady_clock;

    /// How often the files are looked at, at most.
    static constexpr std::chrono::seconds kLookInterval{1};
    /// How long a verdict holds.
    static constexpr std::chrono::seconds kLifetime{60};
    /// How many addresses are remembered. Whoever forges addresses makes the agent ask again, and no more.
    static constexpr std::size_t kMostAddresses = 1024;

    /// Without the port.
    class Address {
    public:
        /// No value for what is no internet address: that is not subject to the files.
        static std::optional<Address> Of(const sockaddr& source);

        auto operator<=>(const Address&) const = default;

    private:
        std::uint32_t m_family = 0;
        std::uint32_t m_scope = 0;
        std::array<unsigned char, 16> m_octets{};
    };

    explicit HostAccess(std::vector<std::string> files = {"/etc/hosts.allow", "/etc/hosts.deny"});

    /// Whether the source may ask; no value when that is not known by now.
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
