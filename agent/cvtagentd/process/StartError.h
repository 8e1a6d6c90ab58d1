#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>

namespace cvtagentd {

/// The program's exit statuses besides 0. Service managers and scripts rely on the numbers.
namespace ExitStatus {

inline constexpr int kFailed = 1;   ///< another attempt may succeed: a port in use, no memory, a slow module
inline constexpr int kUsage = 2;    ///< the command line is wrong
inline constexpr int kConfig = 78;  ///< EX_CONFIG of sysexits.h: fails again until somebody changes something

}  // namespace ExitStatus

/// Why the agent cannot start: one line that says what is wrong and what to do. It ends the program with
/// ExitStatus::kFailed.
class StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A start that would fail again for the same reason, because the fault is in the configuration, the state or the
/// rights. It ends the program with ExitStatus::kConfig.
class ConfigError : public StartError {
public:
    using StartError::StartError;

    /// Whether a failed system call would fail again for the same reason; a full disk, for example, would not.
    static bool IsLasting(int error) {
        return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR || error == EISDIR ||
               error == ELOOP || error == ENAMETOOLONG || error == EROFS;
    }
};

/// Throws ConfigError or StartError, depending on the error of the system call that failed.
[[noreturn]] inline void FailToStart(const std::string& text, int error) {
    if (ConfigError::IsLasting(error)) {
        throw ConfigError(text);
    }
    throw StartError(text);
}

}  // namespace cvtagentd
