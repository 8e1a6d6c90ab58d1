#pragma once

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/library/large_fd_set.h>

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

    /// For the library's own functions.
    netsnmp_large_fd_set* Get() { return &m_set; }

private:
    netsnmp_large_fd_set m_set{};
};

}  // namespace cvtagentd
