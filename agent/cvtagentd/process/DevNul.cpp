#include "agent/cvtagentd/process/DevNul.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace cvtagentd {
namespace {

constexpr const char* kNul = "/dev/nul";

}  // namespace

void DevNul::Make() {
    // Never replaces an existing file.
    [[maybe_unused]] const int failed = ::symlink("/dev/null", kNul);
}

std::string DevNul::WhyUnusable() {
    if (::access(kNul, W_OK) == 0) {
        return {};
    }
    return "the date command of a SET of hrSystemDate cannot run: " + std::string(kNul) + ": " +
           std::generic_category().message(errno) + "; as root, make it a link (ln -sfn /dev/null " + kNul +
           "), though GNU and BusyBox date leave the clock as it is in any case";
}

}  // namespace cvtagentd
