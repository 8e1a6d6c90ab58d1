#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "CVT/Warnings.h"
#include "agent/cvtagentd/Agent.h"
#include "agent/cvtagentd/Options.h"
#include "agent/cvtagentd/StandAlone.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/UserCommand.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/StartError.h"

namespace {

/// Called before a key or a pass phrase is read. An agent that an ordinary user starts without --user can still be
/// inspected by that user, since it has no more rights than they have.
void ProtectKeys(const cvtagentd::Options& options) {
    if (options.action == cvtagentd::Options::Action::kServe && ::geteuid() != 0) {
        cvtagentd::Privileges::ForbidCoreFiles();
    } else {
        cvtagentd::Privileges::ForbidInspection();
    }
}

using Kind = cvtagentd::UserCommand::Kind;

int RunUserCommand(Kind kind, const cvtagentd::Options& options) {
    return cvtagentd::UserCommand(
               {kind, options.snmpUser, options.config, options.stateDir, &cvtagentd::StandAlone::BeforeConfiguration})
        .Run();
}

int Run(const cvtagentd::Options& options) {
    ProtectKeys(options);
    cvtagentd::Log::Open(options.logLevel, options.syslog, options.action == cvtagentd::Options::Action::kServe);
    switch (options.action) {
        case cvtagentd::Options::Action::kShowHelp: std::fputs(cvtagentd::Options::Help(), stdout); return EXIT_SUCCESS;
        case cvtagentd::Options::Action::kShowVersion: std::puts("cvtagentd " CVHOST_VERSION); return EXIT_SUCCESS;
        case cvtagentd::Options::Action::kCheckConfig:
            return cvtagentd::AccessConfig::Check(
                {options.config, options.stateDir, &cvtagentd::StandAlone::BeforeConfiguration});
        case cvtagentd::Options::Action::kCreateUser: return RunUserCommand(Kind::kCreate, options);
        case cvtagentd::Options::Action::kChangeUser: return RunUserCommand(Kind::kChange, options);
        case cvtagentd::Options::Action::kDeleteUser: return RunUserCommand(Kind::kDelete, options);
        case cvtagentd::Options::Action::kListUsers: return RunUserCommand(Kind::kList, options);
        case cvtagentd::Options::Action::kServe: break;
    }
    CVT::SetWarningReceiver(&cvtagentd::Log::Warning);
    return cvtagentd::Agent(options).Run();
}

/// A descriptor that is opened later must not get the number of a standard stream, to which messages are written.
void OpenStandardStreams() {
    for (int fd = 0; fd >= 0 && fd <= STDERR_FILENO;) {
        fd = ::open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open): child programs need the three, too
        if (fd > STDERR_FILENO) {
            ::close(fd);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardStreams();
    cvtagentd::Log::Begin();
    try {
        return Run(cvtagentd::Options::Parse(argc, argv));
    } catch (const cvtagentd::UsageError& error) {
        cvtagentd::Log::Fatal(std::string(error.what()) + " (cvtagentd --help lists the options)");
        return cvtagentd::ExitStatus::kUsage;
    } catch (const cvtagentd::ConfigError& error) {
        cvtagentd::Log::Fatal(error.what());
        return cvtagentd::ExitStatus::kConfig;
    } catch (const std::exception& error) {
        cvtagentd::Log::Fatal(error.what());
        return cvtagentd::ExitStatus::kFailed;
    }
}
