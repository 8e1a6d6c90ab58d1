#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "agent/cvtagentd/AccessConfig.h"
#include "agent/cvtagentd/Agent.h"
#include "agent/cvtagentd/CreateUser.h"
#include "agent/cvtagentd/Log.h"
#include "agent/cvtagentd/Options.h"

namespace {

constexpr int kUsageStatus = 2;

int Run(const agent::Options& options) {
    agent::Log::Open(options.logLevel, options.syslog);
    switch (options.action) {
        case agent::Options::Action::kShowHelp: std::fputs(agent::Options::Help(), stdout); return EXIT_SUCCESS;
        case agent::Options::Action::kShowVersion: std::puts("cvtagentd " CVHOST_VERSION); return EXIT_SUCCESS;
        case agent::Options::Action::kCheckConfig: return agent::AccessConfig::Check(options.config);
        case agent::Options::Action::kCreateUser: return agent::CreateUser(options).Run();
        case agent::Options::Action::kServe: break;
    }
    return agent::Agent(options).Run();
}

/// What is opened later must not get the number of a standard stream, into which messages are written.
void OpenStandardStreams() {
    for (int fd = 0; fd >= 0 && fd <= STDERR_FILENO;) {
        fd = ::open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open): what is started wants the three, too
        if (fd > STDERR_FILENO) {
            ::close(fd);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardStreams();
    try {
        return Run(agent::Options::Parse(argc, argv));
    } catch (const agent::UsageError& error) {
        agent::Log::Fatal(std::string(error.what()) + " (cvtagentd --help lists the options)");
        return kUsageStatus;
    } catch (const std::exception& error) {
        agent::Log::Fatal(error.what());
        return EXIT_FAILURE;
    }
}
