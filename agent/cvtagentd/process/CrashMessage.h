#pragma once

#include <csignal>
#include <string>

namespace cvtagentd {

/// While one exists, a crash of the process (an access to memory that is not there) ends it with one line on standard
/// error and status 1. Meant for stretches in which the SNMP library reads what people have written: some of their
/// mistakes crash it. At most one exists at a time.
class CrashMessage {
public:
    explicit CrashMessage(const std::string& line);
    ~CrashMessage();
    CrashMessage(const CrashMessage&) = delete;
    CrashMessage& operator=(const CrashMessage&) = delete;

private:
    struct sigaction m_before {};
};

}  // namespace cvtagentd
