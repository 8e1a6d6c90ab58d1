# The SNMP library: protocol, transports, access control and AgentX. Defines
#
#   NetSnmp::netsnmp        libnetsnmp: what a client or a test program needs
#   NetSnmp::netsnmpagent   libnetsnmpagent on top of it: what an agent needs
#
# There is deliberately no target for the MIB-module library, which the pkg-config file and net-snmp-config pull in.

find_path(NetSnmp_INCLUDE_DIR net-snmp/net-snmp-config.h)
find_library(NetSnmp_LIBRARY netsnmp)
find_library(NetSnmp_AGENT_LIBRARY netsnmpagent)
mark_as_advanced(NetSnmp_INCLUDE_DIR NetSnmp_LIBRARY NetSnmp_AGENT_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(NetSnmp
    REQUIRED_VARS NetSnmp_LIBRARY NetSnmp_AGENT_LIBRARY NetSnmp_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "install libsnmp-dev, or configure with -DCVHOST_WITH_SNMP=OFF")

if(NetSnmp_FOUND AND NOT TARGET NetSnmp::netsnmp)
    add_library(NetSnmp::netsnmp UNKNOWN IMPORTED)
    set_target_properties(NetSnmp::netsnmp PROPERTIES
        IMPORTED_LOCATION "${NetSnmp_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${NetSnmp_INCLUDE_DIR}"
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${NetSnmp_INCLUDE_DIR}")

    add_library(NetSnmp::netsnmpagent UNKNOWN IMPORTED)
    set_target_properties(NetSnmp::netsnmpagent PROPERTIES
        IMPORTED_LOCATION "${NetSnmp_AGENT_LIBRARY}"
        INTERFACE_LINK_LIBRARIES NetSnmp::netsnmp)
endif()
