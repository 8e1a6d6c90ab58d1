#pragma once

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/library/large_fd_set.h>

#include <cstring>

namespace cvtagentd {

/// A set of file descriptors in the library's format, which grows beyond the limit of select(2). Included by sources
/// only, like SnmpHeaders.h.
class DescriptorSet {
public:
    DescriptorSet() {
        ::netsnmp_large_fd_set_init(&m_set, FD_SETSIZE);
        NETSNMP_LARGE_FD_ZERO(&m_set);
    }
    ~DescriptorSet() { ::netsnmp_large_fd_set_cleanup(&m_set); }
    DescriptorSet(const DescriptorSet&) = delete;
    DescriptorSet& operator=(const DescriptorSet&) = delete;

    void Insert(int fd) { NETSNMP_LARGE_FD_SET(fd, &m_set); }
    void Remove(int fd) { NETSNMP_LARGE_FD_CLR(fd, &m_set); }
    bool Has(int fd) { return NETSNMP_LARGE_FD_ISSET(fd, &m_set) != 0; }

    void Clear() { NETSNMP_LARGE_FD_ZERO(&m_set); }
    /// No descriptor of the set is this or higher.
    int End() const { return static_cast<int>(m_set.lfs_setsize); }
    /// Also false when the two have room for different numbers of descriptors.
    bool Equals(const DescriptorSet& other) const {
        return m_set.lfs_setsize == other.m_set.lfs_setsize &&
               std::memcmp(m_set.lfs_setptr, other.m_set.lfs_setptr, m_set.lfs_setsize / 8) == 0;
    }

    /// For the library's own functions.
    netsnmp_large_fd_set* Get() { return &m_set; }

private:
    netsnmp_large_fd_set m_set{};
};

}  // namespace cvtagentd
