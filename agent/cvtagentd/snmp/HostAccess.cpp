#include "agent/cvtagentd/snmp/HostAccess.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace cvtagentd {

std::optional<HostAccess::Address> HostAccess::Address::Of(const sockaddr& source) {
    Address address;
    address.m_family = source.sa_family;
    if (source.sa_family == AF_INET) {
        sockaddr_in internet{};
        std::memcpy(&internet, &source, sizeof internet);
        std::memcpy(address.m_octets.data(), &internet.sin_addr, sizeof internet.sin_addr);
        return address;
    }
    if (source.sa_family == AF_INET6) {
        sockaddr_in6 internet{};
        std::memcpy(&internet, &source, sizeof internet);
        std::memcpy(address.m_octets.data(), &internet.sin6_addr, sizeof internet.sin6_addr);
        address.m_scope = internet.sin6_scope_id;
        return address;
    }
    return std::nullopt;
}

HostAccess::HostAccess(std::vector<std::string> files) : m_files(std::move(files)), m_versions(Versions()) {}

std::vector<HostAccess::Version> HostAccess::Versions() const {
    std::vector<Version> versions;
    for (const std::string& file : m_files) {
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0) {
            status = {};
        }
        const auto nanoseconds = [](const timespec& time) {
            return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(time.tv_nsec);
        };
        versions.push_back({status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
                            nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)});
    }
    return versions;
}

std::optional<bool> HostAccess::Verdict(const Address& source, Clock::time_point now) {
    if (now >= m_nextLook) {
        m_nextLook = now + kLookInterval;
        if (std::vector<Version> versions = Versions(); versions != m_versions) {
            m_versions = std::move(versions);
            m_entries.clear();
        }
    }
    const auto found = m_entries.find(source);
    if (found == m_entries.end() || now >= found->second.end) {
        return std::nullopt;
    }
    return found->second.isAdmitted;
}

void HostAccess::Remember(const Address& source, bool isAdmitted, Clock::time_point now) {
    if (m_entries.size() >= kMostAddresses && !m_entries.contains(source)) {
        m_entries.clear();
    }
    m_entries.insert_or_assign(source, Entry{isAdmitted, now + kLifetime});
}

}  // namespace cvtagentd
