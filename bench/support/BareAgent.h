#pragma once

namespace bench {

/// An agent that does no more than it must: one table under 1.3.6.1.4.1.32473.9, its rows numbered from 1 and its values in
/// an array, served through the SNMP library's own handler and loop. Answers the community "public" on `address`. Takes
/// the process: it returns only when it cannot start.
void RunBareAgent(const char* address, unsigned int rows);

}  // namespace bench
