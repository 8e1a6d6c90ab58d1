#pragma once

#include <optional>
#include <string_view>

namespace cvtagentd {

enum class LogLevel { kError, kWarning, kInfo, kDebug };

/// Where the agent's messages go: standard error or syslog, one line each, whatever characters a message holds. State of
/// the process. Open comes first, before there is a second thread; then any may write.
namespace Log {

/// Messages less important than `level` are dropped from now on.
void Open(LogLevel level, bool toSyslog);

void Write(LogLevel level, std::string_view text);
inline void Error(std::string_view text) { Write(LogLevel::kError, text); }
inline void Warning(std::string_view text) { Write(LogLevel::kWarning, text); }
inline void Info(std::string_view text) { Write(LogLevel::kInfo, text); }

/// Says why the program ends, on standard error in any case: whoever starts it by hand looks there.
void Fatal(std::string_view text);

/// "error", "warning", "info" or "debug".
std::optional<LogLevel> LevelOf(std::string_view name);

}  // namespace Log

}  // namespace cvtagentd
