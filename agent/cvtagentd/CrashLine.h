#pragma once

#include <csignal>
#include <string>

namespace agent {

/// While one exists, a crash of the process (an access to memory that is not there) ends it with one line on standard
/// error and status 1. Meant for stretches in which the SNMP library reads what people have written: some of their
/// mistakes crash it. At most one exists at a time.
class CrashLine {
public:
    explicit CrashLine(const std::string& line);
    ~CrashLine();
    CrashLine(const CrashLine&) = delete;
    CrashLine& operator=(const CrashLine&) = delete;

private:
    struct sigaction m_before {};
};

}  // namespace agent
