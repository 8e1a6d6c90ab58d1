#include "agent/cvtagentd/StateDir.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "agent/cvtagentd/StartError.h"

namespace agent {
namespace {

constexpr const char* kName = "cvtagentd";

/// An absolute path from the environment, or nothing.
std::string PathFrom(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : std::string();
}

[[noreturn]] void Fail(const std::string& what, const std::string& folder, const std::error_code& error) {
    throw StartError(what + " the state directory " + folder + ": " + error.message() +
                     "; name one that can be written with --state-dir");
}

void Create(const std::string& folder) {
    std::error_code error;
    if (std::filesystem::exists(folder, error)) {
        return;
    }
    const std::filesystem::path parent = std::filesystem::path(folder).parent_path();
    std::filesystem::create_directories(parent, error);
    if (error || !std::filesystem::create_directory(folder, error)) {
        Fail("cannot make", folder, error);
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
}

/// What access(2) says does not hold for root, nor on every file system.
void CheckWritable(const std::string& folder) {
    std::string probe = "./.cvtagentd-XXXXXX";
    const int fd = ::mkostemp(probe.data(), O_CLOEXEC);
    if (fd < 0) {
        Fail("cannot write to", folder, {errno, std::generic_category()});
    }
    ::close(fd);
    ::unlink(probe.c_str());
}

}  // namespace

std::string StateDir::Default() {
    if (const std::string list = PathFrom("STATE_DIRECTORY"); !list.empty()) {
        return list.substr(0, list.find(':'));
    }
    if (::geteuid() == 0) {
        return std::string("/var/lib/") + kName;
    }
    if (const std::string states = PathFrom("XDG_STATE_HOME"); !states.empty()) {
        return states + "/" + kName;
    }
    if (const std::string home = PathFrom("HOME"); !home.empty()) {
        return home + "/.local/state/" + kName;
    }
    throw StartError("there is no home directory to keep the state in: name a state directory with --state-dir");
}

void StateDir::Enter(const std::string& folder) {
    std::string chosen = folder;
    if (chosen.empty()) {
        chosen = Default();
        Create(chosen);
    }
    if (::chdir(chosen.c_str()) != 0) {
        Fail("cannot use", chosen, {errno, std::generic_category()});
    }
    CheckWritable(chosen);
}

}  // namespace agent
