#pragma once

// The SNMP library's headers, which must be included in this order. Included by sources only: the headers of the agent
// name the library's types, where they must, by forward declaration.

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>
