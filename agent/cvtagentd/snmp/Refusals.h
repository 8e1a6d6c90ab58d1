#pragma once

#include <string>
#include <vector>

struct snmp_pdu;

namespace cvtagentd {

/// Logs the messages that are refused, each in a line with its cause and where it came from; of each cause a few in a
/// minute, then their number (LibraryLog), since anyone can send such messages. With RequestTrace each is logged. No
/// line holds a community or a key. Used by the thread that runs the SNMP library.
namespace Refusals {

/// `cause`: a few words, the same for all messages refused for that reason. `advice`, if not empty, ends the line.
void Log(const snmp_pdu& message, const std::string& cause, const std::string& advice = {});

/// For a check of a message that the library will make again: while one exists, Log does nothing, and at its end the
/// library's statistics are as they were before.
class Rehearsal {
public:
    Rehearsal();
    ~Rehearsal();
    Rehearsal(const Rehearsal&) = delete;
    Rehearsal& operator=(const Rehearsal&) = delete;

private:
    std::vector<unsigned int> m_counts;  // of the library's statistics, before
};

/// Logs a version 3 message that the library has refused while parsing it. `result`: the library's; 0 is ignored. So is
/// the first message of a client that asks for this agent's engine identifier.
void AfterParse(const snmp_pdu& message, int result);

}  // namespace Refusals

}  // namespace cvtagentd
