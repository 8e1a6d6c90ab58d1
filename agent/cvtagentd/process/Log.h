#pragma once

#include <optional>
#include <string_view>

namespace cvtagentd {

enum class LogLevel { kError, kWarning, kInfo, kDebug };

/// Where the agent's messages go: standard error or syslog, one line each, whatever characters a message holds. State of
/// the process. Only the thread that serves requests writes.
class Log {
public:
    /// Messages less important than `level` are dropped from now on.
    static void Open(LogLevel level, bool toSyslog);

    static void Error(std::string_view text) { Write(LogLevel::kError, text); }
    static void Warning(std::string_view text) { Write(LogLevel::kWarning, text); }
    static void Info(std::string_view text) { Write(LogLevel::kInfo, text); }
    static void Write(LogLevel level, std::string_view text);

    /// Says why the program ends, on standard error in any case: whoever starts it by hand looks there.
    static void Fatal(std::string_view text);

    /// "error", "warning", "info" or "debug".
    static std::optional<LogLevel> LevelOf(std::string_view name);
};

}  // namespace cvtagentd
