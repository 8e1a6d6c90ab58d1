#pragma once

#include <csignal>
#include <string>

namespace cvtagentd {

/// While one exists, a crash of the process (an invalid memory access) ends it with one line on standard error and a
/// status of its own. Meant for the moments when the SNMP library reads a hand-written configuration, since some
/// mistakes there crash it. At most one exists at a time.
class CrashMessage {
public:
    CrashMessage(const std::string& text, int exitStatus);
    ~CrashMessage();
    CrashMessage(const CrashMessage&) = delete;
    CrashMessage& operator=(const CrashMessage&) = delete;

private:
    struct sigaction m_before {};
};

}  // namespace cvtagentd
