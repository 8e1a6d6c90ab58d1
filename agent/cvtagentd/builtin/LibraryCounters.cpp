#include "agent/cvtagentd/builtin/LibraryCounters.h"

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

const CVT::BConstraintEntry LibraryCounters::s_sonstraintEntries[] = {{}};

unsigned int LibraryCounters::Count(int statistic) {
    return static_cast<unsigned int>(::snmp_get_statistic(statistic));  // wraps, as a Counter32 does
}

}  // namespace cvtagentd
